#include "CrashSandbox.h"
#include "CrashServer.h"

#include <chrono>
#include <csignal>
#include <ctime>
#include <fstream>
#include <gtest/gtest.h>

namespace {

class CrashInterval : public testing::Test {
protected:
    // One after the other, each with its sender.
    void CrashThreeTimes(const std::string& interval)
    {
        for (int i = 0; i < 3; ++i) {
            const Ended ended =
                mSandbox.Run({ "-tcmt", "TC_DER0", "--url", mServer.Url(), "--interval", interval });
            EXPECT_EQ(ended.signal, SIGSEGV);
            mSandbox.WaitForSenders();
        }
    }

    void StartAgain()
    {
        mSandbox.Run({ "--url", mServer.Url() });
        mSandbox.WaitForSenders();
    }

    CrashSandbox mSandbox;
    CrashServer mServer;
};

} // namespace

// The host starts with interval 0 each time, so the kept reports' own 3600 must count at the start.
TEST_F(CrashInterval, AnHourSendsOneOfThreeAndKeepsTheOthers)
{
    CrashThreeTimes("3600");
    EXPECT_EQ(mServer.Reports().size(), 1U);
    EXPECT_EQ(mSandbox.Dumps().size(), 2U);
    EXPECT_EQ(mSandbox.Files(".report").size(), 2U);
    EXPECT_NE(mSandbox.Log().find("kept, within the report interval"), std::string::npos);
}

TEST_F(CrashInterval, ZeroSendsAll)
{
    CrashThreeTimes("0");
    EXPECT_EQ(mServer.Reports().size(), 3U);
    EXPECT_TRUE(mSandbox.IsClean());
}

TEST_F(CrashInterval, ANegativeOneSendsAll)
{
    CrashThreeTimes("-3600");
    EXPECT_EQ(mServer.Reports().size(), 3U);
    EXPECT_TRUE(mSandbox.IsClean());
}

TEST_F(CrashInterval, OnceItHasPassedTheNextStartSendsOneMore)
{
    CrashThreeTimes("3600");
    std::ofstream(mSandbox.StateFolder() / "LastSubmission") << std::time(nullptr) - 3601 << "\n";
    StartAgain();
    EXPECT_EQ(mServer.Reports().size(), 2U);
    EXPECT_EQ(mSandbox.Dumps().size(), 1U);
}

TEST_F(CrashInterval, IsCountedForEachProductByItself)
{
    for (const char* product : { "prod=One", "prod=Two", "prod=One" }) {
        mSandbox.Run(
            { "-tcmt", "TC_DER0", "--url", mServer.Url(), "--interval", "3600", "--parameter", product });
        mSandbox.WaitForSenders();
    }
    const auto reports = mServer.Reports();
    ASSERT_EQ(reports.size(), 2U);
    EXPECT_EQ(reports[0].fields.at("ProductName"), "One");
    EXPECT_EQ(reports[1].fields.at("ProductName"), "Two");
    EXPECT_EQ(mSandbox.Dumps().size(), 1U);
}

// A sender waits beside the host, and ends with it.
TEST_F(CrashInterval, WhileAHostRunsItsBacklogGoesOutReportByReport)
{
    CrashThreeTimes("2");
    const std::size_t before = mServer.Reports().size();
    if (before == 3) {
        GTEST_SKIP() << "this machine is too slow to leave anything within two seconds";
    }
    mSandbox.Run({ "--url", mServer.Url(), "--scenario", "run-on" });
    mSandbox.WaitForSenders();
    EXPECT_EQ(mServer.Reports().size(), 3U) << mSandbox.Log();
    EXPECT_TRUE(mSandbox.IsClean());
}

TEST_F(CrashInterval, ASenderDoesNotOutliveTheHostThatItWaitsBeside)
{
    CrashThreeTimes("3600");
    const auto start = std::chrono::steady_clock::now();
    StartAgain();
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(30));
    EXPECT_EQ(mSandbox.Dumps().size(), 2U);
}

TEST_F(CrashInterval, OfCrashesAtTheSameTimeOneIsSent)
{
    // The first is still on its way when the second comes.
    mServer.SetDelay(1000);
    mSandbox.Run({ "-tcmt", "TC_DER0", "--url", mServer.Url(), "--interval", "3600" });
    mSandbox.Run({ "-tcmt", "TC_DIV0", "--url", mServer.Url(), "--interval", "3600" });
    mSandbox.WaitForSenders();
    EXPECT_EQ(mServer.Reports().size(), 1U);
    EXPECT_EQ(mSandbox.Dumps().size(), 1U);
}
