#include "CrashSandbox.h"
#include "CrashServer.h"

#include <csignal>
#include <gtest/gtest.h>

namespace {

class CrashTransport : public testing::Test {
protected:
    void Crash(int port)
    {
        EXPECT_EQ(mSandbox.Run({ "-tcwt", "TC_DER0", "--url", LocalUrl(port) }).signal, SIGSEGV);
        mSandbox.WaitForSenders();
    }

    // After a failure a place is left in peace for a while.
    void StartAgain(int port)
    {
        mSandbox.LetTimePass();
        EXPECT_EQ(mSandbox.Run({ "--url", LocalUrl(port) }).status, 0);
        mSandbox.WaitForSenders();
    }

    void ExpectKept(const std::string& reason)
    {
        EXPECT_EQ(mSandbox.Dumps().size(), 1U);
        EXPECT_EQ(mSandbox.Files(".report").size(), 1U);
        EXPECT_NE(mSandbox.Log().find("kept, " + reason), std::string::npos) << mSandbox.Log();
    }

    CrashSandbox mSandbox;
};

} // namespace

TEST_F(CrashTransport, ACollectorThatIsDownGetsTheReportAtTheNextStart)
{
    const int port = FreePort();
    Crash(port);
    ExpectKept("Couldn't connect");
    CrashServer server(port);
    StartAgain(port);
    EXPECT_EQ(server.Reports().size(), 1U);
    EXPECT_TRUE(mSandbox.IsClean());
}

// A host that crashes at every start does not make its collector's trouble greater.
TEST_F(CrashTransport, ACollectorThatFailsIsLeftInPeaceForAWhile)
{
    CrashServer server;
    server.SetStatus(500);
    for (int i = 0; i < 5; ++i) {
        Crash(server.Port());
    }
    EXPECT_EQ(server.Reports().size(), 1U);
    EXPECT_EQ(mSandbox.Dumps().size(), 5U);
    server.SetStatus(200);
    StartAgain(server.Port());
    EXPECT_EQ(server.Reports().size(), 6U);
    EXPECT_TRUE(mSandbox.IsClean());
}

TEST_F(CrashTransport, ACollectorThatAnswers500GetsTheReportAtTheNextStart)
{
    CrashServer server;
    server.SetStatus(500);
    Crash(server.Port());
    EXPECT_EQ(server.Reports().size(), 1U);
    ExpectKept("HTTP 500");
    server.SetStatus(200);
    StartAgain(server.Port());
    EXPECT_EQ(server.Reports().size(), 2U);
    EXPECT_EQ(server.Reports()[0].dump, server.Reports()[1].dump);
    EXPECT_TRUE(mSandbox.IsClean());
}

TEST_F(CrashTransport, ACollectorThatSendsElsewhereGetsTheReportAtTheNextStart)
{
    CrashServer server;
    server.SetStatus(302);
    Crash(server.Port());
    ExpectKept("HTTP 302");
    server.SetStatus(201);
    StartAgain(server.Port());
    EXPECT_TRUE(mSandbox.IsClean());
}

TEST_F(CrashTransport, ACollectorThatAnswersTooSlowlyGetsTheReportAtTheNextStart)
{
    mSandbox.SetPatience(1);
    CrashServer server;
    server.SetDelay(5000);
    Crash(server.Port());
    ExpectKept("nothing moved any more");
    server.SetDelay(0);
    StartAgain(server.Port());
    EXPECT_EQ(server.Reports().size(), 2U);
    EXPECT_TRUE(mSandbox.IsClean());
}

TEST_F(CrashTransport, ACollectorThatTakesItsTimeIsWaitedFor)
{
    CrashServer server;
    server.SetDelay(2000);
    Crash(server.Port());
    EXPECT_EQ(server.Reports().size(), 1U);
    EXPECT_TRUE(mSandbox.IsClean());
}

TEST_F(CrashTransport, ACollectorThatCutsTheConnectionGetsTheReportAtTheNextStart)
{
    int port = 0;
    {
        CuttingServer cutting;
        port = cutting.Port();
        Crash(port);
        EXPECT_GE(cutting.Cuts(), 1);
    }
    ExpectKept("");
    CrashServer server(port);
    StartAgain(port);
    EXPECT_EQ(server.Reports().size(), 1U);
    EXPECT_TRUE(mSandbox.IsClean());
}

TEST_F(CrashTransport, NothingIsRemovedWhileTheCollectorIsSilent)
{
    CrashServer server;
    bool kept = false;
    server.BeforeAnswer([&] { kept = mSandbox.Dumps().size() == 1 && mSandbox.Files(".report").size() == 1; });
    Crash(server.Port());
    EXPECT_TRUE(kept);
    EXPECT_TRUE(mSandbox.IsClean());
}

