#include "CrashSandbox.h"
#include "CrashServer.h"
#include "CrashStack.h"

#include <algorithm>
#include <csignal>
#include <gtest/gtest.h>
#include <sys/stat.h>

namespace {

class CrashFaults : public testing::Test {
protected:
    Ended Run(const std::string& scenario, const CrashSandbox::Strings& more = { "-tcmt", "TC_DER0" })
    {
        CrashSandbox::Strings arguments { "--url", mServer.Url(), "--scenario", scenario };
        arguments.insert(arguments.end(), more.begin(), more.end());
        const Ended ended = mSandbox.Run(arguments);
        mSandbox.WaitForSenders();
        return ended;
    }

    // The host died of what it did, in silence, and nothing half done is left.
    void ExpectPlainDeath(const Ended& ended, int signal = SIGSEGV)
    {
        EXPECT_EQ(ended.signal, signal);
        EXPECT_EQ(ended.err, "");
        EXPECT_TRUE(mServer.Reports().empty());
        EXPECT_TRUE(mSandbox.IsClean());
    }

    // The function that calls itself, again and again: 32 KiB hold some fifty of its frames.
    static void ExpectOverflow(const CrashStack& stack)
    {
        EXPECT_EQ(stack.frames.at(0).find("CrashHost!"), 4U) << stack.frames.at(0);
        std::size_t own = 0;
        for (const std::string& frame : stack.frames) {
            own += frame.find("!overflow") != std::string::npos ? 1 : 0;
        }
        EXPECT_GE(own, 40U) << stack.frames.size() << " frames, such as " << stack.frames.at(5);
    }

    CrashSandbox mSandbox;
    CrashServer mServer;
};

} // namespace

TEST_F(CrashFaults, AFullDiskMeansNoReportAndThePlainDeath)
{
    ExpectPlainDeath(Run("full-disk"));
}

TEST_F(CrashFaults, ADiskThatFillsUpInTheDumpMeansNoReportAndThePlainDeath)
{
    ExpectPlainDeath(Run("small-disk"));
}

TEST_F(CrashFaults, ARealFullFileSystemMeansNoReportAndThePlainDeath)
{
    const std::string folder = (mSandbox.Folder() / "dumps").string();
    std::filesystem::create_directory(folder);
    // A file system of 16 KB in a name space of its own; what is in it must be told from inside.
    const std::string script = "mount -t tmpfs -o size=16k,mode=0700 none '" + folder
        + "' || exit 99; '" CRASH_HOST "' -tcmt TC_DER0 --url " + mServer.Url()
        + " --parameter 'BreakpadMinidumpLocation=" + folder
        + "' 2>host.err; echo ended $?; cat host.err; ls -A '" + folder + "'";
    const Ended ended = mSandbox.RunProgram({ "/usr/bin/unshare", "-rm", "/bin/sh", "-c", script });
    mSandbox.WaitForSenders();
    if (ended.status != 0 && ended.out.find("ended") == std::string::npos) {
        GTEST_SKIP() << "this system lets no process mount a file system of its own";
    }
    // The shell tells of the signal in its status.
    EXPECT_EQ(ended.out.substr(ended.out.find("ended")), "ended 139\nSegmentation fault\n") << ended.err;
    EXPECT_TRUE(mServer.Reports().empty());
}

TEST_F(CrashFaults, ADumpFolderThatIsGoneMeansNoReportAndThePlainDeath)
{
    const std::string location = "BreakpadMinidumpLocation=" + (mSandbox.Folder() / "dumps").string();
    ExpectPlainDeath(Run("lose-dumps", { "-tcwt", "TC_DER0", "--parameter", location }));
}

TEST_F(CrashFaults, ADumpFolderThatCannotBeMadeIsToldAtTheStart)
{
    const Ended ended = mSandbox.Run({ "-tcmt", "TC_DER0", "--url", mServer.Url(), "--parameter",
                                       "BreakpadMinidumpLocation=/proc/none/dumps" });
    EXPECT_EQ(ended.out, "reporter: none\n");
    EXPECT_EQ(
        ended.err,
        "fallcatch: crashes are not reported: the folder /proc/none/dumps for the dumps cannot be made or "
        "written\n");
    EXPECT_EQ(ended.signal, SIGSEGV);
}

TEST_F(CrashFaults, ACrashInTheMiddleOfHeavyLoggingIsReported)
{
    EXPECT_EQ(Run("logging", { "-tcwt", "TC_DER0" }).signal, SIGSEGV);
    EXPECT_EQ(mServer.Reports().size(), 1U);
    EXPECT_TRUE(mSandbox.IsClean());
}

// The crash comes at another moment of the other thread's work each time.
TEST_F(CrashFaults, ACrashWhileAnotherThreadSetsKeysIsReported)
{
    for (std::size_t round = 1; round <= 10; ++round) {
        EXPECT_EQ(Run("set-keys").signal, SIGSEGV);
        ASSERT_EQ(mServer.Reports().size(), round) << mSandbox.Log();
    }
    EXPECT_TRUE(mSandbox.IsClean());
}

TEST_F(CrashFaults, AfterTheReleaseThereIsNoReport)
{
    ExpectPlainDeath(Run("release"));
    ExpectPlainDeath(Run("release", { "-tcwt", "TC_DIV0" }), SIGFPE);
}

