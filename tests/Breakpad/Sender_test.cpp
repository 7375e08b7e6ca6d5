// The program, run by hand.
#include "Keys.h"
#include "ReportFile.h"
#include "SenderUpload.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <sys/wait.h>

using namespace BreakpadLinux;
namespace fs = std::filesystem;

namespace {

class Sender : public testing::Test {
protected:
    Sender()
    {
        char pattern[] = "/tmp/fallcatch-sender-XXXXXX";
        mFolder = mkdtemp(pattern);
    }
    ~Sender() override { fs::remove_all(mFolder); }

    // Returns what the program ended with; its output is in mOutput.
    int Run(const std::string& arguments)
    {
        const std::string output = mFolder + "/output";
        const int status = std::system((SENDER_PROGRAM " " + arguments + " >" + output + " 2>&1").c_str());
        std::ifstream file(output);
        mOutput.assign(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }

    std::string Report(const std::string& url) const
    {
        std::string text = kReportHeader;
        AppendPair(text, kProduct, "App");
        AppendPair(text, kUrl, url);
        const std::string path = mFolder + "/1-2-3.report";
        std::ofstream(path) << text << kReportEnd;
        return path;
    }

    void Dump() const { std::ofstream(mFolder + "/1-2-3.dmp") << "MDMP"; }

    std::string mFolder;
    std::string mOutput;
};

} // namespace

TEST_F(Sender, TellsHowItIsUsed)
{
    for (const char* option : { "--help", "-h" }) {
        EXPECT_EQ(Run(option), 0);
        EXPECT_EQ(mOutput.rfind("usage: fallcatch_sender", 0), 0U);
    }
    for (const char* wrong : { "", "--unknown", "--product App", "--unknown App /tmp" }) {
        EXPECT_EQ(Run(wrong), 2) << wrong;
        EXPECT_EQ(mOutput.rfind("usage: fallcatch_sender", 0), 0U);
    }
}

TEST_F(Sender, AFileThatIsNoReportIsLeftAlone)
{
    const std::string path = mFolder + "/half.report";
    std::ofstream(path) << kReportHeader;
    EXPECT_EQ(Run(path), 1);
    EXPECT_TRUE(fs::exists(path));
    EXPECT_EQ(Run("--product App " + mFolder), 0);
    EXPECT_TRUE(fs::exists(path));
}

// So it is when a sender was ended between the two removals.
TEST_F(Sender, AReportWithoutItsDumpCountsAsSent)
{
    const std::string path = Report("http://127.0.0.1:1/");
    EXPECT_EQ(Run(path), 0);
    EXPECT_FALSE(fs::exists(path));
}

TEST_F(Sender, ReportAndDumpStayWhenTheAddressIsNone)
{
    const std::string path = Report("nonsense");
    Dump();
    EXPECT_EQ(Run(path), 1);
    EXPECT_NE(mOutput.find("1-2-3: kept, not a URL: nonsense"), std::string::npos) << mOutput;
    EXPECT_TRUE(fs::exists(path));
    EXPECT_TRUE(fs::exists(mFolder + "/1-2-3.dmp"));
}

TEST_F(Sender, KeepsWhatItRemembersBesideAReportThatNamesNoFolder)
{
    const std::string path = Report("http://127.0.0.1:1/");
    Dump();
    EXPECT_EQ(Run(path), 1);
    EXPECT_TRUE(fs::exists(mFolder + "/uploads.log"));
    EXPECT_TRUE(fs::exists(mFolder + "/ClientID"));
}

TEST_F(Sender, OfAFolderThatIsNotThereNothingIsSent)
{
    EXPECT_EQ(Run("--product App " + mFolder + "/none"), 0);
}

TEST_F(Sender, ADumpThatVanishedIsToldAndNothingIsPosted)
{
    Submission submission;
    submission.url = "http://127.0.0.1:1/";
    submission.dump = mFolder + "/none.dmp";
    const Answer answer = Upload(submission);
    EXPECT_EQ(answer.status, 0);
    EXPECT_EQ(answer.error, "the dump cannot be read");
}
