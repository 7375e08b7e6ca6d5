#include "Spawn.h"

#include "Refuse.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <iostream>
#include <sched.h>
#include <string>
#include <sys/auxv.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

using BreakpadLinux::StartDetached;
namespace fs = std::filesystem;

namespace {

bool start(const char* program, const std::string& script, char* const* environment = environ)
{
    char name[] = "sh";
    char option[] = "-c";
    std::string text = script;
    char* const arguments[] = { name, option, text.data(), nullptr };
    return StartDetached(program, arguments, environment);
}

// What became of the program, in a process that may refuse some of its own system calls first. 1000: it was not
// started.
constexpr int kNotStarted = 1000;

int endOf(const char* program, const std::string& script, char* const* environment = environ)
{
    prctl(PR_SET_CHILD_SUBREAPER, 1, 0, 0, 0);
    if (!start(program, script, environment)) {
        return kNotStarted;
    }
    int status = 0;
    while (waitpid(-1, &status, 0) < 0 && errno == EINTR) { }
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

// Ends the process with 0 if a program that is started now finds none of its starter's files.
[[noreturn]] void exitWithoutInheritedFiles()
{
    for (const int number : { 3, 17, 300 }) {
        dup2(1, number);
    }
    std::exit(endOf("/bin/sh", "for i in 3 17 300; do test ! -e /proc/$$/fd/$i || exit 1; done"));
}

void limitFiles(rlim_t most)
{
    const rlimit all = { most, most };
    if (setrlimit(RLIMIT_NOFILE, &all) != 0) { // who may not raise it
        rlimit limit = {};
        getrlimit(RLIMIT_NOFILE, &limit);
        limit.rlim_cur = std::min(most, limit.rlim_max);
        ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &limit), 0);
    }
}

} // namespace

