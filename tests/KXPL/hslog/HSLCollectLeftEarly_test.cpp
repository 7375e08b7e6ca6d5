// Passes that are left before their end: by a callback that throws, by a thread that is cancelled or ends.
#include "hslog/HSL.h"

#include "BareManager.h"
#include "ManualPass.h"
#include "ThreadSanitizer.h"

#include <gtest/gtest.h>

#include <pthread.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <string>
#include <thread>
#include <vector>

namespace {

constexpr int kRecords = 300;

struct Thrown { };

// Records of three contexts in turn, with more bytes than a pass keeps before it hands some back.
class LeftEarly : public testing::Test {
protected:
    LeftEarly()
    {
        for (const char* name : { "a", "b", "c" }) {
            mContexts.push_back(&mPass.Context(name, 65536));
        }
        for (int i = 0; i < kRecords; ++i) {
            Context(i).Log(HSL::CCat(3),
                           "record %d with so many bytes that all of them together are more than 4,096", i);
        }
    }

    HSL::CLogContext& Context(int i) { return *mContexts[static_cast<std::size_t>(i) % mContexts.size()]; }

    int RecordsLeft() const
    {
        int left = 0;
        for (const HSL::CLogContext* context : mContexts) {
            left += context->mRecordCount;
        }
        return left;
    }

    unsigned int BytesLeft() const
    {
        unsigned int left = 0;
        for (const HSL::CLogContext* context : mContexts) {
            left += cb_get_num_elem_used(context->mBuffer->mControl);
        }
        return left;
    }

    void ExpectEveryLineOnceAndInOrder(int last = kRecords)
    {
        ASSERT_EQ(mPass.lines.size(), static_cast<std::size_t>(last));
        const long first = numberOf(mPass.lines[0]);
        for (int i = 0; i < last; ++i) {
            ASSERT_EQ(numberOf(mPass.lines[static_cast<std::size_t>(i)]), first + i);
            ASSERT_EQ(messageOf(mPass.lines[static_cast<std::size_t>(i)]).substr(0, 12),
                      ("record " + std::to_string(i) + " with").substr(0, 12));
        }
        EXPECT_EQ(RecordsLeft(), 0);
        EXPECT_EQ(BytesLeft(), 0u);
    }

    ManualPass mPass;
    std::vector<HSL::CLogContext*> mContexts;
};

} // namespace

TEST_F(LeftEarly, CallbackThatThrowsTakesItsLineAndLeavesTheOthers)
{
    const unsigned int bytesOfAll = BytesLeft();
    for (const std::size_t at : { 1u, 2u, 4u, 100u, 101u, 299u, 300u }) {
        mPass.inCallback = [&] {
            if (mPass.lines.size() == at) {
                throw Thrown();
            }
        };
        EXPECT_THROW(mPass.Manager().Collect(), Thrown);
        EXPECT_EQ(mPass.lines.size(), at);
        EXPECT_EQ(RecordsLeft(), kRecords - static_cast<int>(at));
        // The numbers of the other contexts' next records were taken.
        const unsigned int left = kRecords - static_cast<unsigned int>(at);
        EXPECT_EQ(BytesLeft(), bytesOfAll / kRecords * left - 5 * std::min(left, 2u));
        EXPECT_EQ(LockCountOf(mPass.Manager()), 0);
    }
    mPass.inCallback = nullptr;
    mPass.Manager().Collect();
    ExpectEveryLineOnceAndInOrder();
}

TEST_F(LeftEarly, CallbackThatAlwaysThrowsGetsEveryLineOnce)
{
    mPass.inCallback = [] { throw Thrown(); };
    for (int i = 0; i < kRecords; ++i) {
        EXPECT_THROW(mPass.Manager().Collect(), Thrown);
    }
    EXPECT_NO_THROW(mPass.Manager().Collect());
    ExpectEveryLineOnceAndInOrder();
}

TEST_F(LeftEarly, StructuredCallbackThatThrowsTakesItsMessageAndLeavesTheOthers)
{
    static int calls;
    calls = 0;
    HSL::CLogManager& manager = mPass.Manager();
    const auto before =
        manager.SetStructuredOutputCallback([](const char*, const std::string&, unsigned char, unsigned char,
                                               unsigned char*, unsigned int, unsigned int) {
            ++calls;
            throw Thrown();
        });
    EXPECT_THROW(manager.Collect(), Thrown);
    EXPECT_EQ(calls, 1);
    EXPECT_EQ(RecordsLeft(), kRecords - 1);
    manager.SetStructuredOutputCallback(before);
    manager.Collect();
    ASSERT_EQ(mPass.messages.size(), static_cast<std::size_t>(kRecords - 1));
    EXPECT_EQ(mPass.messages[0].text.substr(0, 9), "record 1 ");
}

TEST_F(LeftEarly, RecordsThatAreLoggedBehindIt)
{
    mPass.inCallback = [&] {
        if (mPass.lines.size() == 150) {
            throw Thrown();
        }
    };
    EXPECT_THROW(mPass.Manager().Collect(), Thrown);
    mPass.inCallback = nullptr;
    Context(kRecords).Log(HSL::CCat(3), "record %d with", kRecords);
    mPass.Manager().Collect();
    ExpectEveryLineOnceAndInOrder(kRecords + 1);
}

