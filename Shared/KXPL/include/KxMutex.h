// A named, recursive, priority-inheriting mutex over a POSIX mutex.
#ifndef KXPL_KX_MUTEX_H
#define KXPL_KX_MUTEX_H

#include "detail/KxHost.h"

#include <pthread.h>

#include <string>

// The operating system's part of a KxMutex.
struct KxMutexPlatformData {
    // Each step's result overwrites the one before, so only pthread_mutex_init decides whether the mutex is
    // usable: if the recursive or priority-inheriting attribute is refused, the mutex works without it.
    KxMutexPlatformData();
    ~KxMutexPlatformData();

    KxMutexPlatformData(const KxMutexPlatformData&) = delete;
    KxMutexPlatformData& operator=(const KxMutexPlatformData&) = delete;

    pthread_mutex_t mMutex;    // made unless mStatus says otherwise
    pthread_mutexattr_t mAttr; // kept for the mutex's whole life
    int mStatus;               // result of the most recent pthread call that set it; 0 = healthy
};

// Any thread may call any operation. The owning thread may lock again; each lock needs its own Unlock.
// Destroying a mutex that is held is not guarded against.
class KxMutex {
public:
    KxMutex();                          // named "unnamed"
    explicit KxMutex(const char* name); // a null name counts as none
    virtual ~KxMutex();

    KxMutex(const KxMutex&) = delete;
    KxMutex& operator=(const KxMutex&) = delete;

    // Waits for the mutex. False, without waiting, only when the mutex could not be made. A failure of
    // pthread_mutex_lock itself is not noticed: the result is true and nothing is held.
    bool Lock();
    // False when another thread holds the mutex or it could not be made.
    bool TryLock();
    // Only for the thread that holds the mutex.
    void Unlock();

    std::string mName;                  // for people; nothing depends on it
    int mLockCount;                     // locks not yet matched by Unlock; changes only while the mutex is held
    KxMutexPlatformData* mPlatformData; // owned
};

#endif
