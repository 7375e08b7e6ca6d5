// Hosts that fork, that end without Cleanup, whose threads outlive a manager, and whose callbacks are slow.
#include "hslog/HSL.h"

#include "ThreadSanitizer.h"

#include <gtest/gtest.h>

#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cstdlib>
#include <functional>
#include <string>
#include <thread>
#include <vector>

using HSL::CCat;
using HSL::CLogManager;

namespace {

constexpr unsigned int kSecondsUntilAChildCountsAsHung = 60;

std::vector<std::string> gMessages;
std::atomic<int> gLines;
std::atomic<bool> gHold;

// Keeps the pass, and so the manager's lock, while gHold is set.
void takeMessage(const char* line)
{
    const std::string text = line;
    gMessages.push_back(text.substr(text.find('\t') + 1));
    ++gLines;
    while (gHold) {
        std::this_thread::yield();
    }
}

void start(CLogManager::OutputCallback callback)
{
    CLogManager::Initialize();
    HSL::LogManager()->SetOutputCallback(callback);
    HSL::LogManager()->SetEnable(true);
    HSL::LogManager()->SetFilterValue(3, true);
}

void waitForLines(int lines)
{
    while (gLines < lines) {
        std::this_thread::yield();
    }
}

// Runs when exit has destroyed all static objects, if a test sets it: what is registered first is called last.
void (*gAtTheVeryEnd)() = nullptr;

__attribute__((constructor(101))) void registerTheVeryEnd()
{
    std::atexit([] {
        if (gAtTheVeryEnd != nullptr) {
            gAtTheVeryEnd();
        }
    });
}

// Forks while the collection thread is in a callback, so that the child's copy of the lock stays held for ever.
class Fork : public testing::Test {
protected:
    Fork()
    {
        gMessages.clear();
        gLines = 0;
        gHold = true;
        start(takeMessage);
        HSL::HSLog(CCat(3), "before");
        waitForLines(1);
    }

    ~Fork() override
    {
        gHold = false;
        CLogManager::Cleanup();
    }

    // The child's exit status; -1 if a signal ended it.
    static int StatusOf(const std::function<void()>& child)
    {
        const pid_t pid = fork();
        if (pid == 0) {
            alarm(kSecondsUntilAChildCountsAsHung);
            child();
            _exit(99);
        }
        int status = -1;
        EXPECT_EQ(waitpid(pid, &status, 0), pid);
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }
};

} // namespace

TEST_F(Fork, ParentGoesOnAndChildMayLogOnTheForkingThread)
{
    const int status = StatusOf([] {
        HSL::CLogContext* context = HSL::LogManager()->GetTLSContext();
        for (int i = 0; i < 100000; ++i) {
            HSL::HSLog(CCat(3), "never seen %d", i);
        }
        // Nobody collects there.
        _exit(context->mDropping && gLines == 1 ? 0 : 1);
    });
    EXPECT_EQ(status, 0);
    HSL::HSLog(CCat(3), "after");
    gHold = false;
    CLogManager::Cleanup();
    EXPECT_EQ(gMessages, (std::vector<std::string> { "before\n", "after\n" }));
}

TEST_F(Fork, ChildThatSwitchesLoggingOffMayLogOnAnyThread)
{
    if (kUnderThreadSanitizer) {
        GTEST_SKIP() << "ThreadSanitizer starts no threads behind a fork";
    }
    EXPECT_EQ(StatusOf([] {
                  HSL::LogManager()->SetEnable(false);
                  std::thread([] { HSL::HSLog(CCat(3), "nowhere"); }).join();
                  _exit(0);
              }),
              0);
}

TEST_F(Fork, ChildMayExit)
{
#if defined(__SANITIZE_ADDRESS__)
    GTEST_SKIP() << "LeakSanitizer reports in the child what the parent's threads hold";
#endif
    EXPECT_EQ(StatusOf([] { std::exit(7); }), 7);
}

TEST_F(Fork, ChildMayExec)
{
    EXPECT_EQ(StatusOf([] { execl("/bin/sh", "sh", "-c", "exit 8", static_cast<char*>(nullptr)); }), 8);
}

