#include "fallcatch_breakpad.h"

#include "Refuse.h"

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <gtest/gtest.h>
#include <pthread.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <thread>
#include <vector>

namespace {

stack_t presentStack()
{
    stack_t present = {};
    sigaltstack(nullptr, &present);
    return present;
}

bool hasStack()
{
    return (presentStack().ss_flags & SS_DISABLE) == 0;
}

} // namespace

TEST(PreparedThread, HasAStackForSignalHandlers)
{
    std::thread([] {
        ASSERT_FALSE(hasStack());
        EXPECT_EQ(FallcatchBreakpadPrepareThread(), 1);
        EXPECT_TRUE(hasStack());
        EXPECT_GE(presentStack().ss_size, 128U * 1024);
    }).join();
}

// A handler runs on it and writes nearly all of it, also after the thread was prepared again.
TEST(PreparedThread, RunsItsHandlersOnThatStack)
{
    static std::atomic<const char*> place { nullptr };
    struct sigaction action = {};
    struct sigaction before = {};
    action.sa_flags = SA_ONSTACK;
    action.sa_handler = [](int) {
        volatile char large[96 * 1024];
        for (std::size_t i = 0; i < sizeof(large); i += 512) {
            large[i] = 1;
        }
        place = const_cast<const char*>(&large[0]);
    };
    sigaction(SIGUSR2, &action, &before);
    std::thread([] {
        ASSERT_EQ(FallcatchBreakpadPrepareThread(), 1);
        ASSERT_EQ(FallcatchBreakpadPrepareThread(), 1);
        pthread_kill(pthread_self(), SIGUSR2);
        const auto* stack = static_cast<const char*>(presentStack().ss_sp);
        EXPECT_GE(place, stack);
        EXPECT_LT(place, stack + presentStack().ss_size);
    }).join();
    sigaction(SIGUSR2, &before, nullptr);
}

TEST(PreparedThread, GivesTheStackBackWhenItEnds)
{
    void* stack = nullptr;
    std::thread([&stack] {
        ASSERT_EQ(FallcatchBreakpadPrepareThread(), 1);
        stack = presentStack().ss_sp;
        ASSERT_EQ(msync(stack, 4096, MS_ASYNC), 0) << "in use";
    }).join();
    ASSERT_NE(stack, nullptr);
    EXPECT_EQ(msync(stack, 4096, MS_ASYNC), -1);
    EXPECT_EQ(errno, ENOMEM);
}

TEST(PreparedThread, KeepsItsStackWhenPreparedAgain)
{
    std::thread([] {
        ASSERT_EQ(FallcatchBreakpadPrepareThread(), 1);
        const void* first = presentStack().ss_sp;
        EXPECT_EQ(FallcatchBreakpadPrepareThread(), 1);
        EXPECT_EQ(presentStack().ss_sp, first);
    }).join();
}

TEST(PreparedThread, KeepsAStackOfTheHostsThatIsLargeEnough)
{
    std::thread([] {
        std::vector<char> own(256 * 1024);
        stack_t stack = {};
        stack.ss_sp = own.data();
        stack.ss_size = own.size();
        ASSERT_EQ(sigaltstack(&stack, nullptr), 0);
        EXPECT_EQ(FallcatchBreakpadPrepareThread(), 1);
        EXPECT_EQ(presentStack().ss_sp, own.data());
        stack.ss_flags = SS_DISABLE;
        sigaltstack(&stack, nullptr);
    }).join();
}

TEST(PreparedThread, GetsALargerStackThanASmallOneOfTheHosts)
{
    std::thread([] {
        std::vector<char> own(64 * 1024);
        stack_t stack = {};
        stack.ss_sp = own.data();
        stack.ss_size = own.size();
        ASSERT_EQ(sigaltstack(&stack, nullptr), 0);
        EXPECT_EQ(FallcatchBreakpadPrepareThread(), 1);
        EXPECT_NE(presentStack().ss_sp, own.data());
        EXPECT_GE(presentStack().ss_size, 128U * 1024);
    }).join();
}

TEST(PreparedThread, WithoutMemoryRunsOnWithoutAStack)
{
    std::thread([] {
        rlimit before = {};
        getrlimit(RLIMIT_AS, &before);
        const rlimit none = { 0, before.rlim_max };
        setrlimit(RLIMIT_AS, &none);
        const int prepared = FallcatchBreakpadPrepareThread();
        setrlimit(RLIMIT_AS, &before);
        EXPECT_EQ(prepared, 0);
        EXPECT_FALSE(hasStack());
    }).join();
}

// A stack that nobody would give back is not taken.
TEST(PreparedThread, WithoutAFreeKeyRunsOnWithoutAStack)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe"); // a process in which no thread was prepared before
    EXPECT_EXIT(
        {
            pthread_key_t key;
            while (pthread_key_create(&key, nullptr) == 0) { }
            int prepared = -1;
            bool stack = true;
            std::thread([&] {
                prepared = FallcatchBreakpadPrepareThread();
                stack = hasStack();
            }).join();
            std::exit(prepared == 0 && !stack ? 0 : 1);
        },
        testing::ExitedWithCode(0), "");
}

TEST(PreparedThread, WhereTheSystemRefusesAStackRunsOnWithoutOne)
{
    EXPECT_EXIT(
        {
            Refuse(SYS_sigaltstack);
            int prepared = -1;
            std::thread([&] { prepared = FallcatchBreakpadPrepareThread(); }).join();
            std::exit(prepared == 0 ? 0 : 1);
        },
        testing::ExitedWithCode(0), "");
}
