// Crashes and kills while eight threads log at full speed.
#include "CrashRun.h"

#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <string>
#include <thread>

#include <unistd.h>

using HSL::CLogContext;

namespace {

// The rounds that docs/reliability.md tells of; FALLCATCH_CRASH_ROUNDS=1000 for those.
int roundsWanted()
{
    const char* wanted = std::getenv("FALLCATCH_CRASH_ROUNDS");
    return wanted != nullptr ? std::atoi(wanted) : 25;
}

// Eight threads that log at full speed until the process ends.
class FullSpeed {
public:
    FullSpeed() { mRun.keptBytes = 256u << 10; }

    void Start()
    {
        for (int thread = 0; thread < 8; ++thread) {
            std::thread([this, thread] {
                CLogContext& context = *HSL::LogManager()->GetTLSContext();
                context.SetName(("T " + std::to_string(thread)).c_str());
                for (;;) {
                    mRun.Log(context, thread);
                }
            }).detach();
        }
    }

    void WaitForAll()
    {
        for (int thread = 0; thread < 8; ++thread) {
            while (mRun.Account().returned[thread] == 0) {
                std::this_thread::yield();
            }
        }
    }

    long Messages()
    {
        long messages = 0;
        for (int thread = 0; thread < 8; ++thread) {
            messages += mRun.Account().returned[thread];
        }
        return messages;
    }

    CrashRun mRun;
};

} // namespace

TEST(CrashLogRounds, EightThreadsAtFullSpeedCrash)
{
    const int rounds = roundsWanted();
    std::mt19937 random(1);
    long messages = 0;
    for (int round = 0; round < rounds; ++round) {
        FullSpeed threads;
        const int microseconds = static_cast<int>(random() % 20000);
        threads.mRun.Run([&threads, microseconds] {
            threads.Start();
            threads.WaitForAll();
            std::this_thread::sleep_for(std::chrono::microseconds(microseconds));
            crashNow();
        });
        ASSERT_EQ(threads.mRun.ExitStatus(), 42) << "round " << round;
        ASSERT_EQ(threads.mRun.Wrong(), "") << "round " << round;
        messages += threads.Messages();
    }
    std::printf("%d rounds, %ld messages\n", rounds, messages);
}

TEST(CrashLogRounds, EightThreadsAtFullSpeedAreKilled)
{
    const int rounds = roundsWanted();
    std::mt19937 random(2);
    long messages = 0;
    for (int round = 0; round < rounds; ++round) {
        FullSpeed threads;
        threads.mRun.RunAndKill(
            [&threads] {
                threads.Start();
                pause();
            },
            static_cast<int>(random() % 8), static_cast<int>(random() % 20000));
        ASSERT_EQ(threads.mRun.ExitStatus(), -SIGKILL) << "round " << round;
        ASSERT_EQ(threads.mRun.DeadLogs(), 1) << "round " << round;
        ASSERT_EQ(threads.mRun.Wrong(), "") << "round " << round << "\n" << threads.mRun.Text().mNotes;
        ASSERT_FALSE(threads.mRun.Text().mIsDamaged) << "round " << round << "\n" << threads.mRun.Text().mNotes;
        messages += threads.Messages();
    }
    std::printf("%d rounds, %ld messages\n", rounds, messages);
}
