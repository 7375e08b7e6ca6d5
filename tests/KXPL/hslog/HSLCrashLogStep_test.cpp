// Crashes between any two instructions of a log call and of a pass: a log is written behind each of them, and each must
// hold what had been logged by then.
#include "hslog/HSLCrashLog.h"
#include "hslog/HSLLastingLog.h"
#include "hslog/crash/CrashLedger.h"

#include "CrashLogFixture.h"
#include "SingleStep.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cstddef>
#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include <sys/wait.h>
#include <unistd.h>

using HSL::CCat;
using HSL::CLogContext;
using HSL::CLogManager;

namespace {

constexpr int kMostLogs = 20000;
off_t gEnds[kMostLogs]; // in the file, of each log that was written

// What a crash log is made from. Behind most instructions nothing of it has changed, and a log would be the one before:
// the clock's reading, which begins anew when the time moves on meanwhile, would never end if each took a log's time.
class Watched {
public:
    void Add(const void* memory, std::size_t size)
    {
        mPieces.push_back({ static_cast<const unsigned char*>(memory), size });
        mSeen.resize(mSeen.size() + size);
    }

    bool HasChanged()
    {
        bool hasChanged = mIsFirst;
        mIsFirst = false;
        unsigned char* seen = mSeen.data();
        for (const Piece& piece : mPieces) {
            if (std::memcmp(seen, piece.memory, piece.size) != 0) {
                std::memcpy(seen, piece.memory, piece.size);
                hasChanged = true;
            }
            seen += piece.size;
        }
        return hasChanged;
    }

private:
    struct Piece {
        const unsigned char* memory;
        std::size_t size;
    };

    std::vector<Piece> mPieces;
    std::vector<unsigned char> mSeen;
    bool mIsFirst = true;
};

class CrashLogStep : public CrashLogTest {
protected:
    void SetUp() override
    {
        if (!SingleStep::IsPossible()) {
            GTEST_SKIP();
        }
    }

    void Watch(const CLogContext& context)
    {
        const cb_control* control = context.mBuffer->mControl;
        mWatched.Add(control, cb_calc_buffer_size(1, control->num_elem));
    }

    // The messages that a crash behind each instruction would have saved.
    std::vector<std::vector<std::string>> MessagesAtEachInstructionOf(const std::function<void()>& code)
    {
        const CrashLogFile file;
        const int number = file.Number();
        int steps = 0;
        HSL::CrashLog::Ledger* ledger = mPass.Manager().mLedger;
        mWatched.Add(ledger, offsetof(HSL::CrashLog::Ledger, mSlots) + 16 * sizeof(HSL::CrashLog::LedgerSlot));
        mWatched.Add(&mPass.Manager().mSequence, sizeof(int));
        if (ledger->Kept() != nullptr) {
            mWatched.Add(ledger->Kept(), sizeof(HSL::CrashLog::KeptLines) + ledger->Kept()->mSize);
        }
        {
            const SingleStep step([this, &steps, number] {
                if (mWatched.HasChanged() && steps < kMostLogs) {
                    HSL::WriteCrashLog(number);
                    gEnds[steps++] = lseek(number, 0, SEEK_CUR);
                }
            });
            code();
        }
        EXPECT_LT(steps, kMostLogs);
        EXPECT_GT(steps, 1);
        mWatched = Watched();
        const std::string bytes = file.Bytes();
        std::vector<std::vector<std::string>> all;
        std::size_t begin = 0;
        std::string before;
        for (int i = 0; i < steps; ++i) {
            const std::size_t end = static_cast<std::size_t>(gEnds[i]);
            std::vector<std::string> messages;
            for (const std::string& line : LinesOf(bytes.substr(begin, end - begin))) {
                messages.push_back(messageOf(line));
            }
            EXPECT_FALSE(mText.mIsDamaged) << "instruction " << i << "\n" << mText.mNotes;
            if (all.empty() || messages != all.back()) {
                all.push_back(messages);
            }
            begin = end;
        }
        return all;
    }

