// What a host asks for while it runs: tags, files, consent, a report without a crash.
#include "CrashSandbox.h"
#include "CrashServer.h"
#include "CrashStack.h"

#include <csignal>
#include <cstdio>
#include <fstream>
#include <gtest/gtest.h>

namespace {

class CrashWishes : public testing::Test {
protected:
    Ended Run(const CrashSandbox::Strings& more)
    {
        CrashSandbox::Strings arguments { "--url", mServer.Url() };
        arguments.insert(arguments.end(), more.begin(), more.end());
        const Ended ended = mSandbox.Run(arguments);
        mSandbox.WaitForSenders();
        return ended;
    }

    CrashSandbox mSandbox;
    CrashServer mServer;
};

const CrashSandbox::Strings kCrash { "-tcmt", "TC_DER0" };
const CrashSandbox::Strings kAsk { "--parameter", "BreakpadSkipConfirm=NO" };

CrashSandbox::Strings operator+(CrashSandbox::Strings one, const CrashSandbox::Strings& other)
{
    one.insert(one.end(), other.begin(), other.end());
    return one;
}

} // namespace

TEST_F(CrashWishes, TagsAndFilesArriveWithTheReport)
{
    std::ofstream(mSandbox.Folder() / "notes.txt") << "a note\n";
    EXPECT_EQ(Run(CrashSandbox::Strings { "--scenario", "tags" } + kCrash).signal, SIGSEGV);
    ASSERT_EQ(mServer.Reports().size(), 1U);
    const Received report = mServer.Reports()[0];
    EXPECT_EQ(report.fields.at("channel"), "beta");
    EXPECT_EQ(report.fields.count("gone"), 0U);
    EXPECT_EQ(report.fields.at("attachment_1"), "a note\n");
    EXPECT_EQ(report.fields.at("attachment_2").rfind("not attached: these ", 0), 0U);
    EXPECT_TRUE(mSandbox.IsClean());
}

TEST_F(CrashWishes, FilesOfOthersAndLinksAreNotSent)
{
    std::filesystem::create_symlink("/etc/hostname", mSandbox.Folder() / "notes.txt");
    Run(CrashSandbox::Strings { "--scenario", "tags" } + kCrash);
    ASSERT_EQ(mServer.Reports().size(), 1U);
    EXPECT_EQ(mServer.Reports()[0].fields.at("attachment_1"), "not attached: notes.txt is a link");
}

TEST_F(CrashWishes, AFileThatIsTooLongIsNotSent)
{
    std::ofstream(mSandbox.Folder() / "notes.txt") << std::string((1U << 20) + 1, 'x');
    Run(CrashSandbox::Strings { "--scenario", "tags" } + kCrash);
    ASSERT_EQ(mServer.Reports().size(), 1U);
    EXPECT_EQ(mServer.Reports()[0].fields.at("attachment_1"), "not attached: notes.txt is too long");
}

TEST_F(CrashWishes, AReportWithoutACrashGoesTheSameRoad)
{
    const Ended ended = Run({ "--scenario", "report-now" });
    EXPECT_EQ(ended.signal, 0);
    EXPECT_EQ(ended.out, "reporter: started\nreported: 1\nreported: 1\n");
    ASSERT_EQ(mServer.Reports().size(), 2U);
    EXPECT_EQ(mServer.Reports()[0].fields.at("Reason"), "the soup is cold");
    EXPECT_EQ(ReadStack(mServer.Reports()[0].dump, mSandbox.Folder().string()).reason, "DUMP_REQUESTED");
    EXPECT_TRUE(mSandbox.IsClean());
}

TEST_F(CrashWishes, ACrashAfterAReportWithoutOneIsReportedToo)
{
    EXPECT_EQ(Run(CrashSandbox::Strings { "--scenario", "report-now" } + kCrash).signal, SIGSEGV);
    ASSERT_EQ(mServer.Reports().size(), 3U);
    int crashes = 0;
    for (const Received& report : mServer.Reports()) {
        crashes += report.fields.count("Reason") == 0 ? 1 : 0;
    }
    EXPECT_EQ(crashes, 1);
}

