// Crashes at the worst of moments: the log arrives, and it is what had been logged.
#include "CrashRun.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <random>
#include <string>
#include <thread>
#include <vector>

using HSL::CCat;
using HSL::CLogContext;
using HSL::CLogManager;

namespace {

constexpr int kSome = 40;

class CrashLogMatrix : public testing::Test {
protected:
    CrashLogMatrix() { mRun.keptBytes = 1u << 20; }

    static CLogContext& Mine() { return *HSL::LogManager()->GetTLSContext(); }

    void LogSome(int thread, int count = kSome)
    {
        for (int i = 0; i < count; ++i) {
            mRun.Log(Mine(), thread);
        }
    }

    // Logs on a thread of its own until the process ends.
    void LogForEver(int thread)
    {
        std::thread([this, thread] {
            for (;;) {
                mRun.Log(Mine(), thread);
                std::this_thread::yield();
            }
        }).detach();
    }

    void WaitForMessages(int thread, int count = kSome)
    {
        while (mRun.Account().returned[thread] < count) {
            std::this_thread::yield();
        }
    }

    void ExpectExact()
    {
        EXPECT_EQ(mRun.ExitStatus(), 42);
        EXPECT_EQ(mRun.Wrong(), "");
        EXPECT_FALSE(mRun.Text().mIsDamaged) << mRun.Text().mNotes;
        EXPECT_NE(mRun.Text().mLines, "");
    }

    bool Shows(const std::string& text) const { return mRun.Text().mLines.find(text) != std::string::npos; }

    CrashRun mRun;
};

} // namespace

TEST_F(CrashLogMatrix, OnTheMainThread)
{
    mRun.Run([this] {
        LogForEver(1);
        WaitForMessages(1);
        LogSome(0);
        crashNow();
    });
    ExpectExact();
    EXPECT_TRUE(Shows("T 0 N 40\n"));
}

TEST_F(CrashLogMatrix, OnAWorker)
{
    mRun.Run([this] {
        LogForEver(1);
        WaitForMessages(1);
        std::thread([this] {
            LogSome(2);
            crashNow();
        }).join();
    });
    ExpectExact();
}

TEST_F(CrashLogMatrix, OnTheCollectionThreadInsideACallback)
{
    mRun.inCallback = [this] {
        if (mRun.Account().output[0] == 20) {
            crashNow();
        }
    };
    mRun.Run([this] {
        LogForEver(1);
        LogSome(0);
        pause();
    });
    ExpectExact();
}

TEST_F(CrashLogMatrix, InsideTheAllocatorWithItsLockHeld)
{
    mRun.Run([this] {
        LogForEver(1);
        WaitForMessages(1);
        LogSome(0);
        // The allocator aborts while it holds its lock.
        auto* block = static_cast<std::uintptr_t*>(std::malloc(2000));
        std::memset(block, 0xFF, 4096);
        for (std::size_t size = 5000; size < 100000; size += 1000) {
            block[0] = reinterpret_cast<std::uintptr_t>(std::malloc(size));
        }
        std::abort();
    });
    EXPECT_EQ(mRun.ExitStatus(), 42);
    EXPECT_EQ(mRun.Wrong(), "");
}

TEST_F(CrashLogMatrix, WhileTheManagersLockIsHeldByAnotherThread)
{
    mRun.Run([this] {
        LogForEver(1);
        WaitForMessages(1);
        LogSome(0);
        std::thread([] {
            HSL::LogManager()->mLock.Lock();
            pause();
        }).detach();
        while (HSL::LogManager()->mLock.TryLock()) {
            HSL::LogManager()->mLock.Unlock();
        }
        LogSome(0);
        crashNow();
    });
    ExpectExact();
}

TEST_F(CrashLogMatrix, DuringAddFormatString)
{
    for (int round = 0; round < 10; ++round) {
        CrashRun run;
        run.Run([round] {
            std::thread([] {
                for (int i = 0; i < 30000; ++i) {
                    HSL::LogManager()->AddFormatString("some format %d");
                }
            }).detach();
            const short id = static_cast<short>(HSL::LogManager()->AddFormatString("formatted %d"));
            HSL::LogManager()->GetTLSContext()->Log(CCat(3), id, round);
            std::this_thread::sleep_for(std::chrono::microseconds(300 * round));
            crashNow();
        });
        EXPECT_EQ(run.ExitStatus(), 42);
        EXPECT_NE(run.Text().mLines.find("formatted " + std::to_string(round)), std::string::npos)
            << run.Text().mLines << run.Text().mNotes;
    }
}