TEST_F(CrashTransport, TheHostDoesNotWaitForItsSender)
{
    CrashServer server;
    bool ended = false;
    bool before = true;
    server.BeforeAnswer([&] {
        for (int tries = 0; !ended && tries < 1000; ++tries) {
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        }
        before = !ended;
    });
    mSandbox.Run({ "-tcmt", "TC_DER0", "--url", server.Url() });
    ended = true;
    mSandbox.WaitForSenders();
    EXPECT_FALSE(before);
    EXPECT_EQ(server.Reports().size(), 1U);
}

TEST_F(CrashTransport, AnotherProductsReportsAreLeftToIt)
{
    const int port = FreePort();
    const std::string folder = "BreakpadMinidumpLocation=" + (mSandbox.Folder() / "dumps").string();
    mSandbox.Run(
        { "-tcmt", "TC_DER0", "--url", LocalUrl(port), "--parameter", folder, "--parameter", "prod=One" });
    mSandbox.WaitForSenders();
    mSandbox.LetTimePass();
    CrashServer server(port);
    mSandbox.Run({ "--url", server.Url(), "--parameter", folder, "--parameter", "prod=Two" });
    mSandbox.WaitForSenders();
    EXPECT_TRUE(server.Reports().empty());
    mSandbox.Run({ "--url", server.Url(), "--parameter", folder, "--parameter", "prod=One" });
    mSandbox.WaitForSenders();
    EXPECT_EQ(server.Reports().size(), 1U);
    EXPECT_TRUE(mSandbox.IsClean());
}

TEST_F(CrashTransport, GoogleServersGetTheirOwnNames)
{
    CrashServer server;
    mSandbox.Run({ "-tcmt", "TC_DER0", "--url", server.Url() + "?key=1", "--parameter",
                   "BreakpadServerType=google", "--parameter", "ver=1 & 2" });
    mSandbox.WaitForSenders();
    const auto reports = server.Reports();
    // The bridge cuts parameters at their second "=", not the default URL.
    ASSERT_EQ(reports.size(), 1U) << mSandbox.Log();
    EXPECT_EQ(reports[0].fields.at("prod"), "CrashHost");
    EXPECT_EQ(reports[0].fields.at("ver"), "1 & 2");
    EXPECT_EQ(reports[0].fields.count("ptime"), 1U);
    EXPECT_EQ(reports[0].fields.at("guid"), reports[0].query.at("guid"));
    EXPECT_EQ(reports[0].query.at("product"), "CrashHost");
    EXPECT_EQ(reports[0].query.at("version"), "1 & 2");
    EXPECT_EQ(reports[0].query.at("key"), "1");
    EXPECT_EQ(reports[0].dump.substr(0, 4), "MDMP");
}

TEST_F(CrashTransport, AUrlOfAnotherKindIsNotFollowed)
{
    mSandbox.Run({ "-tcmt", "TC_DER0", "--url", "file:///tmp/fallcatch-none" });
    mSandbox.WaitForSenders();
    ExpectKept("");
}

TEST_F(CrashTransport, TheSenderByHandTellsWhatBecomesOfAReport)
{
    const int port = FreePort();
    Crash(port);
    const auto reports = mSandbox.Files(".report");
    ASSERT_EQ(reports.size(), 1U);
    const Ended failed = mSandbox.RunProgram({ SENDER_PROGRAM, reports[0].string() });
    EXPECT_EQ(failed.status, 1);
    EXPECT_NE(failed.err.find("kept, Couldn't connect"), std::string::npos) << failed.err;
    CrashServer server(port);
    const Ended sent = mSandbox.RunProgram({ SENDER_PROGRAM, reports[0].string() });
    EXPECT_EQ(sent.status, 0);
    EXPECT_NE(sent.err.find("sent, HTTP 200 CrashID=bp-1"), std::string::npos) << sent.err;
}

// Only Foundation knows it: under GNUstep it is not the cache folder of other programs.
TEST_F(CrashTransport, TheSenderTellsWhereAProductsReportsLie)
{
    const Ended told = mSandbox.RunProgram({ SENDER_PROGRAM, "--where", "CrashHost" });
    EXPECT_EQ(told.status, 0) << told.err;
    EXPECT_EQ(told.out, mSandbox.StateFolder().string() + "\n");
    Crash(FreePort());
    EXPECT_EQ(mSandbox.Files(".report").at(0).parent_path().string() + "\n", told.out);
    EXPECT_EQ(mSandbox.RunProgram({ SENDER_PROGRAM, "--where", "a/b" }).out,
              (mSandbox.StateFolder().parent_path() / "a%2Fb").string() + "\n");
}

TEST_F(CrashTransport, WhatACollectorAnswersIsOneLineWithoutControlCharacters)
{
    CrashServer server;
    server.SetText("CrashID=\t1\x7F=\x1B[1m5\r\nsecond line\n");
    Crash(server.Port());
    EXPECT_NE(mSandbox.Log().find("sent, HTTP 200 CrashID= 1 = [1m5\n"), std::string::npos) << mSandbox.Log();
    EXPECT_EQ(mSandbox.Log().find("second line"), std::string::npos);
}
