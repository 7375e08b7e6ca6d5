// The queue with a server and a clock of the test's own.
#include "SenderQueue.h"

#include "Keys.h"
#include "ReportFile.h"
#include "SenderFolder.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/inotify.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <unistd.h>

using namespace BreakpadLinux;
namespace fs = std::filesystem;

namespace {

constexpr char kUrlHere[] = "http://here/submit";

class SenderQueue : public testing::Test {
protected:
    SenderQueue()
    {
        char pattern[] = "/tmp/fallcatch-queue-XXXXXX";
        mFolder = mkdtemp(pattern);
    }
    ~SenderQueue() override { fs::remove_all(mFolder); }

    // Reports are as old as their numbers are low.
    void Put(int number, const std::string& url = kUrlHere, const std::map<std::string, std::string>& more = {},
             std::size_t bytes = 100) const
    {
        std::string text = kReportHeader;
        AppendPair(text, kProduct, "App");
        AppendPair(text, kUrl, url);
        for (const auto& pair : more) {
            AppendPair(text, pair.first, pair.second);
        }
        std::ofstream(Path(number, ".report")) << text << kReportEnd;
        std::ofstream(Path(number, ".dmp")) << std::string(bytes, 'd');
        const timeval when = { mNow - 1000 + number, 0 };
        const timeval times[] = { when, when };
        utimes(Path(number, ".report").c_str(), times);
    }

    std::string Name(int number) const
    {
        char name[37];
        std::snprintf(name, sizeof(name), "00000000-0000-4000-8000-%012d", number);
        return name;
    }

    std::string Path(int number, const std::string& suffix) const
    {
        return mFolder + "/" + Name(number) + suffix;
    }

    bool IsThere(int number) const
    {
        return fs::exists(Path(number, ".report")) && fs::exists(Path(number, ".dmp"));
    }

    // Returns the numbers of what was posted, in its order.
    std::vector<int> Pass(bool byHand = false)
    {
        mPosted.clear();
        State state(mFolder);
        Queue queue({ [this](const Submission& submission) {
                         mPosted.push_back(std::stoi(fs::path(submission.dump).stem().string().substr(24)));
                         const auto answer = mAnswers.find(submission.url);
                         return answer == mAnswers.end() ? Taken() : answer->second;
                     },
                      [this] { return mNow; }, [] { return 0.5; },
                      [this](const std::string& line) { mTold += line + "\n"; } },
                    state, byHand);
        queue.Drain("App", mFolder);
        mDue = queue.NextDue();
        mDone = queue.IsDone();
        return mPosted;
    }

    static Answer Taken()
    {
        Answer answer;
        answer.status = 200;
        return answer;
    }

    static Answer Failed(long status = 0, time_t retryAfter = 0)
    {
        Answer answer;
        answer.status = status;
        answer.retryAfter = retryAfter;
        answer.error = status == 0 ? "Couldn't connect" : "";
        return answer;
    }

    std::string Log() const
    {
        std::ifstream file(mFolder + "/uploads.log");
        return { std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>() };
    }

    using Numbers = std::vector<int>;

    std::string mFolder;
    time_t mNow = std::time(nullptr);
    std::map<std::string, Answer> mAnswers; // by URL
    Numbers mPosted;
    std::string mTold;
    time_t mDue = 0;
    bool mDone = false;
};

} // namespace

TEST_F(SenderQueue, TheOldestGoesFirst)
{
    for (const int number : { 3, 1, 5, 2, 4 }) {
        Put(number);
    }
    EXPECT_EQ(Pass(), (Numbers { 1, 2, 3, 4, 5 }));
    EXPECT_TRUE(mDone);
    EXPECT_FALSE(IsThere(1));
}

TEST_F(SenderQueue, ADeadPlaceHoldsUpItsOwnReportsOnly)
{
    Put(1, "http://dead/submit");
    Put(2, "http://dead/other");
    Put(3);
    mAnswers["http://dead/submit"] = Failed();
    EXPECT_EQ(Pass(), (Numbers { 1, 3 }));
    EXPECT_TRUE(IsThere(1));
    EXPECT_TRUE(IsThere(2));
    EXPECT_FALSE(IsThere(3));
    EXPECT_FALSE(mDone);
}

