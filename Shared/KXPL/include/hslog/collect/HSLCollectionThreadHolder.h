#ifndef HSLOG_HSL_COLLECTION_THREAD_HOLDER_H
#define HSLOG_HSL_COLLECTION_THREAD_HOLDER_H

#include "hslog/HSLCollectionThread.h"

#include "detail/KxAtomic.h"

namespace HSL {

// The module's collection thread. When a host ends without Cleanup the thread still runs, or has yet to begin,
// while static objects are destroyed; then the object stays as it is.
union CCollectionThreadHolder {
    CCollectionThreadHolder()
        : mThread()
    {
    }
    ~CCollectionThreadHolder()
    {
        // Pair THREAD-ENDED, acquire: nothing of the thread follows its release that uses the
        // object.
        if (!KxLoadAcquire(mThread.mPlatformData->mIsRunning)) {
            mThread.~CCollectionThread();
        }
    }

    CCollectionThreadHolder(const CCollectionThreadHolder&) = delete;
    CCollectionThreadHolder& operator=(const CCollectionThreadHolder&) = delete;

    CCollectionThread mThread;
};

} // namespace HSL

#endif