TEST_F(CrashWishes, AThreadThatHangsIsReportedOnce)
{
    EXPECT_EQ(Run({ "--scenario", "hang" }).signal, 0);
    ASSERT_EQ(mServer.Reports().size(), 1U);
    EXPECT_EQ(mServer.Reports()[0].fields.at("Reason"), "no heartbeat for 1 s");
}

TEST_F(CrashWishes, AThreadThatComesByIsNotReported)
{
    EXPECT_EQ(Run({ "--scenario", "beat" }).signal, 0);
    EXPECT_TRUE(mServer.Reports().empty());
}

TEST_F(CrashWishes, NothingIsSentOnceTheUserHasRefused)
{
    Run(CrashSandbox::Strings { "--scenario", "refuse-upload" } + kCrash);
    EXPECT_TRUE(mServer.Reports().empty());
    EXPECT_EQ(mSandbox.Dumps().size(), 1U);
    EXPECT_NE(mSandbox.Log().find("kept, the user has not agreed to sending"), std::string::npos)
        << mSandbox.Log();
    // It is remembered.
    Run(kCrash);
    EXPECT_TRUE(mServer.Reports().empty());
    EXPECT_EQ(mSandbox.Dumps().size(), 2U);
    Run({ "--scenario", "allow-upload" });
    EXPECT_EQ(mServer.Reports().size(), 2U);
    EXPECT_TRUE(mSandbox.IsClean());
}

TEST_F(CrashWishes, WhereTheUserIsToBeAskedNothingIsSentBefore)
{
    Run(kAsk + kCrash);
    EXPECT_TRUE(mServer.Reports().empty());
    EXPECT_EQ(mSandbox.Dumps().size(), 1U);
    Run(CrashSandbox::Strings { "--scenario", "allow-upload" } + kAsk);
    EXPECT_EQ(mServer.Reports().size(), 1U);
    Run(kAsk + kCrash);
    EXPECT_EQ(mServer.Reports().size(), 2U);
    EXPECT_TRUE(mSandbox.IsClean());
}

TEST_F(CrashWishes, AReportIsCompressedOnlyWhenAKeyAsksForIt)
{
    EXPECT_EQ(Run(kCrash).signal, SIGSEGV);
    EXPECT_EQ(Run(CrashSandbox::Strings { "--parameter", "FallcatchGzip=1" } + kCrash).signal, SIGSEGV);
    const auto reports = mServer.Reports();
    ASSERT_EQ(reports.size(), 2U) << mSandbox.Log();
    EXPECT_EQ(reports[0].encoding, "");
    if (reports[1].encoding != "gzip") {
        GTEST_SKIP() << "built without zlib";
    }
    EXPECT_EQ(reports[1].fields.at("ProductName"), "CrashHost");
    EXPECT_GE(ReadStack(reports[1].dump, mSandbox.Folder().string()).Find("Crash::dereferenceZero"), 0);
    EXPECT_TRUE(mSandbox.IsClean());
}

TEST_F(CrashWishes, TheTrialCollectorReadsACompressedReport)
{
    const std::string folder = (mSandbox.Folder() / "collected").string();
    std::FILE* collector = popen((COLLECTOR " --reports 1 --folder '" + folder + "'").c_str(), "r");
    ASSERT_NE(collector, nullptr);
    char line[200] = "";
    ASSERT_NE(std::fgets(line, sizeof line, collector), nullptr);
    const std::string said = line;
    const std::string url = said.substr(said.find("http://"), said.find('\n') - said.find("http://"));
    mSandbox.Run(CrashSandbox::Strings { "--url", url, "--parameter", "FallcatchGzip=1" } + kCrash);
    mSandbox.WaitForSenders();
    pclose(collector);
    EXPECT_EQ(ReadFile(folder + "/report-1.dmp").rfind("MDMP", 0), 0U);
    EXPECT_NE(ReadFile(folder + "/report-1.txt").find("ProductName=CrashHost\n"), std::string::npos);
    EXPECT_TRUE(mSandbox.Files(".report").empty()) << mSandbox.Log();
}