TEST_F(SenderQueue, AReportThatCannotBePostedHoldsUpNobody)
{
    Put(1, "nonsense");
    Put(2);
    Put(3);
    Answer never;
    never.isPosted = false;
    never.error = "not a URL: nonsense";
    mAnswers["nonsense"] = never;
    EXPECT_EQ(Pass(), (Numbers { 1, 2, 3 }));
    EXPECT_TRUE(IsThere(1));
    // It is of no use to anyone, and goes after three days.
    for (int day = 1; day <= 2; ++day) {
        mNow += 2 * kDay;
        EXPECT_EQ(Pass(), (Numbers { 1 }));
    }
    EXPECT_FALSE(IsThere(1));
    EXPECT_NE(Log().find("given up after 3 refusals, not a URL: nonsense"), std::string::npos) << Log();
}

TEST_F(SenderQueue, AFailureWaitsLongerEachTimeAcrossStarts)
{
    mAnswers[kUrlHere] = Failed(500);
    Put(1);
    const time_t start = mNow;
    int posts = 0;
    // A host that starts every ten seconds for a day.
    for (mNow = start; mNow < start + kDay; mNow += 10) {
        posts += static_cast<int>(Pass().size());
    }
    EXPECT_LE(posts, 12);
    EXPECT_GE(posts, 8);
    mAnswers.clear();
    mNow = mDue;
    EXPECT_EQ(Pass(), (Numbers { 1 }));
}

TEST_F(SenderQueue, AServerThatAsksForTimeGetsIt)
{
    mAnswers[kUrlHere] = Failed(503, 3600);
    Put(1);
    EXPECT_EQ(Pass().size(), 1U);
    EXPECT_EQ(mDue, mNow + 3600);
    mAnswers.clear();
    mNow += 3599;
    EXPECT_EQ(Pass().size(), 0U);
    mNow += 1;
    EXPECT_EQ(Pass().size(), 1U);
}

TEST_F(SenderQueue, APersonWhoAsksDoesNotWaitForThePlace)
{
    mAnswers[kUrlHere] = Failed();
    Put(1);
    EXPECT_EQ(Pass().size(), 1U);
    EXPECT_EQ(Pass().size(), 0U);
    EXPECT_EQ(Pass(true).size(), 1U);
}

TEST_F(SenderQueue, ABacklogWithinAnIntervalIsDueReportByReport)
{
    for (int number = 1; number <= 3; ++number) {
        Put(number, kUrlHere, { { kReportInterval, "3600" } });
    }
    EXPECT_EQ(Pass(), (Numbers { 1 }));
    for (int number = 2; number <= 3; ++number) {
        EXPECT_GE(mDue, mNow + 3600);
        EXPECT_LE(mDue, mNow + 3601);
        mNow = mDue;
        EXPECT_EQ(Pass(), (Numbers { number }));
    }
    EXPECT_EQ(mDue, 0);
    EXPECT_TRUE(mDone);
}

TEST_F(SenderQueue, WhatIsBeyondTheLimitsGoesAndIsTold)
{
    mAnswers[kUrlHere] = Failed();
    for (int number = 1; number <= 25; ++number) {
        Put(number);
    }
    EXPECT_EQ(Pass(), (Numbers { 6 }));
    EXPECT_FALSE(IsThere(5));
    EXPECT_TRUE(IsThere(6));
    EXPECT_NE(Log().find(Name(5) + ": removed without being sent: the product keeps 20 reports"),
              std::string::npos);
}

TEST_F(SenderQueue, TheNewestReportsOwnLimitsCount)
{
    mAnswers[kUrlHere] = Failed();
    Put(1);
    Put(2);
    Put(3, kUrlHere, { { kKeepReports, "2" } });
    EXPECT_EQ(Pass(), (Numbers { 2 }));
    EXPECT_FALSE(IsThere(1));
}

TEST_F(SenderQueue, OrphansGoAfterADay)
{
    for (const char* suffix : { ".dmp", ".part", ".log", ".report" }) {
        std::ofstream(Path(1, suffix)) << "half";
        std::ofstream(Path(2, suffix)) << "half";
        const timeval old = { mNow - kDay - 1, 0 };
        const timeval times[] = { old, old };
        utimes(Path(1, suffix).c_str(), times);
    }
    Put(3);
    mAnswers[kUrlHere] = Failed();
    const timeval old = { mNow - 2 * kDay, 0 };
    const timeval times[] = { old, old };
    utimes(Path(3, ".dmp").c_str(), times);
    Pass();
    Pass(); // a dump is an orphan once its damaged report is gone
    for (const char* suffix : { ".dmp", ".part", ".log", ".report" }) {
        EXPECT_FALSE(fs::exists(Path(1, suffix))) << suffix;
        EXPECT_TRUE(fs::exists(Path(2, suffix))) << suffix;
    }
    EXPECT_TRUE(IsThere(3)) << "no orphan";
}

