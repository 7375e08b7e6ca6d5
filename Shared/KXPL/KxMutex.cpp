#include "KxMutex.h"

KxMutexPlatformData::KxMutexPlatformData()
    : mStatus(0)
{
    mStatus = pthread_mutexattr_init(&mAttr);
    mStatus = pthread_mutexattr_settype(&mAttr, PTHREAD_MUTEX_RECURSIVE);
    mStatus = pthread_mutexattr_setprotocol(&mAttr, PTHREAD_PRIO_INHERIT);
    mStatus = pthread_mutex_init(&mMutex, &mAttr);
}

KxMutexPlatformData::~KxMutexPlatformData()
{
    if (mStatus == 0) {
        mStatus = pthread_mutex_destroy(&mMutex);
    }
    mStatus = pthread_mutexattr_destroy(&mAttr);
}

KxMutex::KxMutex()
    : KxMutex("unnamed")
{
}

KxMutex::KxMutex(const char* name)
    : mName(name != nullptr ? name : "unnamed")
    , mLockCount(0)
    , mPlatformData(new KxMutexPlatformData)
{
}

KxMutex::~KxMutex()
{
    delete mPlatformData;
}

bool KxMutex::Lock()
{
    if (mPlatformData->mStatus != 0) {
        return false;
    }
    pthread_mutex_lock(&mPlatformData->mMutex);
    ++mLockCount;
    return true;
}

bool KxMutex::TryLock()
{
    if (mPlatformData->mStatus != 0 || pthread_mutex_trylock(&mPlatformData->mMutex) != 0) {
        return false;
    }
    ++mLockCount;
    return true;
}

void KxMutex::Unlock()
{
    if (mPlatformData->mStatus != 0) {
        return;
    }
    --mLockCount;
    pthread_mutex_unlock(&mPlatformData->mMutex);
}