    // Before the call the messages before it, then at one moment the call's as well.
    void ExpectAllOrNothing(CLogContext& context, const std::vector<std::string>& before,
                            const std::string& message, const std::function<void(CLogContext&)>& call)
    {
        Watch(context);
        const auto seen = MessagesAtEachInstructionOf([&] { call(context); });
        std::vector<std::string> behind = before;
        behind.push_back(message);
        EXPECT_EQ(seen, (std::vector<std::vector<std::string>> { before, behind }));
    }

    Watched mWatched;
};

} // namespace

TEST_F(CrashLogStep, InALogCallItsMessageIsThereAsAWholeOrNotAtAll)
{
    CLogContext& context = mPass.Context("context", 20000);
    context.Log(CCat(3), "before");
    ExpectAllOrNothing(context, { "before" }, "7, text, 8.250000 and wide", [](CLogContext& logged) {
        logged.Log(CCat(3), "%d, %s, %f and %S", 7, "text", 8.25, L"wide");
    });
}

TEST_F(CrashLogStep, InALogCallWithoutValues)
{
    CLogContext& context = mPass.Context("context", 20000);
    context.Log(CCat(3), "before");
    ExpectAllOrNothing(context, { "before" }, "message",
                       [](CLogContext& logged) { logged.Log(CCat(3), "message"); });
}

TEST_F(CrashLogStep, InALogCallWithARegisteredFormat)
{
    CLogContext& context = mPass.Context("context", 20000);
    const short id = static_cast<short>(mPass.Manager().AddFormatString("registered %d"));
    context.Log(CCat(3), "before");
    ExpectAllOrNothing(context, { "before" }, "registered 5",
                       [id](CLogContext& logged) { logged.Log(CCat(3), id, 5); });
}

// Begins at every offset at which it wraps.
TEST_F(CrashLogStep, InALogCallWhoseRecordWraps)
{
    for (int offset = 1; offset < 60; offset += 7) {
        CLogContext& context = mPass.Context("context", 20000);
        const std::string filler(3000, 'f');
        while (static_cast<unsigned int>(offset) + 3100
               < context.mBuffer->mControl->end_offset - context.mBuffer->mControl->write_offset) {
            context.Log(CCat(3), "%s", filler.c_str());
            mPass.Manager().Collect();
        }
        const unsigned int left =
            context.mBuffer->mControl->end_offset - context.mBuffer->mControl->write_offset;
        const std::size_t header = 15 + 1 + 1 + 2 + 2 + 1 + 1 + 2;
        context.Log(CCat(3), "%s", std::string(left - header - static_cast<std::size_t>(offset), 'l').c_str());
        mPass.Manager().Collect();
        context.Log(CCat(3), "x"); // wraps at some
        std::vector<std::string> before = Messages();
        ExpectAllOrNothing(context, before, "message 7, text",
                           [](CLogContext& logged) { logged.Log(CCat(3), "message %d, %s", 7, "text"); });
        mPass.Manager().Collect();
    }
}

TEST_F(CrashLogStep, InALogCallThatBeginsToDrop)
{
    CLogContext& context = mPass.Context("context", 20000);
    const std::string filler(1000, 'f');
    while (static_cast<int>(cb_get_num_elem_used(context.mBuffer->mControl)) < context.mHighWater) {
        context.Log(CCat(3), "%s", filler.c_str());
    }
    ExpectAllOrNothing(context, Messages(), "*** HSLOG DROPPED MESSAGE(S) ***",
                       [](CLogContext& logged) { logged.Log(CCat(3), "dropped"); });
    const std::vector<std::string> before = Messages();
    Watch(context);
    EXPECT_EQ(MessagesAtEachInstructionOf([&] { context.Log(CCat(3), "dropped"); }),
              std::vector<std::vector<std::string>> { before });
}