TEST_F(CrashFaults, AStackOverflowOfTheMainThreadIsReported)
{
    EXPECT_EQ(Run("overflow-main", {}).signal, SIGSEGV);
    ASSERT_EQ(mServer.Reports().size(), 1U);
    const CrashStack stack = ReadStack(mServer.Reports()[0].dump, mSandbox.Folder().string());
    EXPECT_EQ(stack.thread, 0);
    ExpectOverflow(stack);
}

TEST_F(CrashFaults, AStackOverflowOfAWorkerThreadIsReported)
{
    EXPECT_EQ(Run("overflow-worker", {}).signal, SIGSEGV);
    ASSERT_EQ(mServer.Reports().size(), 1U);
    const CrashStack stack = ReadStack(mServer.Reports()[0].dump, mSandbox.Folder().string());
    EXPECT_EQ(stack.thread, 1);
    ExpectOverflow(stack);
}

TEST_F(CrashFaults, AStackOverflowOfAThreadThatIsNotPreparedIsOnlyAPlainDeath)
{
    ExpectPlainDeath(Run("overflow-unprepared", {}));
}

TEST_F(CrashFaults, AnUncaughtObjectiveCExceptionIsReported)
{
    EXPECT_EQ(Run("exception", {}).signal, SIGABRT);
    EXPECT_EQ(mServer.Reports().size(), 1U);
}

// Two tracers cannot have one process, so a debugger's host is not dumped; it must go on as the debugger wants.
TEST_F(CrashFaults, AHostUnderADebuggerDiesOfItsOwnSignal)
{
    for (const char* thread : { "-tcmt", "-tcwt" }) {
        const Ended ended = mSandbox.RunTraced({ thread, "TC_DER0", "--url", mServer.Url() });
        mSandbox.WaitForSenders();
        ExpectPlainDeath(ended);
    }
}

TEST_F(CrashFaults, ASandboxWithoutPtraceMeansNoReportAndThePlainDeath)
{
    ExpectPlainDeath(Run("no-ptrace"));
}

TEST_F(CrashFaults, ASandboxWithoutNewProcessesMeansNoReportAndThePlainDeath)
{
    ExpectPlainDeath(Run("no-clone"));
}

// The child has the parent's handler, and makes a dump of its own with it.
TEST_F(CrashFaults, AForkedChildsCrashAndItsParentsAreBothReported)
{
    mServer.SetDelay(1000);
    EXPECT_EQ(Run("fork", { "-tcmt", "TC_DER0" }).signal, SIGSEGV);
    std::vector<std::string> reasons;
    for (const Received& report : mServer.Reports()) {
        reasons.push_back(ReadStack(report.dump, mSandbox.Folder().string()).reason);
    }
    std::sort(reasons.begin(), reasons.end());
    EXPECT_EQ(reasons, (std::vector<std::string> { "SIGABRT", "SIGSEGV /SEGV_MAPERR" }));
    EXPECT_TRUE(mSandbox.IsClean());
}

TEST_F(CrashFaults, OfProcessesThatCrashTogetherNoneSpoilsAnothersReport)
{
    for (std::size_t round = 1; round <= 4; ++round) {
        EXPECT_EQ(Run("together", {}).signal, SIGABRT);
        ASSERT_EQ(mServer.Reports().size(), 5 * round) << mSandbox.Log();
    }
    EXPECT_TRUE(mSandbox.IsClean());
}

TEST_F(CrashFaults, AHostThatHasUsedUpItsDescriptorsIsReported)
{
    for (const char* thread : { "-tcmt", "-tcwt" }) {
        EXPECT_EQ(Run("no-descriptors", { thread, "TC_DER0" }).signal, SIGSEGV);
    }
    ASSERT_EQ(mServer.Reports().size(), 2U);
    const CrashStack stack = ReadStack(mServer.Reports()[0].dump, mSandbox.Folder().string());
    EXPECT_GE(stack.Find("Crash::dereferenceZero"), 0);
    EXPECT_TRUE(mSandbox.IsClean());
}

TEST_F(CrashFaults, AHostThatHasClosedAllDescriptorsIsReported)
{
    EXPECT_EQ(Run("closed-descriptors").signal, SIGSEGV);
    EXPECT_EQ(mServer.Reports().size(), 1U);
    EXPECT_TRUE(mSandbox.IsClean());
}

// What the host has opened in their place is its own.
TEST_F(CrashFaults, DescriptorsThatTheHostHasTakenForItselfAreLeftToIt)
{
    ExpectPlainDeath(Run("other-descriptors"));
}

TEST_F(CrashFaults, TheFilesOfACrashAreForTheUserAlone)
{
    std::vector<std::filesystem::perms> found;
    mServer.BeforeAnswer([&] {
        for (const char* suffix : { ".dmp", ".report" }) {
            for (const auto& file : mSandbox.Files(suffix)) {
                found.push_back(std::filesystem::status(file).permissions());
            }
        }
    });
    const mode_t before = umask(0);
    mSandbox.Run({ "-tcmt", "TC_DER0", "--url", mServer.Url() });
    mSandbox.WaitForSenders();
    umask(before);
    EXPECT_EQ(found, std::vector<std::filesystem::perms>(2, static_cast<std::filesystem::perms>(0600)));
}
