#include "HSLCollectionThread.h"

#include "HSLLogManager.h"

#include <cstdio>
#include <new>

namespace HSL {
namespace {

constexpr int kMicrosecondsBetweenPasses = 100000;

// Whether it was told that a pass found no memory, which the next ones may find neither.
bool gHasTold = false;

// Without a manager (one that was adopted may have been forgotten) the pass is skipped. One that runs out of
// memory keeps what it has not output for the next.
bool collectOnce()
{
    CLogManager* manager = CLogManager::Instance();
    if (manager == nullptr) {
        return false;
    }
    try {
        return manager->Collect();
    } catch (const std::bad_alloc&) {
        if (!gHasTold) {
            gHasTold = true;
            std::fputs("*** HSLOG OUT OF MEMORY: MESSAGES WAIT FOR A LATER PASS ***\n", stderr);
        }
    }
    const KxLockGuard guard(manager->mLock);
    return manager->mShutdown;
}

} // namespace

CCollectionThread::CCollectionThread()
{
    mName = "HSL::Collection";
}

CCollectionThread::~CCollectionThread() = default;

void CCollectionThread::Run()
{
    while (!collectOnce()) {
        KxThread::Sleep(kMicrosecondsBetweenPasses);
    }
}

} // namespace HSL
