// What all measurements share: pinned threads, batches of calls, distributions. Linux only.
#ifndef FALLCATCH_BENCHMARKS_MEASURE_H
#define FALLCATCH_BENCHMARKS_MEASURE_H

#include <detail/KxAtomic.h>

#include <sched.h>
#include <sys/resource.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cmath>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <thread>
#include <utility>
#include <vector>

namespace bench {

constexpr int kCallsPerBatch = 1000;

// Makes the compiler believe that what `p` points at is read and written here.
inline void Touch(const void* p)
{
    asm volatile("" : : "g"(p) : "memory");
}

inline void SpinPause()
{
#if defined(__x86_64__) || defined(__i386__)
    __builtin_ia32_pause();
#endif
}

// The processors that this process may use, the last one first: the first one tends to serve interrupts. Asked
// once, before any thread is pinned.
inline const std::vector<int>& Processors()
{
    static const std::vector<int> found = [] {
        cpu_set_t allowed;
        CPU_ZERO(&allowed);
        std::vector<int> numbers;
        if (sched_getaffinity(0, sizeof allowed, &allowed) == 0) {
            for (int cpu = CPU_SETSIZE - 1; cpu >= 0; --cpu) {
                if (CPU_ISSET(cpu, &allowed)) {
                    numbers.push_back(cpu);
                }
            }
        }
        return numbers;
    }();
    return found;
}

inline bool HaveTwoProcessors()
{
    return Processors().size() >= 2;
}

// Ends the program where the system refuses: figures from a thread that wanders are worth nothing.
inline void PinThisThread(std::size_t index)
{
    cpu_set_t one;
    CPU_ZERO(&one);
    CPU_SET(Processors().at(index), &one);
    if (sched_setaffinity(0, sizeof one, &one) != 0) {
        std::perror("sched_setaffinity");
        std::exit(1);
    }
}

// How often the kernel has taken the processor away from the calling thread.
inline long TimesInterrupted()
{
    rusage usage;
    getrusage(RUSAGE_THREAD, &usage);
    return usage.ru_nivcsw;
}

struct Batch {
    double mCost;      // nanoseconds for a call, the mean
    double mSpent;     // nanoseconds for all of it
    bool mInterrupted; // another program ran in between, so the cost is not the call's
};

// Times work that counts as so many calls.
template <typename Work> Batch TimeWork(double calls, Work&& work)
{
    const long interrupted = TimesInterrupted();
    const auto start = std::chrono::steady_clock::now();
    work();
    const std::chrono::duration<double, std::nano> spent = std::chrono::steady_clock::now() - start;
    return { spent.count() / calls, spent.count(), TimesInterrupted() != interrupted };
}

template <typename Call> Batch TimeBatch(Call&& call)
{
    return TimeWork(kCallsPerBatch, [&call] {
        for (int i = 0; i < kCallsPerBatch; ++i) {
            call(i);
        }
    });
}

// A distribution. At(0) is the smallest value, At(0.5) the median, At(1) the largest. Interrupted batches are
// set aside and counted; they stand in only where there are no others.
class Samples {
public:
    void Add(double value) { Add(Batch { value, value, false }); }
    void Add(const Batch& batch)
    {
        (batch.mInterrupted ? mSetAside : mValues).push_back(batch.mCost);
        mSorted = false;
    }
    double At(double share)
    {
        std::vector<double>& values = mValues.empty() ? mSetAside : mValues;
        if (values.empty()) {
            return 0;
        }
        if (!mSorted) {
            std::sort(values.begin(), values.end());
            mSorted = true;
        }
        return values[static_cast<std::size_t>(std::lround(share * static_cast<double>(values.size() - 1)))];
    }
    double ShareSetAside() const
    {
        const double aside = static_cast<double>(mSetAside.size());
        return aside > 0 ? aside / (aside + static_cast<double>(mValues.size())) : 0;
    }

private:
    std::vector<double> mValues;
    std::vector<double> mSetAside;
    bool mSorted = false;
};

// A second pinned thread that runs one job after the other and spins between them, so that a job starts
// within a fraction of a microsecond.
class Partner {
public:
    explicit Partner(std::size_t processor)
        : mThread([this, processor] { Run(processor); })
    {
        // Only a thread that has been pinned may be given work. Until then it may share this one's processor,
        // and under real-time scheduling it gets it only if this one lets go.
        while (mBusy.load(std::memory_order_acquire)) { // partner: the release in Run
            std::this_thread::yield();
        }
    }
    ~Partner()
    {
        mEnd = true;
        Start([] {});
        mThread.join();
    }
    Partner(const Partner&) = delete;
    Partner& operator=(const Partner&) = delete;

    void Start(std::function<void()> job)
    {
        mJob = std::move(job);
        mBusy.store(true, std::memory_order_release); // partner: the acquire in Run; the job is visible
    }
    void Wait() const
    {
        // Partner: the release in Run; what the job did is visible.
        while (mBusy.load(std::memory_order_acquire)) {
            SpinPause();
        }
    }

private:
    void Run(std::size_t processor)
    {
        PinThisThread(processor);
        mBusy.store(false, std::memory_order_release); // partner: the acquire in Wait
        while (!mEnd) {
            // Partner: the release in Start.
            while (!mBusy.load(std::memory_order_acquire)) {
                SpinPause();
            }
            mJob();
            mBusy.store(false, std::memory_order_release); // partner: the acquire in Wait
        }
    }

    std::function<void()> mJob;
    std::atomic<bool> mEnd { false };
    alignas(64) std::atomic<bool> mBusy { true };
    std::thread mThread; // last: it uses all the others
};

// Two threads leave Meet together. For one meeting.
class Rendezvous {
public:
    void Meet()
    {
        mArrived.fetch_add(1, std::memory_order_acq_rel);
        while (mArrived.load(std::memory_order_acquire) < 2) {
            SpinPause();
        }
    }

private:
    alignas(64) std::atomic<int> mArrived { 0 };
};

} // namespace bench

#endif
