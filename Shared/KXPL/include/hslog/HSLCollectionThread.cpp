#include "HSLCollectionThread.h"

#include "HSLLogManager.h"

namespace HSL {
namespace {

constexpr int kMicrosecondsBetweenPasses = 100000;

// Without a manager (one that was adopted may have been forgotten) the pass is skipped.
bool collectOnce()
{
    CLogManager* manager = CLogManager::Instance();
    return manager != nullptr && manager->Collect();
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
