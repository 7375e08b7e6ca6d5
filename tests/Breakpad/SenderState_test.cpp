#include "SenderState.h"

#include "Refuse.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

using BreakpadLinux::Ledger;
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
    EXPECT_EQ(Contents("uploads.log.1").size(), 300U * 1024);
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

TEST_F(SenderState, AnotherThatIsAtWorkIsNotWaitedFor)
{
    const State first(mFolder);
    EXPECT_FALSE(first.IsBusy());
    const State second(mFolder);
    EXPECT_TRUE(second.IsBusy());
}

TEST_F(SenderState, ALockEndsWithItsHolder)
{
    {
        const State first(mFolder);
    }
    EXPECT_FALSE(State(mFolder).IsBusy());
}

TEST_F(SenderState, WhatIsWrittenIsForTheUserAlone)
{
    umask(0);
    State state(mFolder);
    state.SetLastSubmission(1000);
    state.ClientId();
    state.WriteLedger(Ledger());
    state.Log("line");
    umask(022);
    for (const char* name : { "LastSubmission", "ClientID", "Ledger", "uploads.log" }) {
        EXPECT_EQ(std::filesystem::status(mFolder + "/" + name).permissions(),
                  std::filesystem::perms::owner_read | std::filesystem::perms::owner_write)
            << name;
    }
}

TEST_F(SenderState, ALogThatAllCouldReadIsForTheUserAloneFromThenOn)
{
    std::ofstream(mFolder + "/uploads.log") << "old\n";
    std::filesystem::permissions(mFolder + "/uploads.log", std::filesystem::perms(0644));
    State(mFolder).Log("new");
    EXPECT_EQ(std::filesystem::status(mFolder + "/uploads.log").permissions(), std::filesystem::perms(0600));
    EXPECT_EQ(Contents("uploads.log").rfind("old\n", 0), 0U);
}

// Whoever may write the folder would have a line appended to any file of the user's.
TEST_F(SenderState, NoLinkIsFollowed)
{
    std::ofstream(mFolder + "/other") << "5000\n";
    for (const char* name : { "LastSubmission", "ClientID", "Ledger", "uploads.log" }) {
        std::filesystem::create_symlink("other", mFolder + "/" + name);
    }
    State state(mFolder);
    state.Log("line");
    EXPECT_EQ(state.LastSubmission(), 0);
    EXPECT_EQ(state.ClientId().size(), 32U);
    state.SetLastSubmission(7000);
    EXPECT_EQ(Contents("other"), "5000\n");
    EXPECT_EQ(state.LastSubmission(), 7000);
}

TEST_F(SenderState, AHardLinkToAnotherFileGetsNoLine)
{
    std::ofstream(mFolder + "/other") << "text\n";
    std::filesystem::create_hard_link(mFolder + "/other", mFolder + "/uploads.log");
    State(mFolder).Log("line");
    EXPECT_EQ(Contents("other"), "text\n");
}

TEST_F(SenderState, APipeInPlaceOfItsFilesIsNeitherReadNorWaitedFor)
{
    for (const char* name : { "LastSubmission", "ClientID", "Ledger", "uploads.log" }) {
        ASSERT_EQ(mkfifo((mFolder + "/" + name).c_str(), 0600), 0);
    }
    State state(mFolder);
    state.Log("line");
    EXPECT_EQ(state.LastSubmission(), 0);
    EXPECT_EQ(state.ClientId().size(), 32U);
}

TEST_F(SenderState, AFolderThatOthersMayWriteIsNotUsed)
{
    std::ofstream(mFolder + "/LastSubmission") << "5000\n";
    std::filesystem::permissions(mFolder, std::filesystem::perms(0770));
    State state(mFolder);
    EXPECT_NE(state.Trouble().find("can be written by others"), std::string::npos) << state.Trouble();
    EXPECT_EQ(state.LastSubmission(), 0);
    state.Log("line");
    EXPECT_EQ(Contents("uploads.log"), "");
}

TEST_F(SenderState, TheLedgerIsReadAgain)
{
    Ledger ledger;
    ledger.PlaceFailed("http://host:80", 1000, 0, 0.5);
    ASSERT_TRUE(State(mFolder).WriteLedger(ledger));
    EXPECT_EQ(State(mFolder).ReadLedger().Text(), ledger.Text());
}

TEST_F(SenderState, ALineHoldsNeitherControlCharactersNorBrokenText)
{
    State(mFolder).Log("a\nb\x1B[1m\xC2\x85"
                       "c\xFF"
                       "d\xE2\x80\xAE"
                       "e");
    EXPECT_NE(Contents("uploads.log").find(" a b [1m c?d e\n"), std::string::npos) << Contents("uploads.log");
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
