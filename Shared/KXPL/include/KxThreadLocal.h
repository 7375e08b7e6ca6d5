// One POSIX thread-specific slot.
#ifndef KXPL_KX_THREAD_LOCAL_H
#define KXPL_KX_THREAD_LOCAL_H

#include "detail/KxHost.h"

#include <pthread.h>

// T must be a pointer type. The slot is empty on every thread at first. It has no destructor function: what a
// thread leaves in it at its end is neither released nor told to anyone.
//
// A key of value 0 stands for "no key": it is never deleted, and nothing is read or stored through it. Linux
// hands out 0 like any other value, usually to the first that asks in a process. Then a second key is asked for,
// and the 0 stays allocated for the life of the process.
template <typename T> class KxThreadLocal {
public:
    KxThreadLocal()
        : mKey(new pthread_key_t(0))
    {
        if (Create() && *mKey == 0) {
            Create();
        }
    }

    ~KxThreadLocal()
    {
        if (*mKey != 0) {
            pthread_key_delete(*mKey);
        }
        delete mKey;
    }

    KxThreadLocal(const KxThreadLocal&) = delete;
    KxThreadLocal& operator=(const KxThreadLocal&) = delete;

    // pthread_getspecific and pthread_setspecific on the key, for any user: null, and nothing stored, where there
    // is none. Slot 0 is another's, and its contents are no T.
    T Get() const { return *mKey != 0 ? static_cast<T>(pthread_getspecific(*mKey)) : nullptr; }
    void Set(T value)
    {
        if (*mKey != 0) {
            pthread_setspecific(*mKey, value);
        }
    }

    pthread_key_t* mKey; // owned

private:
    bool Create()
    {
        const bool isCreated = pthread_key_create(mKey, nullptr) == 0;
        if (!isCreated) {
            *mKey = 0;
        }
        return isCreated;
    }
};

#endif
