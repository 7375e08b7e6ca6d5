// Lines in files.
#include "hslog/sinks/HSLFileSink.h"

#include "SinkTest.h"

#include <signal.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <map>

using namespace HSL::Sinks;

namespace {

FileOptions bare()
{
    FileOptions options;
    options.mLayout = MakePatternLayout("{message}");
    return options;
}

void write(Sink& sink, const std::string& message)
{
    sink.Write(lineOf(message));
    ASSERT_TRUE(sink.Flush(kPatience));
}

} // namespace

TEST(FileSink, LinesAreAppended)
{
    const Folder folder;
    for (const char* message : { "one", "two" }) {
        MakeFileSink((folder / "log").c_str(), bare())->Write(lineOf(message));
    }
    EXPECT_EQ(contentOf(folder / "log"), "one\ntwo\n");
    EXPECT_EQ(folder.Count(), 1u);
}

TEST(FileSink, NoFileGrowsBeyondItsSize)
{
    const Folder folder;
    FileOptions options = bare();
    options.mRotateBytes = 20;
    options.mKeep = 3;
    {
        const auto sink = MakeFileSink((folder / "log").c_str(), std::move(options));
        for (int i = 0; i < 25; ++i) {
            sink->Write(lineOf("line " + std::to_string(10 + i)));
        }
    }
    // Two lines of eight bytes a file.
    EXPECT_EQ(contentOf(folder / "log"), "line 34\n");
    EXPECT_EQ(contentOf(folder / "log.1"), "line 32\nline 33\n");
    EXPECT_EQ(contentOf(folder / "log.2"), "line 30\nline 31\n");
    EXPECT_EQ(contentOf(folder / "log.3"), "line 28\nline 29\n");
    EXPECT_EQ(folder.Count(), 4u);
}

TEST(FileSink, LineLongerThanAnyFileHasOneOfItsOwn)
{
    const Folder folder;
    FileOptions options = bare();
    options.mRotateBytes = 5;
    {
        const auto sink = MakeFileSink((folder / "log").c_str(), std::move(options));
        sink->Write(lineOf("a"));
        sink->Write(lineOf("longer than five"));
        sink->Write(lineOf("b"));
    }
    EXPECT_EQ(contentOf(folder / "log.2"), "a\n");
    EXPECT_EQ(contentOf(folder / "log.1"), "longer than five\n");
    EXPECT_EQ(contentOf(folder / "log"), "b\n");
}

TEST(FileSink, RotatesAtStartIfThereIsSomething)
{
    const Folder folder;
    for (const char* message : { "one", "two" }) {
        FileOptions options = bare();
        options.mRotateAtStart = true;
        MakeFileSink((folder / "log").c_str(), std::move(options))->Write(lineOf(message));
    }
    EXPECT_EQ(contentOf(folder / "log.1"), "one\n");
    EXPECT_EQ(contentOf(folder / "log"), "two\n");
    EXPECT_EQ(folder.Count(), 2u);
}

TEST(FileSink, FileOfAnEarlierPeriodIsRotated)
{
    for (const Period period : { Period::kHour, Period::kDay }) {
        const Folder folder;
        std::ofstream(folder / "log") << "old\n";
        std::filesystem::last_write_time(
            folder / "log", std::filesystem::file_time_type::clock::now() - std::chrono::hours(25));
        FileOptions options = bare();
        options.mRotateEvery = period;
        MakeFileSink((folder / "log").c_str(), std::move(options))->Write(lineOf("new"));
        EXPECT_EQ(contentOf(folder / "log.1"), "old\n");
        EXPECT_EQ(contentOf(folder / "log"), "new\n");
    }
}

TEST(FileSink, FileOfThisPeriodIsContinued)
{
    const Folder folder;
    std::ofstream(folder / "log") << "old\n";
    FileOptions options = bare();
    options.mRotateEvery = Period::kDay;
    MakeFileSink((folder / "log").c_str(), std::move(options))->Write(lineOf("new"));
    EXPECT_EQ(contentOf(folder / "log"), "old\nnew\n");
}

TEST(FileSink, KeepingNoneRemoves)
{
    const Folder folder;
    FileOptions options = bare();
    options.mRotateBytes = 3;
    options.mKeep = 0;
    {
        const auto sink = MakeFileSink((folder / "log").c_str(), std::move(options));
        sink->Write(lineOf("a"));
        sink->Write(lineOf("b"));
    }
    EXPECT_EQ(contentOf(folder / "log"), "b\n");
    EXPECT_EQ(folder.Count(), 1u);
}

