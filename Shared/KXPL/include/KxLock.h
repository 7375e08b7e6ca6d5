// A named lock object that other code holds and passes around.
#ifndef KXPL_KX_LOCK_H
#define KXPL_KX_LOCK_H

#include "detail/KxHost.h"

#include "KxMutex.h"

#include <string>

// Recursive and priority-inheriting like the KxMutex inside. Any thread may call any operation.
class KxLock {
public:
    KxLock();                          // the lock is named "KxLock", its mutex "unnamed"
    explicit KxLock(const char* name); // both carry the name; a null name counts as none
    virtual ~KxLock();

    KxLock(const KxLock&) = delete;
    KxLock& operator=(const KxLock&) = delete;

    virtual bool Lock();    // see KxMutex::Lock
    virtual bool TryLock(); // see KxMutex::TryLock
    // Always true, also when the mutex could not be made and nothing was released.
    virtual bool Unlock();

    std::string mName; // for people; nothing depends on it
    KxMutex mMutex;    // does the work
};

// Holds a KxLock for a scope, so that it is released when an allocation throws.
class KxLockGuard {
public:
    // Waits for the lock.
    explicit KxLockGuard(KxLock& lock)
        : mLock(lock)
    {
        mLock.Lock();
    }
    ~KxLockGuard() { mLock.Unlock(); }

    KxLockGuard(const KxLockGuard&) = delete;
    KxLockGuard& operator=(const KxLockGuard&) = delete;

private:
    KxLock& mLock;
};

#endif
