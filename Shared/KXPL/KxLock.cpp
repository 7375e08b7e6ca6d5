#include "KxLock.h"

KxLock::KxLock()
    : mName("KxLock")
{
}

KxLock::KxLock(const char* name)
    : mName(name != nullptr ? name : "KxLock")
    , mMutex(name)
{
}

KxLock::~KxLock() = default;

bool KxLock::Lock()
{
    return mMutex.Lock();
}

bool KxLock::TryLock()
{
    return mMutex.TryLock();
}

bool KxLock::Unlock()
{
    mMutex.Unlock();
    return true;
}