TEST(FileSink, FileThatIsRemovedOrRenamedIsMadeAnew)
{
    const Folder folder;
    const auto sink = MakeFileSink((folder / "log").c_str(), bare());
    write(*sink, "one");
    std::filesystem::remove(folder / "log");
    write(*sink, "two");
    EXPECT_EQ(contentOf(folder / "log"), "two\n");
    std::filesystem::rename(folder / "log", folder / "moved");
    write(*sink, "three");
    EXPECT_EQ(contentOf(folder / "moved"), "two\n");
    EXPECT_EQ(contentOf(folder / "log"), "three\n");
}

TEST(FileSink, SignalMakesItOpenTheFileAnew)
{
    const Folder folder;
    const auto sink = MakeFileSink((folder / "log").c_str(), bare());
    write(*sink, "one");
    ASSERT_TRUE(ReopenFilesOnSignal(SIGHUP));
    ASSERT_EQ(raise(SIGHUP), 0);
    write(*sink, "two");
    EXPECT_EQ(contentOf(folder / "log"), "one\ntwo\n");
    EXPECT_FALSE(ReopenFilesOnSignal(SIGKILL));
}

TEST(FileSink, PathThatCannotBeOpenedIsToldOnceAndMended)
{
    const Folder folder;
    testing::internal::CaptureStderr();
    const auto sink = MakeFileSink((folder / "later/log").c_str(), bare());
    write(*sink, "one");
    write(*sink, "two");
    std::filesystem::create_directory(folder / "later");
    write(*sink, "three");
    const std::vector<std::string> told = linesOf(testing::internal::GetCapturedStderr());
    ASSERT_EQ(told.size(), 1u);
    EXPECT_NE(told[0].find("later/log: No such file or directory"), std::string::npos);
    EXPECT_EQ(contentOf(folder / "later/log"), "*** 2 LINE(S) LOST: No such file or directory ***\nthree\n");
}

// A limit of the process stands for the end of the disk; its signal is one that the sink's thread does not take.
TEST(FileSink, FullDiskIsToldOnceAndSurvived)
{
    const Folder folder;
    const auto sink = MakeFileSink((folder / "log").c_str(), bare());
    write(*sink, "0123456789");
    rlimit before {};
    getrlimit(RLIMIT_FSIZE, &before);
    rlimit full = before;
    full.rlim_cur = 16;
    testing::internal::CaptureStderr();
    setrlimit(RLIMIT_FSIZE, &full);
    write(*sink, "torn line");
    write(*sink, "lost line");
    setrlimit(RLIMIT_FSIZE, &before);
    write(*sink, "last");
    EXPECT_EQ(linesOf(testing::internal::GetCapturedStderr()).size(), 1u);
    const std::vector<std::string> lines = linesOf(contentOf(folder / "log"));
    ASSERT_EQ(lines.size(), 4u);
    EXPECT_EQ(lines[0], "0123456789");
    EXPECT_EQ(lines[1], "torn ");
    EXPECT_EQ(lines[2], "*** 2 LINE(S) LOST: File too large ***");
    EXPECT_EQ(lines[3], "last");
}

TEST(FileSink, ProcessesThatShareAFileKeepTheirLinesWholeWhileItIsRotated)
{
    constexpr int kProcesses = 3;
    constexpr int kLines = 3000;
    constexpr std::size_t kRotateBytes = 20000;
    const Folder folder;
    for (int process = 0; process < kProcesses; ++process) {
        if (fork() == 0) {
            FileOptions options = bare();
            options.mRotateBytes = kRotateBytes;
            options.mKeep = 100;
            {
                const auto sink = MakeFileSink((folder / "log").c_str(), std::move(options));
                for (int i = 0; i < kLines; ++i) {
                    sink->Write(
                        lineOf("process " + std::to_string(process) + " line " + std::to_string(i) + " end"));
                    if (i % 100 == 0) {
                        sink->Flush(kPatience);
                    }
                }
            }
            _exit(0);
        }
    }
    for (int process = 0; process < kProcesses; ++process) {
        int status = 0;
        wait(&status);
        EXPECT_EQ(status, 0);
    }
    std::map<std::string, int> seen;
    for (std::size_t i = 0; i < folder.Count(); ++i) {
        const std::string content = contentOf(folder / (i == 0 ? "log" : "log." + std::to_string(i)));
        // Each process may have seen room before the others filled it.
        EXPECT_LE(content.size(), kProcesses * kRotateBytes);
        for (const std::string& line : linesOf(content)) {
            ++seen[line];
        }
    }
    EXPECT_EQ(seen.size(), static_cast<std::size_t>(kProcesses * kLines));
    for (const auto& line : seen) {
        ASSERT_EQ(line.second, 1) << line.first;
        ASSERT_EQ(line.first.substr(line.first.size() - 4), " end");
    }
}
