// Crash logs that are written while a pass is at its work: it has taken the numbers of records that are still there.
#include "hslog/HSLCrashLog.h"

#include "CrashLogFixture.h"
#include "HandMadeRecord.h"
#include "SingleStep.h"
#include "ThreadSanitizer.h"

#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include <unistd.h>

using HSL::CCat;
using HSL::CLogContext;

namespace {

// Rings that wrap often, and so do the numbers in them.
constexpr int kRing = 5000;

class CrashLogInAPass : public CrashLogTest {
protected:
    CrashLogInAPass()
    {
        for (const char* name : { "a", "b", "c" }) {
            mContexts.push_back(&mPass.Context(name, kRing));
        }
    }

    void LogSome(std::mt19937& random, std::size_t messages)
    {
        for (; messages > 0; --messages) {
            const std::string text(random() % 9, 'x');
            mContexts[random() % mContexts.size()]->Log(CCat(3), "%d%s", static_cast<int>(random()),
                                                        text.c_str());
        }
    }

    std::vector<CLogContext*> mContexts;
};

struct Thrown { };

// The fields that tell of a context's next record.
struct Fields {
    unsigned int readOffset;
    unsigned int takenOffset;
    int takenNumber;

    bool operator!=(const Fields& other) const { return std::memcmp(this, &other, sizeof other) != 0; }
};

Fields fieldsOf(const CLogContext& context, const HSL::detail::TakenNumber& taken)
{
    return { context.mBuffer->mControl->read_offset, taken.mOffset, taken.mNumber };
}

} // namespace

TEST_F(CrashLogInAPass, HoldsInEachCallbackWhatThePassHasNotOutput)
{
    std::mt19937 random(1);
    std::size_t withNumbersTaken = 0;
    for (int round = 0; round < 60; ++round) {
        LogSome(random, 10 + random() % 30);
        std::vector<std::vector<std::string>> shown;
        mPass.lines.clear();
        mPass.inCallback = [&] {
            shown.push_back(Lines());
            EXPECT_FALSE(mText.mIsDamaged) << mText.mNotes;
            for (CLogContext* context : mContexts) {
                const unsigned int readOffset = context->mBuffer->mControl->read_offset;
                withNumbersTaken += mPass.Taken(*context).mOffset == readOffset ? 1 : 0;
            }
        };
        mPass.Manager().Collect();
        ASSERT_EQ(shown.size(), mPass.lines.size());
        for (std::size_t i = 0; i < shown.size(); ++i) {
            const auto rest = mPass.lines.begin() + static_cast<std::ptrdiff_t>(i) + 1;
            ASSERT_EQ(shown[i], std::vector<std::string>(rest, mPass.lines.end()))
                << "round " << round << ", line " << i;
        }
    }
    EXPECT_GT(withNumbersTaken, 1000u);
}

// A message logged in a callback lies where the numbers that were taken lay.
TEST_F(CrashLogInAPass, ShowsTheNumberAlsoWhenItsBytesHaveBeenUsedAgain)
{
    CLogContext& other = *mContexts[1];
    mContexts[0]->Log(CCat(3), "first");
    other.Log(CCat(3), "second");
    const int size = static_cast<int>(HandMadeRecord().Header(1).Inline("").Count(0).Size());
    const int room = kRing - static_cast<int>(cb_get_num_elem_used(other.mBuffer->mControl));
    mPass.inCallback = [&] {
        if (mPass.lines.size() > 1) {
            return;
        }
        // Fills the ring to its last byte.
        HandMadeRecord()
            .Header(7)
            .Inline(std::string(static_cast<std::size_t>(room + 5 - size), 'x'))
            .Count(0)
            .PublishIn(other);
        ASSERT_EQ(cb_is_full(other.mBuffer->mControl), 1);
        const std::vector<std::string> shown = Lines();
        EXPECT_FALSE(mText.mIsDamaged) << mText.mNotes;
        ASSERT_EQ(shown.size(), 2u);
        EXPECT_EQ(messageOf(shown[0]), "second");
        EXPECT_EQ(messageOf(shown[1]).size(), static_cast<std::size_t>(room + 5 - size));
    };
    mPass.Manager().Collect();
    EXPECT_EQ(mPass.lines.size(), 2u);
    mPass.Manager().Collect();
    EXPECT_EQ(mPass.lines.size(), 3u);
}

