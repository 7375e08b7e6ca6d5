// Counters behind the macros that log only now and then. For HSLLog.h.
#ifndef HSLOG_HSL_LOG_LIMIT_H
#define HSLOG_HSL_LOG_LIMIT_H

#include <atomic>
#include <chrono>

namespace HSL {
namespace LogLimit {

// One static object a place. They need no guard, as they are made before any thread runs, and order nothing.
class EveryN {
public:
    // True for the first call and then for every n-th; an n below 2 means every one.
    bool IsDue(unsigned int n)
    {
        const unsigned int count = mCount.fetch_add(1, std::memory_order_relaxed);
        return n < 2 || count % n == 0;
    }

private:
    std::atomic<unsigned int> mCount { 0 };
};

class Once {
public:
    bool IsDue()
    {
        return !mIsOver.load(std::memory_order_relaxed) && !mIsOver.exchange(true, std::memory_order_relaxed);
    }

private:
    std::atomic<bool> mIsOver { false };
};

class EveryMs {
public:
    bool IsDue(long long milliseconds)
    {
        using std::chrono::steady_clock;
        const long long now =
            std::chrono::duration_cast<std::chrono::milliseconds>(steady_clock::now().time_since_epoch())
                .count();
        long long next = mNext.load(std::memory_order_relaxed);
        // Of several threads that come at once, one is let through.
        return (next == 0 || now >= next)
            && mNext.compare_exchange_strong(next, now + milliseconds, std::memory_order_relaxed);
    }

private:
    std::atomic<long long> mNext { 0 };
};

} // namespace LogLimit
} // namespace HSL

#endif
