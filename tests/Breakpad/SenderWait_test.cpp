#include "SenderWait.h"

#include <chrono>
#include <csignal>
#include <ctime>
#include <gtest/gtest.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

using BreakpadLinux::HostWatch;

namespace {

// Runs until it is ended.
pid_t startHost()
{
    const pid_t child = fork();
    if (child == 0) {
        for (;;) {
            pause();
        }
    }
    return child;
}

void end(pid_t host)
{
    kill(host, SIGKILL);
    waitpid(host, nullptr, 0);
}

} // namespace

TEST(SenderWait, WithoutAHostNobodyWaits)
{
    EXPECT_FALSE(HostWatch(0).WaitUntil(std::time(nullptr)));
    EXPECT_FALSE(HostWatch(-1).WaitUntil(std::time(nullptr) + 1000));
}

TEST(SenderWait, BesideAHostThatRunsTheTimeComes)
{
    const HostWatch watch(getpid());
    EXPECT_TRUE(watch.WaitUntil(0));
    EXPECT_TRUE(watch.WaitUntil(std::time(nullptr) + 1));
}

TEST(SenderWait, AHostThatEndsEndsTheWait)
{
    const pid_t host = startHost();
    const HostWatch watch(host);
    std::thread ending([host] {
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
        end(host);
    });
    EXPECT_FALSE(watch.WaitUntil(std::time(nullptr) + 1000));
    ending.join();
    EXPECT_FALSE(watch.WaitUntil(0)) << "and for good";
}

TEST(SenderWait, ASignalDoesNotEndTheWait)
{
    std::signal(SIGALRM, [](int) {});
    const HostWatch watch(getpid());
    const itimerval soon = { {}, { 0, 100000 } };
    setitimer(ITIMER_REAL, &soon, nullptr);
    const std::time_t until = std::time(nullptr) + 2;
    EXPECT_TRUE(watch.WaitUntil(until));
    EXPECT_GE(std::time(nullptr), until);
}
