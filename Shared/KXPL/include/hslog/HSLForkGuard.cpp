#include "HSLForkGuard.h"

#include "HSLCollectionThread.h"
#include "HSLLogManager.h"

#include <pthread.h>

#include <cstddef>
#include <cstring>
#include <new>

namespace HSL {
namespace {

// Held from before a fork until behind it, so that the manager is not deleted meanwhile. A plain mutex, because
// it has to outlive every object.
pthread_mutex_t gForkMutex = PTHREAD_MUTEX_INITIALIZER;
CLogManager* gWatched = nullptr;
CCollectionThread* gWatchedThread = nullptr;
bool gHasHandlers = false;

// Between the handlers of one fork: whether the lock was taken, and how often the forking thread had it before,
// as a callback has that forks.
bool gTookLock = false;
int gLocksBefore = 0;

// The child's tables of its parent: memory that stays allocated, for leak checkers to find.
template <typename Table> void beginAnew(Table& table, std::size_t place)
{
    static unsigned char sLeftBehind[2][sizeof(Table)];
    std::memcpy(sLeftBehind[place], static_cast<const void*>(&table), sizeof table);
    new (&table) Table;
}

void beforeFork()
{
    pthread_mutex_lock(&gForkMutex);
    gTookLock = gWatched != nullptr && gWatched->mLock.TryLock();
    gLocksBefore = gTookLock ? gWatched->mLock.mMutex.mLockCount - 1 : 0;
}

void afterForkInParent()
{
    if (gTookLock) {
        gWatched->mLock.Unlock();
    }
    pthread_mutex_unlock(&gForkMutex);
}

void afterForkInChild()
{
    new (&gForkMutex) pthread_mutex_t(PTHREAD_MUTEX_INITIALIZER);
    if (gWatched == nullptr) {
        return;
    }
    CLogManager& manager = *gWatched;
    manager.SetEnable(false);
    // In the child the holder does not exist, or is known to the system by another number.
    KxMutex& mutex = manager.mLock.mMutex;
    new (mutex.mPlatformData) KxMutexPlatformData;
    mutex.mLockCount = 0;
    for (int i = 0; i < gLocksBefore; ++i) {
        mutex.Lock();
    }
    beginAnew(manager.mContexts, 0);
    beginAnew(manager.mTLSContexts, 1);
    beginAnew(manager.mFormatStrings, 0);
    manager.mTLSContext.Set(nullptr);
    *gWatchedThread->mPlatformData = {};
}

} // namespace

void CForkGuard::Watch(CLogManager& manager, CCollectionThread& collectionThread)
{
    pthread_mutex_lock(&gForkMutex);
    gWatched = &manager;
    gWatchedThread = &collectionThread;
    const bool hadHandlers = gHasHandlers;
    gHasHandlers = true;
    pthread_mutex_unlock(&gForkMutex);
    if (!hadHandlers) {
        pthread_atfork(beforeFork, afterForkInParent, afterForkInChild);
    }
}

void CForkGuard::Forget(const CLogManager& manager)
{
    pthread_mutex_lock(&gForkMutex);
    if (gWatched == &manager) {
        gWatched = nullptr;
    }
    pthread_mutex_unlock(&gForkMutex);
}

} // namespace HSL
