#include "Spawn.h"

#include <cerrno>
#include <chrono>
#include <cstddef>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <string>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <thread>

using BreakpadLinux::StartDetached;
namespace fs = std::filesystem;

namespace {

bool start(const char* program, const std::string& script)
{
    char name[] = "sh";
    char option[] = "-c";
    std::string text = script;
    char* const arguments[] = { name, option, text.data(), nullptr };
    return StartDetached(program, arguments);
}

// All system calls of one number fail from now on, in this process for good.
void refuse(unsigned int call)
{
    sock_filter program[] = {
        BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, call, 0, 1),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | EPERM),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW),
    };
    const sock_fprog filter = { sizeof program / sizeof *program, program };
    ASSERT_EQ(prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0), 0);
    ASSERT_EQ(prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &filter), 0);
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

// The caller does not wait so long as to learn of it.
TEST(Spawn, AProgramThatIsNotThereIsNotNoticed)
{
    EXPECT_TRUE(start("/none/of/these", ""));
}

TEST(Spawn, WithoutNewProcessesNothingIsStarted)
{
    EXPECT_EXIT(
        {
            refuse(SYS_clone);
            std::exit(start("/bin/sh", "true") ? 1 : 0);
        },
        testing::ExitedWithCode(0), "");
}
