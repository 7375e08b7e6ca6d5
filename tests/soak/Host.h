// The soak's host: starts threads, changes everything that a host may change while they log, and settles the
// books.
#ifndef FALLCATCH_TESTS_SOAK_HOST_H
#define FALLCATCH_TESTS_SOAK_HOST_H

#include "Ledger.h"
#include "Messages.h"
#include "Worker.h"

#include <memory>
#include <vector>

namespace soak {

class Host {
public:
    explicit Host(unsigned long long seed);
    ~Host();

    Host(const Host&) = delete;
    Host& operator=(const Host&) = delete;

    // About `milliseconds` of threads that log, at the end of which every message is accounted for. Every few
    // periods the manager is replaced.
    void RunPeriod(unsigned int milliseconds);
    // Ends the manager, if there is one.
    void EndManager();

    const Totals& Sums() const { return mLedger.Sums(); }
    void Report(const std::string& error) { mLedger.Report(error); }

private:
    void MakeManager();
    void StartWorker();
    void Change();
    void ChangeCallback();
    void ReplaceEnded();
    void CheckThatRingsAreEmpty();
    void Settle(int lastNumber, bool endsManager);

    Random mRandom;
    const unsigned long long mSeed;
    const Shapes mShapes;
    ShapeIds mIds;
    Ledger mLedger;
    std::vector<std::unique_ptr<Worker>> mWorkers; // of this period, ended ones too
    unsigned int mNextThread = 1;
    unsigned int mThreadsAtOnce = 0;
    unsigned int mRegistered = 0;   // format strings of this manager
    unsigned int mPlainThreads = 0; // of this manager, whose contexts stay
    bool mFilterMoved = false;
};

} // namespace soak

#endif