// The folder may be one that holds other files of the user's.
TEST_F(SenderQueue, FilesThatAreNoReportersAreLeftAlone)
{
    for (const char* name : { "holiday.dmp", "movie.part", "notes.log", "list.report" }) {
        std::ofstream(mFolder + "/" + name) << "mine";
        const timeval old = { 1000, 0 };
        const timeval times[] = { old, old };
        utimes((mFolder + "/" + name).c_str(), times);
    }
    Pass();
    for (const char* name : { "holiday.dmp", "movie.part", "notes.log", "list.report" }) {
        EXPECT_TRUE(fs::exists(mFolder + "/" + name)) << name;
    }
}

TEST_F(SenderQueue, FoldersPipesAndLinksAreNoReports)
{
    fs::create_directory(Path(1, ".report"));
    ASSERT_EQ(mkfifo(Path(2, ".report").c_str(), 0600), 0);
    Put(3);
    fs::rename(Path(3, ".report"), mFolder + "/elsewhere");
    fs::create_symlink("elsewhere", Path(3, ".report"));
    std::ofstream(Path(4, ".report"), std::ios::binary) << std::string(3U << 20, 'x');
    Put(5);
    EXPECT_EQ(Pass(), (Numbers { 5 }));
}

// A sender that is ended in between leaves a report without its dump, which is known to be sent.
TEST_F(SenderQueue, TheDumpIsRemovedBeforeItsReport)
{
    Put(1);
    std::ofstream(Path(1, ".log")) << "lines";
    const int watch = inotify_init1(IN_NONBLOCK);
    ASSERT_GE(inotify_add_watch(watch, mFolder.c_str(), IN_DELETE), 0);
    Pass();
    alignas(inotify_event) char events[4096];
    const ssize_t count = read(watch, events, sizeof(events));
    close(watch);
    std::vector<std::string> order;
    for (ssize_t at = 0; at < count;) {
        const auto* event = reinterpret_cast<const inotify_event*>(events + at);
        order.push_back(fs::path(event->name).extension().string());
        at += static_cast<ssize_t>(sizeof(inotify_event) + event->len);
    }
    EXPECT_EQ(order, (std::vector<std::string> { ".dmp", ".log", ".report" }));
}

// As on a disk that became read-only; a folder in the dump's place cannot be unlinked either.
TEST_F(SenderQueue, WhatWasSentButCannotBeRemovedIsNotSentAgain)
{
    Put(1);
    fs::remove(Path(1, ".dmp"));
    fs::create_directory(Path(1, ".dmp"));
    EXPECT_EQ(Pass(), (Numbers { 1 }));
    EXPECT_FALSE(mDone);
    EXPECT_NE(Log().find("its files cannot be removed, which is remembered"), std::string::npos) << Log();
    EXPECT_EQ(Pass(), (Numbers {}));
    fs::remove(Path(1, ".dmp"));
    EXPECT_EQ(Pass(), (Numbers {}));
    EXPECT_FALSE(fs::exists(Path(1, ".report")));
}

TEST_F(SenderQueue, SocorroMustNameTheReport)
{
    Put(1, kUrlHere, { { kServerType, "socorro" } });
    Pass();
    EXPECT_TRUE(IsThere(1));
    mAnswers[kUrlHere] = Taken();
    mAnswers[kUrlHere].text = "CrashID=1";
    mNow += 2 * kDay;
    Pass();
    EXPECT_FALSE(IsThere(1));
}

// Fifty crashes against a collector that refuses them all.
TEST_F(SenderQueue, WhateverTheServerSaysEveryReportEndsAndTheNumberOfPostsIsBounded)
{
    mAnswers[kUrlHere] = Failed(400);
    int posts = 0;
    for (int crash = 1; crash <= 50; ++crash) {
        Put(crash);
        posts += static_cast<int>(Pass().size());
        mNow += 60;
    }
    EXPECT_LE(posts, 10);
    for (int hour = 0; hour < 24 * 100; ++hour) {
        posts += static_cast<int>(Pass().size());
        mNow += 3600;
    }
    EXPECT_LE(posts, 10 + 20 * 3);
    for (int crash = 1; crash <= 50; ++crash) {
        EXPECT_FALSE(fs::exists(Path(crash, ".report"))) << crash;
    }
}
