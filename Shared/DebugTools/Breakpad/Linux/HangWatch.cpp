// Reports a thread that no longer comes by.
#include "fallcatch_breakpad.h"

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <pthread.h>
#include <signal.h>
#include <string>
#include <time.h>

namespace {

using Clock = std::chrono::steady_clock; // stands still while the machine sleeps

struct Watch {
    std::mutex lock;
    std::condition_variable changed;
    unsigned int seconds = 0; // 0: nobody watches
    bool isRunning = false;
    std::atomic<std::uint32_t> beats { 0 };
};

// Never destroyed: its thread runs until the process ends.
Watch& watch()
{
    static auto* made = new Watch;
    return *made;
}

void report(unsigned int seconds)
{
    FallcatchBreakpadReportNow(("no heartbeat for " + std::to_string(seconds) + " s").c_str());
}

void* run(void*)
{
    pthread_setname_np(pthread_self(), "fallcatch-watch");
    Watch& own = watch();
    std::unique_lock<std::mutex> lock(own.lock);
    std::uint32_t seen = own.beats;
    Clock::time_point since = Clock::now();
    bool isReported = false;
    for (;;) {
        const unsigned int seconds = own.seconds;
        own.changed.wait_for(lock, std::chrono::milliseconds(seconds == 0 ? 3600000 : 250));
        const std::uint32_t now = own.beats;
        if (now != seen || own.seconds != seconds || seconds == 0) {
            seen = now;
            since = Clock::now();
            isReported = false;
        } else if (!isReported && Clock::now() - since >= std::chrono::seconds(seconds)) {
            isReported = true; // once, until it comes by again
            lock.unlock();
            report(seconds);
            lock.lock();
        }
    }
}

// With all signals blocked from its first instruction: they are the host's.
bool startThread()
{
    sigset_t all;
    sigset_t before;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &before);
    pthread_t thread;
    const bool started = pthread_create(&thread, nullptr, run, nullptr) == 0;
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    if (started) {
        pthread_detach(thread);
    }
    return started;
}

} // namespace

int FallcatchBreakpadWatch(unsigned int seconds)
{
    Watch& own = watch();
    const std::lock_guard<std::mutex> guard(own.lock);
    own.seconds = seconds;
    ++own.beats;
    if (seconds != 0 && !own.isRunning) {
        own.isRunning = startThread();
    }
    own.changed.notify_one();
    return seconds == 0 || own.isRunning ? 1 : 0;
}

void FallcatchBreakpadHeartbeat()
{
    watch().beats.fetch_add(1, std::memory_order_relaxed);
}
