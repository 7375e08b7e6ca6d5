// The background thread that drains all contexts.
#ifndef HSLOG_HSL_COLLECTION_THREAD_H
#define HSLOG_HSL_COLLECTION_THREAD_H

#include "../detail/KxHost.h"

#include "../KxThread.h"

namespace HSL {

// Runs one collection pass at once and one every 100,000 microseconds after the end of the pass before, until
// the manager shuts down. A pass that runs out of memory keeps its records for the next one, which is told once on
// standard error; only those that the last pass has no memory for are lost. Named "HSL::Collection". Has no log context of its own and must not log.
class CCollectionThread : public KxThread {
public:
    CCollectionThread();
    ~CCollectionThread() override;

    void Run() override;
};

} // namespace HSL

#endif