// At any moment a message is in the ring or among the kept lines, and shown once.
TEST_F(CrashLogStep, InAPassEveryMessageIsThereOnce)
{
    ASSERT_TRUE(HSL::KeepLines());
    CLogContext& one = mPass.Context("one", 20000);
    CLogContext& two = mPass.Context("two", 20000);
    one.Log(CCat(3), "first %d", 1);
    two.Log(CCat(3), "second %s", "text");
    one.Log(CCat(3), "third");
    const std::vector<std::string> all = { "first 1", "second text", "third" };
    Watch(one);
    Watch(two);
    EXPECT_EQ(MessagesAtEachInstructionOf([&] { mPass.Manager().Collect(); }),
              std::vector<std::vector<std::string>> { all });
    EXPECT_EQ(mPass.lines.size(), 3u);
}

// The oldest of the kept lines go, and none else.
TEST_F(CrashLogStep, InAPassThatLetsOldLinesGoTheNewestAreThereOnce)
{
    ASSERT_TRUE(HSL::KeepLines(4096));
    CLogContext& context = mPass.Context("context", 20000);
    std::vector<std::string> all;
    for (int i = 0; i < 60; ++i) {
        context.Log(CCat(3), "message %d", i);
        all.push_back("message " + std::to_string(i));
    }
    mPass.Manager().Collect();
    for (int i = 60; i < 63; ++i) {
        context.Log(CCat(3), "message %d", i);
        all.push_back("message " + std::to_string(i));
    }
    Watch(context);
    for (const auto& seen : MessagesAtEachInstructionOf([&] { mPass.Manager().Collect(); })) {
        ASSERT_GT(seen.size(), 20u);
        ASSERT_EQ(seen,
                  std::vector<std::string>(all.end() - static_cast<std::ptrdiff_t>(seen.size()), all.end()));
    }
}

namespace {

// The least of several, because the clock's reading may take a turn more.
int instructionsOfACall(CLogContext& context)
{
    int least = INT_MAX;
    for (int i = 0; i < 20; ++i) {
        int steps = 0;
        {
            const SingleStep step([&steps] { ++steps; });
            context.Log(CCat(3), "%d, %s", 7, "text");
        }
        least = std::min(least, steps);
    }
    return least;
}

int instructionsInAProcess(const std::function<void()>& setUp, void* (*mallocFunc)(int),
                           void (*freeFunc)(void*, int))
{
    int ends[2];
    if (pipe(ends) != 0) {
        return -1;
    }
    const pid_t child = fork();
    if (child == 0) {
        setUp();
        ManualPass pass;
        CLogContext context("context", 20000, mallocFunc, freeFunc);
        const int instructions = instructionsOfACall(context);
        static_cast<void>(!write(ends[1], &instructions, sizeof instructions));
        CLogManager::msThis = nullptr;
        _exit(0);
    }
    int instructions = -1;
    close(ends[1]);
    static_cast<void>(!read(ends[0], &instructions, sizeof instructions));
    close(ends[0]);
    waitpid(child, nullptr, 0);
    const std::string product = "fallcatch-test-" + std::to_string(getpid());
    HSL::TakeLogsOfDead(
        product.c_str(), [](const HSL::CDeadLog&, void*) { return true; }, nullptr);
    return instructions;
}

} // namespace

TEST(LogCallCost, IsTheSameToTheInstructionWithLinesKeptAndWithALogThatLasts)
{
    if (!SingleStep::IsPossible()) {
        GTEST_SKIP();
    }
    const int plain = instructionsInAProcess([] {}, CLogContext::MallocFunc, CLogContext::FreeFunc);
    const int kept =
        instructionsInAProcess([] { HSL::KeepLines(); }, CLogContext::MallocFunc, CLogContext::FreeFunc);
    const std::string product = "fallcatch-test-" + std::to_string(getpid());
    const int lasting = instructionsInAProcess(
        [&product] {
            HSL::KeepLines();
            if (HSL::MakeLogLast(product.c_str()) != 0) {
                _exit(1);
            }
        },
        HSL::LastingMalloc, HSL::LastingFree);
    EXPECT_GT(plain, 50);
    EXPECT_EQ(kept, plain);
    EXPECT_EQ(lasting, plain);
}
