// Hosts that fork, that end without Cleanup, whose threads outlive a manager, and whose callbacks are slow.
#include "hslog/HSL.h"

#include "Interpose.h"
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

TEST_F(Fork, ParentGoesOnAndChildMayLogWhichDoesNothing)
{
    const int status = StatusOf([] {
        const int sequence = HSL::LogManager()->mSequence;
        for (int i = 0; i < 100000; ++i) {
            HSL::HSLog(CCat(3), "never seen %d", i);
        }
        _exit(gLines == 1 && HSL::LogManager()->mSequence == sequence ? 0 : 1);
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

// What its parent logged is its parent's to output.
TEST_F(Fork, ChildMayCollectAndOutputsNothing)
{
    HSL::HSLog(CCat(3), "second");
    EXPECT_EQ(StatusOf([] {
                  gHold = false;
                  const bool isShutDown = HSL::LogManager()->Collect();
                  _exit(!isShutDown && gLines == 1 ? 0 : 1);
              }),
              0);
}

TEST_F(Fork, ChildThatFlushesWhenItExitsOutputsNothingTwice)
{
#if defined(__SANITIZE_ADDRESS__)
    GTEST_SKIP() << "LeakSanitizer reports in the child what the parent's threads hold";
#endif
    HSL::HSLog(CCat(3), "second");
    gAtTheVeryEnd = [] {
        if (gLines != 1) {
            _exit(1);
        }
    };
    EXPECT_EQ(StatusOf([] {
                  gHold = false;
                  std::atexit([] {
                      if (CLogManager::IsInitialized()) {
                          HSL::LogManager()->Collect();
                      }
                  });
                  std::exit(7);
              }),
              7);
    gAtTheVeryEnd = nullptr;
}

TEST_F(Fork, ChildMayCallAllThatTakesTheLock)
{
    EXPECT_EQ(StatusOf([] {
                  CLogManager& manager = *HSL::LogManager();
                  HSL::CLogContext own("own", 8192, HSL::CLogContext::MallocFunc, HSL::CLogContext::FreeFunc);
                  own.SetName("child");
                  manager.GetTLSContext();
                  manager.CleanupTLSContext();
                  const int id = manager.AddFormatString("%d");
                  _exit(id == 0 && manager.mContexts.size() == 1 ? 0 : 1);
              }),
              0);
}

TEST_F(Fork, ChildMayCleanUp)
{
    EXPECT_EQ(StatusOf([] {
                  CLogManager::Cleanup();
                  CLogManager::Cleanup();
                  HSL::HSLog(CCat(3), "nowhere");
                  _exit(CLogManager::IsInitialized() ? 1 : 0);
              }),
              0);
}

TEST_F(Fork, ChildMayHaveALoggerOfItsOwn)
{
    if (kUnderThreadSanitizer) {
        GTEST_SKIP() << "ThreadSanitizer starts no threads behind a fork";
    }
    HSL::HSLog(CCat(3), "the parent's");
    EXPECT_EQ(StatusOf([] {
                  gHold = false;
                  CLogManager::Cleanup();
                  gMessages.clear();
                  start(takeMessage);
                  HSL::HSLog(CCat(3), "the child's");
                  std::thread([] { HSL::HSLog(CCat(3), "its thread's"); }).join();
                  CLogManager::Cleanup();
                  _exit(gMessages == std::vector<std::string> { "the child's\n", "its thread's\n" } ? 0 : 1);
              }),
              0);
    gHold = false;
    CLogManager::Cleanup();
    EXPECT_EQ(gMessages, (std::vector<std::string> { "before\n", "the parent's\n" }));
}

TEST_F(Fork, GrandchildIsLikeAChild)
{
    EXPECT_EQ(StatusOf([] {
                  _exit(StatusOf([] {
                      HSL::LogManager()->Collect();
                      CLogManager::Cleanup();
                      _exit(0);
                  }));
              }),
              0);
}

// Who forks in a callback holds the lock, and goes on holding it in both processes.
TEST(ForkInACallback, ChildThatReturnsFromTheCallbackOutputsNothingMore)
{
    static std::atomic<int> sChildStatus;
    static std::atomic<int> sLines;
    sChildStatus = -1;
    sLines = 0;
    Interposed hooks;
    const pid_t parent = getpid();
    hooks.usleepHook = [parent](useconds_t time) {
        if (getpid() != parent) {
            const bool isFree = HSL::LogManager()->mLock.mMutex.mLockCount == 0;
            HSL::LogManager()->Collect();
            _exit(isFree && sLines == 1 ? 3 : 4);
        }
        return __real_usleep(time);
    };
    start([](const char*) {
        if (++sLines == 1) {
            const pid_t pid = fork();
            if (pid == 0) {
                alarm(kSecondsUntilAChildCountsAsHung);
                return;
            }
            int status = -1;
            waitpid(pid, &status, 0);
            sChildStatus = status;
        }
    });
    for (int i = 0; i < 100; ++i) {
        HSL::HSLog(CCat(3), "message");
    }
    while (sChildStatus == -1) {
        std::this_thread::yield();
    }
    CLogManager::Cleanup();
    EXPECT_TRUE(WIFEXITED(sChildStatus) && WEXITSTATUS(sChildStatus) == 3) << sChildStatus;
    EXPECT_EQ(sLines, 100);
}

// The lock is in every state when they fork, also between two steps of a thread that has it.
TEST(ForkOfManyChildren, AllExitWhileThreadsLogAndComeAndGo)
{
#if defined(__SANITIZE_ADDRESS__)
    GTEST_SKIP() << "LeakSanitizer reports in the child what the parent's threads hold";
#endif
    if (kUnderThreadSanitizer) {
        GTEST_SKIP() << "ThreadSanitizer knows of a fork only what one thread does";
    }
    static const auto flush = [] {
        if (CLogManager::IsInitialized()) {
            HSL::LogManager()->Collect();
        }
    };
    static std::atomic<int> sLines;
    sLines = 0;
    start([](const char*) { ++sLines; });
    std::atomic<bool> done { false };
    std::vector<std::thread> threads;
    std::atomic<int> logged { 0 };
    for (int i = 0; i < 2; ++i) {
        threads.emplace_back([&] {
            while (!done) {
                std::thread([&logged] {
                    HSL::HSLog(CCat(3), "message");
                    ++logged;
                }).join();
                HSL::LogManager()->Collect();
            }
        });
    }
    for (int i = 0; i < 60; ++i) {
        const pid_t pid = fork();
        if (pid == 0) {
            alarm(kSecondsUntilAChildCountsAsHung);
            const int before = sLines;
            std::atexit(flush);
            HSL::HSLog(CCat(3), "nowhere");
            flush();
            CLogManager::Cleanup();
            std::exit(sLines == before ? 0 : 1);
        }
        int status = -1;
        waitpid(pid, &status, 0);
        EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << status;
    }
    done = true;
    for (std::thread& thread : threads) {
        thread.join();
    }
    CLogManager::Cleanup();
    EXPECT_EQ(sLines, logged);
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
