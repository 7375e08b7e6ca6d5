#include "ReportWriter.h"

#include "Keys.h"
#include "Refuse.h"
#include "ReportFile.h"

#include <chrono>
#include <climits>
#include <csignal>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <thread>

using namespace BreakpadLinux;
namespace fs = std::filesystem;

namespace {

class ReportWriter : public testing::Test {
protected:
    ReportWriter()
    {
        char pattern[] = "/tmp/fallcatch-writer-XXXXXX";
        mFolder = mkdtemp(pattern);
        mPairs = kReportHeader;
        AppendPair(mPairs, "key", "value");
    }
    ~ReportWriter() override { fs::remove_all(mFolder); }

    std::string Dump() const { return mFolder + "/1-2-3.dmp"; }

    std::map<std::string, std::string> Written(time_t start) const
    {
        const char* path = WriteReport(Dump().c_str(), mPairs, start);
        EXPECT_STREQ(path, (mFolder + "/1-2-3.report").c_str());
        std::ifstream file(path != nullptr ? path : "", std::ios::binary);
        return ParseReport({ std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>() })
            .value_or(std::map<std::string, std::string>());
    }

    std::string mFolder;
    std::string mPairs;
};

} // namespace

TEST_F(ReportWriter, AddsTheTimesToThePairs)
{
    const time_t start = std::time(nullptr) - 90;
    const auto written = Written(start);
    ASSERT_EQ(written.size(), 3U);
    EXPECT_EQ(written.at("key"), "value");
    const long long crash = std::stoll(written.at(kCrashTime));
    EXPECT_GE(crash, start + 90);
    EXPECT_LE(crash, std::time(nullptr));
    EXPECT_EQ(std::stoll(written.at(kUpTime)), (crash - start) * 1000);
}

TEST_F(ReportWriter, AClockThatWasSetBackMakesAnUpTimeOfZero)
{
    EXPECT_EQ(Written(std::time(nullptr) + 3600).at(kUpTime), "0");
}

TEST_F(ReportWriter, WithoutAFolderThereIsNoReport)
{
    fs::remove_all(mFolder);
    EXPECT_EQ(WriteReport(Dump().c_str(), mPairs, 0), nullptr);
}

TEST_F(ReportWriter, APathThatOnlyTheDumpFitsIsRefused)
{
    const std::string stem(PATH_MAX - 7, 'x'); // room for ".dmp" and for ".part", not for ".report"
    EXPECT_EQ(WriteReport((stem + ".dmp").c_str(), mPairs, 0), nullptr);
    EXPECT_EQ(WriteReport((stem + "xxx.dmp").c_str(), mPairs, 0), nullptr);
}

TEST_F(ReportWriter, WhereTheReportCannotGetItsNameNothingIsLeft)
{
    fs::create_directory(mFolder + "/1-2-3.report");
    EXPECT_EQ(WriteReport(Dump().c_str(), mPairs, 0), nullptr);
    EXPECT_FALSE(fs::exists(mFolder + "/1-2-3.part"));
}

// Wherever the room ends: in the pairs, in the times, in the last line.
TEST_F(ReportWriter, AFileThatMayNotGrowLeavesNothing)
{
    std::signal(SIGXFSZ, SIG_IGN);
    const auto whole = Written(std::time(nullptr));
    ASSERT_EQ(whole.size(), 3U);
    const auto size = fs::file_size(mFolder + "/1-2-3.report");
    fs::remove(mFolder + "/1-2-3.report");
    rlimit before = {};
    ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &before), 0);
    int made = 0;
    for (rlim_t room = 0; room < size; ++room) {
        const rlimit small = { room, before.rlim_max };
        setrlimit(RLIMIT_FSIZE, &small);
        made += WriteReport(Dump().c_str(), mPairs, std::time(nullptr)) != nullptr ? 1 : 0;
    }
    setrlimit(RLIMIT_FSIZE, &before);
    EXPECT_EQ(made, 0);
    EXPECT_TRUE(fs::is_empty(mFolder));
}

// Some file systems tell of a full disk only at the end.
TEST_F(ReportWriter, AFileThatCannotBeClosedIsNoReport)
{
    EXPECT_EXIT(
        {
            Refuse(SYS_close);
            const bool written = WriteReport(Dump().c_str(), mPairs, 0) != nullptr;
            std::exit(written || !fs::is_empty(mFolder) ? 1 : 0);
        },
        testing::ExitedWithCode(0), "");
}

// A pipe that is full for a while stands for a slow disk.
TEST_F(ReportWriter, SignalsDoNotEndTheWriting)
{
    AppendPair(mPairs, "long", std::string(300000, 'x'));
    const std::string pipe = mFolder + "/1-2-3.part";
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    std::string read;
    std::thread reader([&] {
        LeaveTicksToOthers();
        std::ifstream file(pipe, std::ios::binary);
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
        read.assign(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
    });
    const char* path = nullptr;
    for (int tries = 0; path == nullptr && tries < 1000; ++tries) {
        const Ticks ticks(5000); // which may interrupt the opening too
        path = WriteReport(Dump().c_str(), mPairs, 0);
    }
    reader.join();
    EXPECT_NE(path, nullptr);
    EXPECT_EQ(read.compare(0, mPairs.size(), mPairs), 0);
    EXPECT_TRUE(ParseReport(read));
}
