// A pass over the reports in which one system call after another fails.
#include "FailingCalls.h"
#include "Keys.h"
#include "ReportFile.h"
#include "SenderQueue.h"
#include "SenderState.h"

#include <cerrno>
#include <cstdlib>
#include <ctime>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace BreakpadLinux;
namespace fs = std::filesystem;

extern "C" {

int __real_open(const char* path, int flags, ...);
int __real_openat(int folder, const char* path, int flags, ...);
int __real_fstat(int file, struct stat* facts);
ssize_t __real_read(int file, void* bytes, std::size_t count);
ssize_t __real_write(int file, const void* bytes, std::size_t count);
int __real_fsync(int file);
int __real_close(int file);
int __real_renameat(int from, const char* old, int to, const char* name);
int __real_unlinkat(int folder, const char* path, int flags);
int __real_flock(int file, int operation);

int __wrap_open(const char* path, int flags, mode_t mode)
{
    return fails() ? -1 : __real_open(path, flags, mode);
}

int __wrap_openat(int folder, const char* path, int flags, mode_t mode)
{
    return fails() ? -1 : __real_openat(folder, path, flags, mode);
}

int __wrap_fstat(int file, struct stat* facts)
{
    return fails() ? -1 : __real_fstat(file, facts);
}

ssize_t __wrap_read(int file, void* bytes, std::size_t count)
{
    return fails() ? -1 : __real_read(file, bytes, count);
}

ssize_t __wrap_write(int file, const void* bytes, std::size_t count)
{
    return fails() ? -1 : __real_write(file, bytes, count);
}

int __wrap_fsync(int file)
{
    return fails() ? -1 : __real_fsync(file);
}

// What fails to be closed is closed all the same.
int __wrap_close(int file)
{
    const int result = __real_close(file);
    return fails() ? -1 : result;
}

int __wrap_renameat(int from, const char* old, int to, const char* name)
{
    return fails() ? -1 : __real_renameat(from, old, to, name);
}

int __wrap_unlinkat(int folder, const char* path, int flags)
{
    return fails() ? -1 : __real_unlinkat(folder, path, flags);
}

int __wrap_flock(int file, int operation)
{
    return fails() ? -1 : __real_flock(file, operation);
}
}

namespace {

const std::string kId = "01234567-89ab-cdef-0123-456789abcdef";
const std::string kOrphan = "fedcba98-7654-3210-fedc-ba9876543210.dmp";

class SenderFailures : public testing::Test {
protected:
    SenderFailures()
    {
        char pattern[] = "/tmp/fallcatch-failures-XXXXXX";
        mFolder = mkdtemp(pattern);
    }
    ~SenderFailures() override { fs::remove_all(mFolder); }

    // A report, a dump without one, and a file that is nobody's business here.
    void Prepare()
    {
        mUploads = 0;
        for (const fs::directory_entry& entry : fs::directory_iterator(mFolder)) {
            fs::remove_all(entry);
        }
        std::string text = kReportHeader;
        AppendPair(text, kProduct, "App");
        AppendPair(text, kServerType, "socorro");
        AppendPair(text, kUrl, "http://127.0.0.1:1/submit");
        std::ofstream(mFolder + "/" + kId + ".report") << text << kReportEnd;
        std::ofstream(mFolder + "/" + kId + ".dmp") << "MDMP";
        std::ofstream(mFolder + "/" + kOrphan) << "MDMP";
        std::ofstream(mFolder + "/notes.txt") << "a note";
    }

    // As the program does it. Returns whether nothing failed.
    bool Pass(time_t now, int untilFailure)
    {
        gUntilFailure = untilFailure;
        {
            State state(mFolder);
            if (!state.IsBusy()) {
                Queue queue({ [this](const Submission&) {
                                 ++mUploads;
                                 Answer answer;
                                 answer.status = 200;
                                 answer.text = "CrashID=bp-1";
                                 return answer;
                             },
                              [now] { return now; }, [] { return 0.5; }, [](const std::string&) {} },
                            state, false);
                queue.Drain("App", mFolder);
            }
        }
        const bool all = gUntilFailure >= 0 || untilFailure < 0;
        gUntilFailure = -1;
        return all;
    }

    bool IsThere(const std::string& name) const { return fs::exists(mFolder + "/" + name); }

    std::string mFolder;
    int mUploads = 0;
};

} // namespace

TEST_F(SenderFailures, WhicheverCallFailsTheReportIsSentInTheEndAndNothingElseIsLost)
{
    const time_t start = std::time(nullptr) + 10;
    gError = EIO;
    bool all = false;
    int calls = 0;
    for (; !all; ++calls) {
        ASSERT_LT(calls, 1000);
        Prepare();
        all = Pass(start, calls);
        if (mUploads == 0) {
            EXPECT_TRUE(IsThere(kId + ".report") && IsThere(kId + ".dmp")) << "call " << calls;
        }
        // Two days later nothing fails.
        Pass(start + 172800, -1);
        EXPECT_GE(mUploads, 1) << "call " << calls;
        EXPECT_LE(mUploads, 2) << "call " << calls;
        EXPECT_FALSE(IsThere(kId + ".report") || IsThere(kId + ".dmp")) << "call " << calls;
        EXPECT_FALSE(IsThere(kOrphan)) << "call " << calls;
        EXPECT_TRUE(IsThere("notes.txt"));
    }
    EXPECT_GT(calls, 30);
    EXPECT_EQ(mUploads, 1) << "and once where nothing failed";
}

TEST_F(SenderFailures, ACallThatASignalInterruptsIsMadeAgain)
{
    const std::string text(10000, 'x');
    std::string why;
    const Descriptor folder = OpenOwnFolder(mFolder, why);
    ASSERT_TRUE(folder) << why;
    gError = EINTR;
    for (int call = 0; call < 8; ++call) {
        gUntilFailure = call == 2 ? 2 : -1; // behind the removal and the opening comes the writing
        EXPECT_TRUE(WriteOwnFile(folder.Number(), "file", text)) << call;
        gUntilFailure = call + 2; // behind the opening and the look at the file
        const auto read = ReadOwnFile(folder.Number(), "file", 20000, why);
        gUntilFailure = -1;
        ASSERT_TRUE(read) << why;
        EXPECT_EQ(*read, text);
    }
}