TEST(Spawn, TheProgramRunsWithNothingButTheEmptyDevice)
{
    char pattern[] = "/tmp/fallcatch-spawn-XXXXXX";
    const fs::path folder = mkdtemp(pattern);
    const std::string result = (folder / "result").string();
    ASSERT_TRUE(start("/bin/sh",
                      "seen=$(for i in 0 1 2; do readlink /proc/$$/fd/$i; done; pwd); echo \"$seen\" >" + result
                          + ".part; mv " + result + ".part " + result));
    for (int look = 0; look < 500 && !fs::exists(result); ++look) {
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    std::ifstream file(result);
    const std::string text { std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>() };
    EXPECT_EQ(text, "/dev/null\n/dev/null\n/dev/null\n/\n");
    fs::remove_all(folder);
}

// A crashed thread has blocked the signal it handles, and a host may have blocked all.
TEST(Spawn, TheProgramRunsWithNoSignalBlocked)
{
    EXPECT_EXIT(
        {
            sigset_t all;
            sigfillset(&all);
            sigprocmask(SIG_SETMASK, &all, nullptr);
            std::exit(endOf("/bin/sh",
                            "while read -r name value; do case $name in SigBlk:) test $value = "
                            "0000000000000000 && exit 0;; esac; done </proc/$$/status; exit 1"));
        },
        testing::ExitedWithCode(0), "");
}

TEST(Spawn, TheProgramGetsTheEnvironmentThatIsHandedOver)
{
    setenv("SSLKEYLOGFILE", "/none", 1);
    char only[] = "ONLY=this";
    char* const environment[] = { only, nullptr };
    EXPECT_EXIT(std::exit(endOf("/bin/sh", "test -z \"$SSLKEYLOGFILE\" && test \"$ONLY\" = this", environment)),
                testing::ExitedWithCode(0), "");
    EXPECT_EXIT(std::exit(endOf("/bin/sh", "test \"$SSLKEYLOGFILE\" = /none")), testing::ExitedWithCode(0), "");
    unsetenv("SSLKEYLOGFILE");
}

// The caller does not wait so long as to learn of it.
TEST(Spawn, AProgramThatIsNotThereIsNotNoticed)
{
    EXPECT_TRUE(start("/none/of/these", ""));
}

TEST(Spawn, WithoutNewProcessesNothingIsStarted)
{
    EXPECT_EXIT(
        {
            Refuse(SYS_clone);
            std::exit(start("/bin/sh", "true") ? 1 : 0);
        },
        testing::ExitedWithCode(0), "");
}

TEST(Spawn, WithoutASecondProcessNothingIsStarted)
{
    EXPECT_EXIT(
        {
            Refuse(SYS_clone, CLONE_UNTRACED | SIGCHLD);
            std::exit(start("/bin/sh", "true") ? 1 : 0);
        },
        testing::ExitedWithCode(0), "");
}

TEST(Spawn, AChildInBetweenThatDiesMeansNothingIsStarted)
{
    EXPECT_EXIT(
        {
            Refuse(SYS_setsid, std::nullopt, SECCOMP_RET_KILL_PROCESS);
            std::exit(start("/bin/sh", "true") ? 1 : 0);
        },
        testing::ExitedWithCode(0), "");
}

TEST(Spawn, AChildThatCannotBeWaitedForCountsAsNotStarted)
{
    EXPECT_EXIT(
        {
            Refuse(SYS_wait4);
            std::exit(start("/bin/sh", "true") ? 1 : 0);
        },
        testing::ExitedWithCode(0), "");
}

TEST(Spawn, SignalsDoNotEndTheWait)
{
    const Ticks ticks(40);
    int started = 0;
    for (int i = 0; i < 100; ++i) {
        started += start("/none/of/these", "") ? 1 : 0;
    }
    EXPECT_EQ(started, 100);
    EXPECT_GT(ticks.Seen(), 0);
}

TEST(Spawn, TheProgramInheritsNoFiles)
{
    EXPECT_EXIT(exitWithoutInheritedFiles(), testing::ExitedWithCode(0), "");
}

// As on a kernel that is older than the call for all files at once.
TEST(Spawn, FilesAreClosedOneByOneWhereTheyCannotBeTogether)
{
    for (const rlim_t most : { 400, 100000 }) {
        EXPECT_EXIT(
            {
                limitFiles(most);
                Refuse(SYS_close_range);
                exitWithoutInheritedFiles();
            },
            testing::ExitedWithCode(0), "")
            << most;
    }
}

TEST(Spawn, FilesAreClosedWhereTheirLimitIsUnknown)
{
    EXPECT_EXIT(
        {
            Refuse(SYS_close_range);
            Refuse(SYS_prlimit64);
            exitWithoutInheritedFiles();
        },
        testing::ExitedWithCode(0), "");
}

TEST(Spawn, WithoutItsFolderTheProgramDoesNotRun)
{
    EXPECT_EXIT(
        {
            Refuse(SYS_chdir);
            std::exit(endOf("/bin/sh", "true"));
        },
        testing::ExitedWithCode(127), "");
}

// Run by itself as any other, and by the next test in a copy of this program with another user's rights.
TEST(SpawnEnvironment, IsTheProcessesOwnUnlessItsRightsAreRaised)
{
    if (getauxval(AT_SECURE) != 0) {
        std::cout << "with raised rights\n";
        EXPECT_EQ(*BreakpadLinux::TrustedEnvironment(), nullptr);
    } else {
        EXPECT_EQ(BreakpadLinux::TrustedEnvironment(), environ);
    }
}

TEST(SpawnEnvironment, IsEmptyWhereTheProcessHasRaisedRights)
{
    if (getuid() != 0) {
        GTEST_SKIP() << "only root can make a program with another user's rights";
    }
    constexpr uid_t nobody = 65534;
    char pattern[] = "/tmp/fallcatch-spawn-XXXXXX";
    const fs::path folder = mkdtemp(pattern);
    const std::string program = folder / "test";
    fs::copy_file("/proc/self/exe", program);
    ASSERT_EQ(chown(program.c_str(), nobody, nobody), 0);
    ASSERT_EQ(chmod(program.c_str(), S_ISUID | 0755), 0);
    ASSERT_EQ(chmod(folder.c_str(), 0755), 0);
    const std::string output = folder / "output";
    const std::string filter = " --gtest_filter=SpawnEnvironment.IsTheProcessesOwnUnlessItsRightsAreRaised";
    const int status = std::system((program + filter + " >" + output + " 2>&1").c_str());
    std::ifstream file(output);
    const std::string told { std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>() };
    fs::remove_all(folder);
    if (told.find("with raised rights") == std::string::npos && status == 0) {
        GTEST_SKIP() << "this file system raises nobody's rights";
    }
    EXPECT_EQ(status, 0) << told;
}
