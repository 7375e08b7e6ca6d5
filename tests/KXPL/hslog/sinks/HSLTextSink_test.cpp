// The queue between the collection thread and the world.
#include "hslog/sinks/HSLStreamSink.h"
#include "hslog/sinks/HSLTextSink.h"

#include "SinkTest.h"

#include <fcntl.h>
#include <signal.h>
#include <unistd.h>

#include <condition_variable>
#include <mutex>

using namespace HSL::Sinks;

namespace {

// A sink whose outlet opens only when told to.
class SlowSink : public TextSink {
public:
    SlowSink()
        : TextSink(MakePatternLayout("{message}"), 100)
    {
        Start();
    }
    ~SlowSink() override
    {
        Open();
        Stop();
    }

    void Open()
    {
        const std::lock_guard<std::mutex> guard(mMutex);
        mIsOpen = true;
        mOpened.notify_all();
    }

    // The first thing that reaches the outlet, so that the queue is empty behind it.
    void WaitUntilItIsStuck()
    {
        std::unique_lock<std::mutex> lock(mMutex);
        mOpened.wait(lock, [this] { return mIsStuck; });
    }

    std::string mText;
    bool mTakesSignals = true;

private:
    void Consume(const std::string& bytes) override
    {
        std::unique_lock<std::mutex> lock(mMutex);
        mIsStuck = true;
        mOpened.notify_all();
        mOpened.wait(lock, [this] { return mIsOpen; });
        mText += bytes;
        sigset_t mask;
        pthread_sigmask(SIG_SETMASK, nullptr, &mask);
        mTakesSignals = sigismember(&mask, SIGTERM) == 0 || sigismember(&mask, SIGPIPE) == 0;
    }

    std::mutex mMutex;
    std::condition_variable mOpened;
    bool mIsOpen = false;
    bool mIsStuck = false;
};

} // namespace

TEST(TextSink, WhatFindsNoRoomIsCountedAndToldWhenThereIsRoomAgain)
{
    SlowSink sink;
    sink.Write(lineOf("first"));
    sink.WaitUntilItIsStuck();
    for (int i = 0; i < 12; ++i) {
        sink.Write(lineOf("0123456789"));
    }
    EXPECT_FALSE(sink.Flush(1));
    sink.Open();
    ASSERT_TRUE(sink.Flush(kPatience));
    sink.Write(lineOf("last"));
    ASSERT_TRUE(sink.Flush(kPatience));
    const std::vector<std::string> lines = linesOf(sink.mText);
    ASSERT_EQ(lines.size(), 1u + 9u + 2u);
    EXPECT_EQ(lines[10], "*** 3 LINE(S) DROPPED HERE: TOO SLOW TO WRITE ***");
    EXPECT_EQ(lines[11], "last");
}

TEST(TextSink, ItsThreadTakesNoSignals)
{
    SlowSink sink;
    sink.Open();
    sink.Write(lineOf("x"));
    ASSERT_TRUE(sink.Flush(kPatience));
    EXPECT_FALSE(sink.mTakesSignals);
    sigset_t mask;
    pthread_sigmask(SIG_SETMASK, nullptr, &mask);
    EXPECT_FALSE(sigismember(&mask, SIGTERM));
}

TEST(StreamSink, LinesReachTheDescriptorInOrder)
{
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    {
        const auto sink = MakeDescriptorSink(ends[1], MakePatternLayout("{message}"));
        for (int i = 0; i < 100; ++i) {
            sink->Write(lineOf(std::to_string(i)));
        }
    }
    close(ends[1]);
    std::string expected;
    for (int i = 0; i < 100; ++i) {
        expected += std::to_string(i) + "\n";
    }
    std::string text(10000, 0);
    text.resize(static_cast<std::size_t>(read(ends[0], text.data(), text.size())));
    EXPECT_EQ(text, expected);
    close(ends[0]);
}

TEST(StreamSink, ReaderThatIsGoneHarmsNothing)
{
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    close(ends[0]);
    const auto sink = MakeDescriptorSink(ends[1]);
    for (int i = 0; i < 100; ++i) {
        sink->Write(lineOf("x", HSL::Level::kError));
    }
    EXPECT_TRUE(sink->Flush(kPatience));
    close(ends[1]);
}

TEST(StreamSink, FullPipeThatDoesNotWaitLosesNothing)
{
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    ASSERT_EQ(fcntl(ends[1], F_SETFL, O_NONBLOCK), 0);
    auto sink = MakeDescriptorSink(ends[1], MakePatternLayout("{message}"));
    const std::string message(999, 'x');
    for (int i = 0; i < 500; ++i) {
        sink->Write(lineOf(message));
    }
    std::size_t total = 0;
    std::string part(65536, 0);
    while (total < 500 * 1000) {
        const ssize_t count = read(ends[0], part.data(), part.size());
        ASSERT_GT(count, 0);
        total += static_cast<std::size_t>(count);
    }
    sink.reset();
    close(ends[0]);
    close(ends[1]);
}