TEST_F(CrashLogInAPass, HoldsWhatAPassThatWasLeftEarlyHasNotOutput)
{
    std::mt19937 random(2);
    for (int round = 0; round < 60; ++round) {
        LogSome(random, 30);
        const std::size_t lines = mPass.lines.size() + random() % 20 + 1;
        mPass.inCallback = [&] {
            if (mPass.lines.size() == lines) {
                throw Thrown();
            }
        };
        EXPECT_THROW(mPass.Manager().Collect(), Thrown);
        mPass.inCallback = nullptr;
        LogSome(random, random() % 5);
        const std::vector<std::string> shown = Lines();
        ASSERT_FALSE(mText.mIsDamaged) << mText.mNotes;
        ASSERT_EQ(shown, NextPass()) << "round " << round;
    }
}

// Stops behind each instruction that has changed one of the fields, as a crash may.
TEST_F(CrashLogInAPass, LosesNothingBehindAnyStoreOfThePass)
{
    if (!SingleStep::IsPossible()) {
        GTEST_SKIP();
    }
    std::mt19937 random(3);
    LogSome(random, 40);
    const std::vector<std::string> all = Lines();
    ASSERT_EQ(all.size(), 40u);

    std::vector<CrashLogFile> files(40 * 4);
    std::size_t stops = 0;
    std::array<Fields, 3> before = {};
    const auto look = [&] {
        bool isChanged = false;
        for (std::size_t i = 0; i < before.size(); ++i) {
            const Fields now = fieldsOf(*mContexts[i], mPass.Taken(*mContexts[i]));
            isChanged = isChanged || now != before[i];
            before[i] = now;
        }
        if (isChanged && stops < files.size()) {
            HSL::WriteCrashLog(files[stops++].Number());
        }
    };
    {
        const SingleStep step(look);
        mPass.Manager().Collect();
    }
    ASSERT_LT(stops, files.size());
    EXPECT_GT(stops, 3u * 3u + 40u);
    std::size_t left = all.size();
    for (std::size_t stop = 0; stop < stops; ++stop) {
        const std::vector<std::string> shown = LinesOf(files[stop].Bytes());
        ASSERT_FALSE(mText.mIsDamaged) << "stop " << stop << ": " << mText.mNotes;
        ASSERT_TRUE(shown.size() == left || shown.size() == left - 1) << "stop " << stop;
        left = shown.size();
        for (std::size_t i = 0; i < left; ++i) {
            const std::string& line = all[all.size() - left + i];
            ASSERT_EQ(numberOf(shown[i]), numberOf(line)) << "stop " << stop;
            ASSERT_EQ(messageOf(shown[i]), messageOf(line)) << "stop " << stop;
        }
    }
    EXPECT_EQ(left, 0u);
}

// Of each context the log shows what was not taken when it came to it, whole and in order.
TEST_F(CrashLogInAPass, MayBeWrittenWhilePassesRun)
{
    if (kUnderThreadSanitizer) {
        GTEST_SKIP() << "ThreadSanitizer takes what the system copies for reads of this thread";
    }
    std::vector<CLogContext*> contexts;
    for (const char* name : { "A", "B", "C" }) {
        contexts.push_back(&mPass.Context(name, 65536));
    }
    mPass.inCallback = [] { std::this_thread::sleep_for(std::chrono::microseconds(1)); };
    std::atomic<bool> isEnded { false };
    std::atomic<int> rounds { 0 };
    std::thread passes([&] {
        int number = 0;
        while (!isEnded) {
            // No ring may be filled anew as a whole while one log is written.
            if (rounds > 0) {
                --rounds;
                for (int i = 0; i < 60; ++i) {
                    const std::size_t at = static_cast<std::size_t>(i) % contexts.size();
                    contexts[at]->Log(CCat(3), "%d of %d", ++number, static_cast<int>(at));
                }
                mPass.Manager().Collect();
            }
        }
    });
    std::vector<CrashLogFile> files(300);
    for (const CrashLogFile& file : files) {
        rounds = 30;
        EXPECT_EQ(HSL::WriteCrashLog(file.Number()), 0);
    }
    isEnded = true;
    passes.join();
    std::size_t shown = 0;
    for (const CrashLogFile& file : files) {
        std::array<int, 3> last = {};
        for (const std::string& line : LinesOf(file.Bytes())) {
            int number = 0;
            int at = -1;
            ASSERT_EQ(std::sscanf(messageOf(line).c_str(), "%d of %d", &number, &at), 2) << line;
            ASSERT_TRUE(at >= 0 && at < 3) << line;
            const std::size_t context = static_cast<std::size_t>(at);
            ASSERT_TRUE(last[context] == 0 || number == last[context] + 3)
                << line << " behind " << last[context];
            ASSERT_EQ((number - 1) % 3, at) << line;
            last[context] = number;
            ++shown;
        }
        ASSERT_FALSE(mText.mIsDamaged) << mText.mNotes;
    }
    EXPECT_GT(shown, 99u);
}
