// One POSIX thread-specific slot.
#ifndef KXPL_KX_THREAD_LOCAL_H
#define KXPL_KX_THREAD_LOCAL_H

#include <pthread.h>

// T must be a pointer type. The slot is empty on every thread at first. It has no destructor function: what a
// thread leaves in it at its end is neither released nor told to anyone.
//
// The key is deleted with the object unless its value is 0, which stands for "no key". Linux hands out 0 like
// any other value, usually to the first that asks in a process; that one key then stays allocated for the
// life of the process.
template <typename T> class KxThreadLocal {
public:
    KxThreadLocal()
        : mKey(new Key)
    {
        mKey->mIsUsable = pthread_key_create(&mKey->mValue, nullptr) == 0;
        if (!mKey->mIsUsable) {
            mKey->mValue = 0;
        }
    }

    ~KxThreadLocal()
    {
        if (mKey->mValue != 0) {
            pthread_key_delete(mKey->mValue);
        }
        delete mKey;
    }

    KxThreadLocal(const KxThreadLocal&) = delete;
    KxThreadLocal& operator=(const KxThreadLocal&) = delete;

    // The calling thread's value; null while it has none, and always when no key could be had.
    T Get() const { return mKey->mIsUsable ? static_cast<T>(pthread_getspecific(mKey->mValue)) : nullptr; }

    // Sets the calling thread's value. Without a key nothing is stored.
    void Set(T value)
    {
        if (mKey->mIsUsable) {
            pthread_setspecific(mKey->mValue, value);
        }
    }

private:
    // A key of value 0 that was handed out must be told from the absence of a key: reading slot 0 without
    // owning it would read another library's data.
    struct Key {
        pthread_key_t mValue;
        bool mIsUsable;
    };

    Key* mKey; // owned
};

#endif
