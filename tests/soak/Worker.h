// A thread that logs: bursts of messages with pauses between them, until it is told to stop or its life is
// over.
#ifndef FALLCATCH_TESTS_SOAK_WORKER_H
#define FALLCATCH_TESTS_SOAK_WORKER_H

#include "Ledger.h"
#include "Messages.h"

#include "KxThread.h"
#include "hslog/HSL.h"

#include <array>
#include <atomic>
#include <memory>
#include <mutex>
#include <string>
#include <thread>

namespace soak {

// Always on.
constexpr unsigned char kSteadyCategory = 3;
// The host switches these, kSwitchedCategories of them.
constexpr unsigned char kFirstSwitchedCategory = 20;
constexpr unsigned char kSwitchedCategories = 8;

// The ids under which the host has registered shapes; negative for those not registered.
using ShapeIds = std::array<std::atomic<int>, Shapes::kCount>;

struct Plan {
    unsigned int thread;
    bool isPlain;              // a thread of the standard library, not a KxThread
    bool asksForPass;          // calls Collect before it ends
    bool releases;             // a plain thread that releases its context itself, as a KxThread does
    unsigned int longestLife;  // milliseconds
    unsigned int longestPause; // likewise
    unsigned int longestBurst; // calls
};

class Worker {
public:
    Worker(unsigned long long seed, const Shapes& shapes, const ShapeIds& ids, const Plan& plan);
    ~Worker();

    Worker(const Worker&) = delete;
    Worker& operator=(const Worker&) = delete;

    void Stop() { mStop = true; }
    bool HasEnded() const { return mHasEnded; }
    void Join();
    // Gives the thread's context another name, if it has one at the moment. Called by the host.
    void Rename(const std::string& suffix);
    const Life& GetLife() const { return mLife; }

private:
    class Thread : public KxThread {
    public:
        explicit Thread(Worker& worker)
            : mWorker(worker)
        {
        }
        void Run() override { mWorker.Live(); }

    private:
        Worker& mWorker;
    };

    void Live();
    void LogOnce(HSL::CLogContext& context);
    void LogMessage(HSL::CLogContext& context, const HSL::CCat& cat, bool throughTheSwitch);
    // What is known before the call.
    struct Before {
        bool dropping;
        unsigned int position;
        int used; // at the call no more than that, since only the collector moves meanwhile
    };

    Fate FateOf(const HSL::CLogContext& context, const Before& before);
    void Require(bool holds, const char* otherwise);

    const Shapes& mShapes;
    const ShapeIds& mIds;
    const Plan mPlan;
    Random mRandom;
    Message mMessage;
    Life mLife;
    std::atomic<bool> mStop { false };
    std::atomic<bool> mHasEnded { false };
    std::mutex mNaming;
    HSL::CLogContext* mContext = nullptr; // under mNaming
    std::unique_ptr<Thread> mThread;
    std::thread mPlainThread;
};

} // namespace soak

#endif
