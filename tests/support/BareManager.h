// Log managers under a test's control.
#ifndef FALLCATCH_TESTS_BARE_MANAGER_H
#define FALLCATCH_TESTS_BARE_MANAGER_H

#include "hslog/HSLLogManager.h"

#include "Interpose.h"

#include <functional>
#include <thread>

// Forgets at its end what a test left in the module's statics.
class CleanModule {
public:
    CleanModule() = default;
    ~CleanModule()
    {
        HSL::CLogManager::msThis = nullptr;
        HSL::CLogManager::msAdopted = false;
    }

    CleanModule(const CleanModule&) = delete;
    CleanModule& operator=(const CleanModule&) = delete;
};

// The module's manager without a collection thread, so that nothing drains the rings but the test.
class BareManager {
public:
    BareManager()
        : mManager(new HSL::CLogManager)
    {
        HSL::CLogManager::Initialize(mManager);
        HSL::CLogManager::msAdopted = false;
    }
    ~BareManager() { Destroy(); }

    BareManager(const BareManager&) = delete;
    BareManager& operator=(const BareManager&) = delete;

    void Destroy()
    {
        delete mManager;
        mManager = nullptr;
        HSL::CLogManager::msThis = nullptr;
    }

    HSL::CLogManager* operator->() const { return mManager; }
    HSL::CLogManager& operator*() const { return *mManager; }

private:
    HSL::CLogManager* mManager;
};

// Puts the module's callbacks and their kind back at its end. Neither its beginning nor its end may fall into
// the run of a collection thread.
class SavedCallbacks {
public:
    SavedCallbacks()
    {
        const HSL::CLogManager manager;
        mPlain = manager.GetOutputCallback();
        mStructured = manager.GetStructuredOutputCallback();
        mType = manager.GetOutputCallbackType();
    }
    ~SavedCallbacks()
    {
        HSL::CLogManager manager;
        manager.SetStructuredOutputCallback(mStructured);
        const bool structuredInForce = mType == HSL::CLogManager::kStructuredCallback;
        manager.SetOutputCallback(mPlain);
        if (structuredInForce) {
            manager.SetStructuredOutputCallback(mStructured);
        }
    }

    SavedCallbacks(const SavedCallbacks&) = delete;
    SavedCallbacks& operator=(const SavedCallbacks&) = delete;

private:
    HSL::CLogManager::OutputCallback mPlain;
    HSL::CLogManager::StructuredOutputCallback mStructured;
    unsigned char mType;
};

// Lets CLogManager::Initialize create its collection thread in appearance only. The thread's body runs when it
// is joined, so that everything before happens on the test's thread alone.
class HeldCollectionThread {
public:
    explicit HeldCollectionThread(Interposed& hooks)
    {
        hooks.pthreadCreate = [this](pthread_t* handle, const pthread_attr_t*, void* (*body)(void*),
                                     void* argument) {
            *handle = pthread_self();
            mBody = body;
            mArgument = argument;
            ++mCreated;
            if (mOnCreate) {
                mOnCreate();
            }
            return 0;
        };
        hooks.pthreadJoin = [this](pthread_t, void**) {
            ++mJoined;
            if (mOnJoin) {
                mOnJoin();
            }
            std::thread(mBody, mArgument).join();
            return 0;
        };
    }

    HeldCollectionThread(const HeldCollectionThread&) = delete;
    HeldCollectionThread& operator=(const HeldCollectionThread&) = delete;

    std::function<void()> mOnCreate;
    std::function<void()> mOnJoin;
    int mCreated = 0;
    int mJoined = 0;

private:
    void* (*mBody)(void*) = nullptr;
    void* mArgument = nullptr;
};

inline pthread_mutex_t* MutexOf(HSL::CLogManager& manager)
{
    return &manager.mLock.mMutex.mPlatformData->mMutex;
}

// How often the manager's lock is held at this moment. Only while no other thread uses it.
inline int LockCountOf(const HSL::CLogManager& manager)
{
    return manager.mLock.mMutex.mLockCount;
}

#endif
