// The order in which reports are posted, and what becomes of each.
#ifndef FALLCATCH_BREAKPAD_SENDER_QUEUE_H
#define FALLCATCH_BREAKPAD_SENDER_QUEUE_H

#include "SenderAnswer.h"
#include "SenderReport.h"
#include "SenderState.h"

#include <ctime>
#include <functional>
#include <set>
#include <string>
#include <vector>

namespace BreakpadLinux {

// One pass over reports of one product, alone with its state. Every report is looked at, whatever became of
// those before it.
class Queue {
public:
    // What a pass needs of the world, for tests to put theirs in its place.
    struct World {
        std::function<Answer(const Submission&)> upload;
        std::function<time_t()> now;
        std::function<double()> random; // in [0, 1)
        std::function<void(const std::string&)> tell;
    };

    // A person who asks for a report by name does not wait for a place to recover.
    Queue(World world, State& state, bool byHand);

    // The product's reports in the folder, after the orphans and what is beyond the limits have gone, oldest
    // first.
    void Drain(const std::string& product, const std::string& folder);

    // One report by its path.
    void Handle(const std::string& path);

    // Names of the reports that were seen, whatever became of them.
    const std::set<std::string>& Seen() const { return mSeen; }
    // Whether all that were seen are gone.
    bool IsDone() const { return mDone; }
    // When the next of those that are left may be posted; 0 when none is left or none may ever be.
    time_t NextDue() const { return mNextDue; }

private:
    void handle(const StoredReport& report);
    void post(const StoredReport& report);
    void judge(const StoredReport& report, const Answer& answer);
    void finish(const StoredReport& report, const std::string& what);
    void keepWithinLimits(const std::string& product, const std::string& folder);
    void kept(time_t due);
    void tell(const std::string& id, const std::string& what);
    void tellOnce(const std::string& id, const std::string& what);
    bool saveLedger();

    const World mWorld;
    State& mState;
    const bool mByHand;
    Ledger mLedger;
    std::set<std::string> mSeen;
    bool mToldWaiting = false;
    bool mDone = true;
    time_t mNextDue = 0;
};

} // namespace BreakpadLinux

#endif