TEST_F(LeftEarly, HiddenRecordsInFrontStayHidden)
{
    mPass.Manager().SetFilterValue(3, false);
    mPass.Manager().SetFilterValue(4, true);
    Context(0).Log(HSL::CCat(4), "shown");
    Context(0).Log(HSL::CCat(4), "next");
    mPass.inCallback = [] { throw Thrown(); };
    EXPECT_THROW(mPass.Manager().Collect(), Thrown);
    mPass.Manager().SetFilterValue(3, true);
    EXPECT_EQ(RecordsLeft(), 1);
    mPass.inCallback = nullptr;
    mPass.Manager().Collect();
    ASSERT_EQ(mPass.lines.size(), 2u);
    EXPECT_EQ(messageOf(mPass.lines[1]), "next");
}

TEST_F(LeftEarly, RecordOutputAloneIsTakenWhateverItsCallbackDoes)
{
    HSL::CLogContext& alone = mPass.Context("alone");
    HandMadeRecord().Raw(1u).Raw(2u).Byte(0).Byte(1).Byte(3).Inline("only").Count(0).PushTo(*alone.mBuffer);
    mPass.inCallback = [] { throw Thrown(); };
    EXPECT_THROW(mPass.Manager().OutputNextMessage(&alone, 1), Thrown);
    EXPECT_EQ(cb_get_num_elem_used(alone.mBuffer->mControl), 0u);
}

// The ring ends behind a number, so that its record takes nothing more from it.
TEST(LeftEarlyMisread, NumberWithoutARecordIsNotTakenForTheNextOnes)
{
    ManualPass pass;
    HSL::CLogContext& cut = pass.Context("cut");
    HandMadeRecord().Byte(0).Raw(1).PublishIn(cut);
    HandMadeRecord().Header(2).Inline("second").Count(0).PublishIn(pass.Context("other"));
    pass.inCallback = [] { throw Thrown(); };
    EXPECT_THROW(pass.Manager().Collect(), Thrown);
    pass.inCallback = [] {};
    HandMadeRecord().Header(3).Inline("third").Count(0).PublishIn(cut);
    pass.Manager().Collect();
    ASSERT_EQ(pass.lines.size(), 2u);
    EXPECT_EQ(numberOf(pass.lines[1]), 3);
    EXPECT_EQ(messageOf(pass.lines[1]), "third");
}

TEST_F(LeftEarly, RecordWhoseNumberWasTakenMayBeOutputAlone)
{
    mPass.inCallback = [] { throw Thrown(); };
    EXPECT_THROW(mPass.Manager().Collect(), Thrown);
    HSL::CLogContext& second = Context(1);
    mPass.inCallback = nullptr;
    mPass.Manager().OutputNextMessage(&second, mPass.Taken(second).mNumber);
    EXPECT_EQ(mPass.Taken(second).mOffset, 0u);
    KxAtomicAdd32Barrier(-1, &second.mRecordCount);
    mPass.Manager().Collect();
    ExpectEveryLineOnceAndInOrder();
}

// A callback that waits can be cancelled at each of its calls of the system.
TEST_F(LeftEarly, ThreadThatIsCancelledInAPassFinishesIt)
{
    std::atomic<bool> isInCallback { false };
    mPass.inCallback = [&] {
        isInCallback = true;
        usleep(mPass.lines.size() < 5 ? 20000 : 0);
    };
    static std::atomic<bool> sIsBehindThePass;
    sIsBehindThePass = false;
    pthread_t thread;
    pthread_create(
        &thread, nullptr,
        [](void* manager) -> void* {
            static_cast<HSL::CLogManager*>(manager)->Collect();
            sIsBehindThePass = true;
            for (;;) {
                usleep(1000);
            }
        },
        &mPass.Manager());
    while (!isInCallback) {
        std::this_thread::yield();
    }
    pthread_cancel(thread);
    void* result = nullptr;
    pthread_join(thread, &result);
    EXPECT_EQ(result, PTHREAD_CANCELED);
    EXPECT_TRUE(sIsBehindThePass);
    EXPECT_EQ(LockCountOf(mPass.Manager()), 0);
    mPass.inCallback = nullptr;
    mPass.Manager().Collect();
    ExpectEveryLineOnceAndInOrder();
}

// Its frames are left as by an exception, on systems whose pthread_exit tells C++ of it.
TEST_F(LeftEarly, ThreadThatEndsItselfInACallbackLeavesTheOtherLines)
{
    if (kUnderThreadSanitizer) {
        GTEST_SKIP() << "ThreadSanitizer counts functions that are left this way as still running";
    }
    mPass.inCallback = [&] {
        if (mPass.lines.size() == 7) {
            pthread_exit(nullptr);
        }
    };
    std::thread([&] { mPass.Manager().Collect(); }).join();
    EXPECT_EQ(RecordsLeft(), kRecords - 7);
    EXPECT_EQ(LockCountOf(mPass.Manager()), 0);
    mPass.inCallback = nullptr;
    mPass.Manager().Collect();
    ExpectEveryLineOnceAndInOrder();
}