TEST_F(CrashLogMatrix, DuringTheBirthAndTheDeathOfContexts)
{
    for (int round = 0; round < 10; ++round) {
        CrashRun run;
        run.Run([&run, round] {
            for (int threads = 0; threads < 2; ++threads) {
                std::thread([] {
                    for (;;) {
                        CLogContext context("brief", 8192, CLogContext::MallocFunc, CLogContext::FreeFunc);
                        context.Log(CCat(3), "brief");
                        context.SetName("brief and renamed");
                    }
                }).detach();
            }
            for (int i = 0; i < 200 + 50 * round; ++i) {
                run.Log(*HSL::LogManager()->GetTLSContext(), 0);
            }
            crashNow();
        });
        EXPECT_EQ(run.ExitStatus(), 42);
        EXPECT_EQ(run.Wrong(), "") << run.Text().mNotes;
    }
}

TEST_F(CrashLogMatrix, WithARingThatIsFullAndDrops)
{
    mRun.Run([this] {
        const KxLockGuard noPass(HSL::LogManager()->mLock);
        LogSome(0, 20000);
        crashNow();
    });
    ExpectExact();
    EXPECT_TRUE(Shows("*** HSLOG DROPPED MESSAGE(S) ***"));
}

TEST_F(CrashLogMatrix, WithARecordThatWraps)
{
    mRun.keptBytes = 64u << 20;
    mRun.Run([this] {
        for (int i = 0; i < 12; ++i) {
            LogSome(0, 1000);
            HSL::LogManager()->Collect();
        }
        LogSome(0, 3000);
        crashNow();
    });
    ExpectExact();
}

TEST_F(CrashLogMatrix, WithANullWideTextInARing)
{
    mRun.Run([this] {
        const KxLockGuard noPass(HSL::LogManager()->mLock);
        LogSome(0);
        Mine().Log(CCat(3), "null: %S.", static_cast<const wchar_t*>(nullptr));
        LogSome(0);
        crashNow();
    });
    ExpectExact();
    EXPECT_TRUE(Shows("null: <NULL>.\n"));
}

TEST_F(CrashLogMatrix, WithAFormatThatNeverReturns)
{
    mRun.Run([this] {
        LogSome(0);
        Mine().Log(CCat(3), "100%% of %d", 1);
        LogSome(0);
        std::this_thread::sleep_for(std::chrono::milliseconds(250)); // the collection thread has come to it
        LogSome(0);
        crashNow();
    });
    ExpectExact();
    EXPECT_TRUE(Shows("<NEVER RETURNS> 100%% of %d (1)\n"));
}

TEST_F(CrashLogMatrix, AfterTheHeapWasOverwritten)
{
    mRun.Run([this] {
        LogSome(0);
        std::mt19937 random(7);
        // The manager and the context may be among it; the ring is too large to lie there.
        unsigned char* heap = reinterpret_cast<unsigned char*>(&Mine());
        for (int i = 0; i < 3000; ++i) {
            heap[random() % 4096] = static_cast<unsigned char>(random());
        }
        crashNow();
    });
    EXPECT_EQ(mRun.ExitStatus(), 42);
    EXPECT_TRUE(Shows("T 0 N 40\n")) << mRun.Text().mLines << mRun.Text().mNotes;
}

TEST_F(CrashLogMatrix, AfterTheManagerWasOverwritten)
{
    mRun.Run([this] {
        LogSome(0);
        HSL::LogManager()->mLock.Lock();
        std::memset(static_cast<void*>(HSL::LogManager()), 0xA5, sizeof(CLogManager));
        crashNow();
    });
    EXPECT_EQ(mRun.ExitStatus(), 42);
    EXPECT_TRUE(Shows("T 0 N 40\n")) << mRun.Text().mLines << mRun.Text().mNotes;
}