// Each in a process of its own, which the collection thread serves while it ends.
class ProcessEnd : public testing::Test {
protected:
    static void StartAndLog()
    {
        gHold = false;
        gLines = 0;
        start([](const char*) { ++gLines; });
        HSL::HSLog(CCat(3), "message");
        waitForLines(1);
        for (int i = 0; i < 1000; ++i) {
            HSL::HSLog(CCat(3), "message %d", i);
        }
    }
};

TEST_F(ProcessEnd, ExitWhileTheCollectionThreadRuns)
{
    EXPECT_EXIT(
        {
            StartAndLog();
            std::exit(3);
        },
        testing::ExitedWithCode(3), "");
}

TEST_F(ProcessEnd, ExitWhileTheCollectionThreadIsInACallback)
{
    EXPECT_EXIT(
        {
            gHold = true;
            gLines = 0;
            start(takeMessage);
            HSL::HSLog(CCat(3), "message");
            waitForLines(1);
            std::exit(4);
        },
        testing::ExitedWithCode(4), "");
}

// Static objects are gone when the collection thread makes its first steps.
TEST_F(ProcessEnd, ExitBeforeTheCollectionThreadHasBegun)
{
    EXPECT_EXIT(
        {
            gHold = true;
            gLines = 0;
            gAtTheVeryEnd = [] {
                gHold = false;
                waitForLines(1);
                _exit(6);
            };
            static std::atomic<bool> sStarted { false };
            KxThread::mAtStartFunctions.push_back([] {
                sStarted = true;
                while (gHold) {
                    std::this_thread::yield();
                }
            });
            start([](const char*) { ++gLines; });
            HSL::HSLog(CCat(3), "message");
            while (!sStarted) {
                std::this_thread::yield();
            }
            std::exit(0);
        },
        testing::ExitedWithCode(6), "");
}

TEST_F(ProcessEnd, ExitByACallback)
{
    EXPECT_EXIT(
        {
            start([](const char*) { std::exit(5); });
            for (;;) {
                HSL::HSLog(CCat(3), "message");
            }
        },
        testing::ExitedWithCode(5), "");
}

TEST_F(ProcessEnd, AbortWhileTheCollectionThreadRuns)
{
    EXPECT_EXIT(
        {
            StartAndLog();
            std::abort();
        },
        testing::KilledBySignal(SIGABRT), "");
}

// A log call in flight during Cleanup is a host's mistake; a thread that merely lives is none.
TEST(ThreadThatOutlivesAManager, LogsNowhereAndThenToTheNextManager)
{
    gMessages.clear();
    gHold = false;
    gLines = 0;
    std::atomic<int> step { 0 };
    const auto waitFor = [&step](int value) {
        while (step != value) {
            std::this_thread::yield();
        }
    };
    start(takeMessage);
    std::thread thread([&] {
        HSL::HSLog(CCat(3), "first");
        step = 1;
        waitFor(2);
        HSL::HSLog(CCat(3), "between");
        step = 3;
        waitFor(4);
        HSL::HSLog(CCat(3), "second");
        step = 5;
    });
    waitFor(1);
    CLogManager::Cleanup();
    step = 2;
    waitFor(3);
    start(takeMessage);
    step = 4;
    waitFor(5);
    CLogManager::Cleanup();
    thread.join();
    EXPECT_EQ(gMessages, (std::vector<std::string> { "first\n", "second\n" }));
}

TEST(SlowCallback, HoldsUpTheFirstCallOfAThreadOnly)
{
    gMessages.clear();
    gLines = 0;
    gHold = true;
    start(takeMessage);
    HSL::HSLog(CCat(3), "slow");
    waitForLines(1);
    // This thread has its context.
    for (int i = 0; i < 1000; ++i) {
        HSL::HSLog(CCat(3), "meanwhile");
    }
    std::atomic<bool> returned { false };
    std::thread other([&returned] {
        HSL::HSLog(CCat(3), "first call");
        returned = true;
    });
    usleep(50000);
    EXPECT_FALSE(returned);
    gHold = false;
    other.join();
    CLogManager::Cleanup();
    EXPECT_EQ(gMessages.size(), 1002u);
}
