#include "SenderState.h"

#include "Refuse.h"

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/syscall.h>
#include <thread>
#include <unistd.h>

using BreakpadLinux::State;

namespace {

class SenderState : public testing::Test {
protected:
    SenderState()
    {
        char pattern[] = "/tmp/fallcatch-state-XXXXXX";
        mFolder = mkdtemp(pattern);
    }
    ~SenderState() override { std::filesystem::remove_all(mFolder); }

    std::string Contents(const std::string& name) const
    {
        std::ifstream file(mFolder + "/" + name);
        return { std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>() };
    }

    std::string mFolder;
};

} // namespace

TEST_F(SenderState, WithoutASubmissionTheIntervalHasPassed)
{
    EXPECT_TRUE(State(mFolder).IntervalHasPassed(3600, 1000));
}

TEST_F(SenderState, TheIntervalEndsOnItsLastSecond)
{
    State(mFolder).SetLastSubmission(10000);
    const State state(mFolder);
    EXPECT_FALSE(state.IntervalHasPassed(3600, 10000));
    EXPECT_FALSE(state.IntervalHasPassed(3600, 13599));
    EXPECT_TRUE(state.IntervalHasPassed(3600, 13600));
}

TEST_F(SenderState, ZeroAndLessNeverWait)
{
    State(mFolder).SetLastSubmission(10000);
    const State state(mFolder);
    EXPECT_TRUE(state.IntervalHasPassed(0, 10000));
    EXPECT_TRUE(state.IntervalHasPassed(-1, 10000));
}

TEST_F(SenderState, AClockThatWasSetBackDoesNotSilenceTheProduct)
{
    State(mFolder).SetLastSubmission(10000);
    EXPECT_TRUE(State(mFolder).IntervalHasPassed(3600, 9000));
}

TEST_F(SenderState, ADamagedFileCountsAsNoSubmission)
{
    std::ofstream(mFolder + "/LastSubmission") << "nonsense\n";
    EXPECT_TRUE(State(mFolder).IntervalHasPassed(3600, 1000));
}

TEST_F(SenderState, TheClientKeepsItsName)
{
    const std::string first = State(mFolder).ClientId();
    EXPECT_EQ(first.size(), 32U);
    EXPECT_EQ(State(mFolder).ClientId(), first);
}

TEST_F(SenderState, TheLogGrowsLineByLine)
{
    State(mFolder).Log("one");
    State(mFolder).Log("two");
    const std::string text = Contents("uploads.log");
    EXPECT_NE(text.find(" one\n"), std::string::npos);
    EXPECT_NE(text.find(" two\n"), std::string::npos);
}

TEST_F(SenderState, ALongLogStartsAgain)
{
    std::ofstream(mFolder + "/uploads.log") << std::string(300 * 1024, 'x');
    State(mFolder).Log("fresh");
    EXPECT_LT(Contents("uploads.log").size(), 100U);
}

TEST_F(SenderState, IsAloneWithItsFolder)
{
    const State state(mFolder);
    const int other = open(mFolder.c_str(), O_RDONLY | O_DIRECTORY);
    ASSERT_GE(other, 0);
    EXPECT_NE(flock(other, LOCK_EX | LOCK_NB), 0);
    close(other);
}

TEST_F(SenderState, AMissingFolderMeansNothingIsRemembered)
{
    State state(mFolder + "/none");
    state.SetLastSubmission(1000);
    state.Log("lost");
    EXPECT_TRUE(state.IntervalHasPassed(3600, 1001));
    EXPECT_EQ(state.ClientId().size(), 32U);
}

TEST_F(SenderState, SignalsDoNotEndTheWaitForTheFolder)
{
    const int other = open(mFolder.c_str(), O_RDONLY | O_DIRECTORY);
    ASSERT_EQ(flock(other, LOCK_EX), 0);
    std::atomic<bool> released { false };
    std::thread holder([&] {
        LeaveTicksToOthers();
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
        released = true;
        close(other);
    });
    {
        const Ticks ticks(5000);
        const State state(mFolder);
        EXPECT_GT(ticks.Seen(), 0);
        EXPECT_TRUE(released);
    }
    holder.join();
}

TEST_F(SenderState, WhereFoldersCannotBeLockedNobodyWaits)
{
    EXPECT_EXIT(
        {
            Refuse(SYS_flock);
            std::exit(State(mFolder).ClientId().size() == 32 ? 0 : 1);
        },
        testing::ExitedWithCode(0), "");
}