TEST_F(CrashLogMatrix, AfterOneContextsRingHeaderWasOverwritten)
{
    mRun.Run([this] {
        CLogContext broken("broken", 20000, CLogContext::MallocFunc, CLogContext::FreeFunc);
        const KxLockGuard noPass(HSL::LogManager()->mLock);
        for (int i = 0; i < kSome; ++i) {
            mRun.Log(broken, 1);
        }
        LogSome(0);
        std::memset(static_cast<void*>(broken.mBuffer->mControl), 0x5A, sizeof(cb_control));
        crashNow();
    });
    EXPECT_EQ(mRun.ExitStatus(), 42);
    EXPECT_TRUE(mRun.Text().mIsDamaged);
    EXPECT_NE(mRun.Text().mNotes.find("its ring was damaged; 40 messages"), std::string::npos)
        << mRun.Text().mNotes;
    EXPECT_EQ(mRun.Wrong(), "");
}

TEST_F(CrashLogMatrix, AfterARingWasUnmapped)
{
    mRun.Run([this] {
        const KxLockGuard noPass(HSL::LogManager()->mLock);
        LogSome(0);
        static void* ring = nullptr;
        const auto allocate = [](int size) -> void* {
            ring = mmap(nullptr, static_cast<std::size_t>(size), PROT_READ | PROT_WRITE,
                        MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
            return ring;
        };
        CLogContext context("unmapped", 20000, allocate, [](void*, int) {});
        context.Log(CCat(3), "gone");
        munmap(ring, 20000);
        crashNow();
    });
    EXPECT_EQ(mRun.ExitStatus(), 42);
    EXPECT_EQ(mRun.Wrong(), "");
    EXPECT_NE(mRun.Text().mNotes.find("thread \"unmapped\": its ring could not be read"), std::string::npos)
        << mRun.Text().mNotes;
}

namespace {

int overflow(volatile int* deeper)
{
    volatile int room[1000] = {};
    room[0] = *deeper + 1;
    return room[0] == 0 ? 0 : overflow(room) + room[999];
}

} // namespace

TEST_F(CrashLogMatrix, OnAStackOverflow)
{
    mRun.Run([this] {
        LogSome(0);
        volatile int start = 0;
        overflow(&start);
    });
    ExpectExact();
}

TEST_F(CrashLogMatrix, OnTwoThreadsAtOnce)
{
    mRun.Run([this] {
        LogForEver(2);
        std::thread([this] {
            LogSome(1);
            crashNow();
        }).detach();
        LogSome(0);
        crashNow();
    });
    ExpectExact();
}

TEST_F(CrashLogMatrix, InAForksChild)
{
    mRun.Run([this] {
        LogSome(0);
        const pid_t child = fork();
        if (child == 0) {
            LogSome(0);
            crashNow();
        }
        int status = 0;
        waitpid(child, &status, 0);
        _exit(WEXITSTATUS(status));
    });
    ExpectExact();
}

TEST_F(CrashLogMatrix, WithoutDescriptorsItsAbsenceIsTold)
{
    mRun.Run([this] {
        LogSome(0);
        while (dup(0) >= 0) { }
        crashNow();
    });
    EXPECT_EQ(mRun.ExitStatus(), 43);
    EXPECT_NE(mRun.Text().mNotes.find("the process had no log, or it could not be read"), std::string::npos)
        << mRun.Text().mNotes;
}

TEST_F(CrashLogMatrix, SixtyFourContextsTakeLittleTime)
{
    mRun.keptBytes = HSL::kKeptBytes;
    mRun.Run([this] {
        std::vector<std::unique_ptr<CLogContext>> contexts;
        for (int thread = 0; thread < 64; ++thread) {
            contexts.push_back(
                std::make_unique<CLogContext>("full", 0, CLogContext::MallocFunc, CLogContext::FreeFunc));
        }
        const KxLockGuard noPass(HSL::LogManager()->mLock);
        for (int thread = 0; thread < 64; ++thread) {
            for (int i = 0; i < 6000; ++i) {
                mRun.Log(*contexts[static_cast<std::size_t>(thread)], thread);
            }
        }
        crashNow();
    });
    EXPECT_EQ(mRun.ExitStatus(), 42);
    std::printf("%ld ms\n", mRun.Account().milliseconds.load());
    EXPECT_LT(mRun.Account().milliseconds.load(), 1000) << "50 on a machine that does nothing else";
}
