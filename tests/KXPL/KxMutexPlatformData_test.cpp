// The system calls behind a mutex.
#include "KxMutex.h"

#include "Interpose.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <memory>
#include <string>
#include <vector>

namespace {

using Calls = std::vector<std::string>;

// Lets every call pass and writes it down. `failing` is reported as failed although it did its work.
class MutexCalls {
public:
    explicit MutexCalls(const std::string& failing = "")
        : mFailing(failing)
    {
        mHooks.mutexattrInit = [this](pthread_mutexattr_t* attr) {
            mAttr = attr;
            return note("attr init", __real_pthread_mutexattr_init(attr));
        };
        mHooks.mutexattrSettype = [this](pthread_mutexattr_t* attr, int type) {
            return note("settype " + std::to_string(type), __real_pthread_mutexattr_settype(attr, type), attr);
        };
        mHooks.mutexattrSetprotocol = [this](pthread_mutexattr_t* attr, int protocol) {
            return note("setprotocol " + std::to_string(protocol),
                        __real_pthread_mutexattr_setprotocol(attr, protocol), attr);
        };
        mHooks.mutexInit = [this](pthread_mutex_t* mutex, const pthread_mutexattr_t* attr) {
            mMutex = mutex;
            return note("init", __real_pthread_mutex_init(mutex, attr), attr);
        };
        mHooks.mutexDestroy = [this](pthread_mutex_t* mutex) {
            return note(mutex == mMutex ? "destroy" : "destroy another", __real_pthread_mutex_destroy(mutex));
        };
        mHooks.mutexattrDestroy = [this](pthread_mutexattr_t* attr) {
            return note("attr destroy", __real_pthread_mutexattr_destroy(attr), attr);
        };
    }

    Calls take()
    {
        Calls calls;
        calls.swap(mCalls);
        return calls;
    }

    Interposed mHooks;
    pthread_mutex_t* mMutex = nullptr;
    const pthread_mutexattr_t* mAttr = nullptr;

private:
    int note(const std::string& call, int result)
    {
        mCalls.push_back(call);
        return call.compare(0, mFailing.size(), mFailing) == 0 && !mFailing.empty() ? EAGAIN : result;
    }
    int note(const std::string& call, int result, const pthread_mutexattr_t* attr)
    {
        return note(attr == mAttr ? call : call + " on another attribute", result);
    }

    std::string mFailing;
    Calls mCalls;
};

const std::string kRecursive = "settype " + std::to_string(PTHREAD_MUTEX_RECURSIVE);
const std::string kInherit = "setprotocol " + std::to_string(PTHREAD_PRIO_INHERIT);

void expectUsableAfterAFailureOf(const std::string& step)
{
    int status = -1;
    bool locked = false;
    int count = 0;
    Calls destruction;
    {
        MutexCalls calls(step);
        auto mutex = std::make_unique<KxMutex>();
        status = mutex->mPlatformData->mStatus;
        locked = mutex->Lock();
        count = mutex->mLockCount;
        mutex->Unlock();
        calls.take();
        mutex.reset();
        destruction = calls.take();
    }
    EXPECT_EQ(status, 0) << step;
    EXPECT_TRUE(locked) << step;
    EXPECT_EQ(count, 1) << step;
    EXPECT_EQ(destruction, (Calls { "destroy", "attr destroy" })) << step;
}

} // namespace

TEST(KxMutexPlatformData, MakesTheAttributeAndThenTheMutexInOrder)
{
    Calls made;
    bool ownParts = false;
    {
        MutexCalls calls;
        KxMutexPlatformData data;
        made = calls.take();
        ownParts = calls.mAttr == &data.mAttr && calls.mMutex == &data.mMutex;
    }
    EXPECT_EQ(made, (Calls { "attr init", kRecursive, kInherit, "init" }));
    EXPECT_TRUE(ownParts);
}

TEST(KxMutexPlatformData, AttributeIsKeptForTheMutexsWholeLife)
{
    KxMutexPlatformData data;
    int type = 0;
    int protocol = 0;
    EXPECT_EQ(pthread_mutexattr_gettype(&data.mAttr, &type), 0);
    EXPECT_EQ(pthread_mutexattr_getprotocol(&data.mAttr, &protocol), 0);
    EXPECT_EQ(type, PTHREAD_MUTEX_RECURSIVE);
    EXPECT_EQ(protocol, PTHREAD_PRIO_INHERIT);
}

TEST(KxMutexPlatformData, DestroysTheMutexAndThenTheAttribute)
{
    Calls destruction;
    {
        MutexCalls calls;
        auto data = std::make_unique<KxMutexPlatformData>();
        calls.take();
        data.reset();
        destruction = calls.take();
    }
    EXPECT_EQ(destruction, (Calls { "destroy", "attr destroy" }));
}

TEST(KxMutexPlatformData, FailureBeforeTheLastStepLeavesTheMutexUsable)
{
    expectUsableAfterAFailureOf("attr init");
    expectUsableAfterAFailureOf("settype");
    expectUsableAfterAFailureOf("setprotocol");
}

TEST(KxMutexPlatformData, FailureOfTheLastStepMakesTheMutexDead)
{
    int status = 0;
    bool locked = true;
    bool tried = true;
    int count = -1;
    {
        MutexCalls calls("init");
        KxMutex mutex;
        status = mutex.mPlatformData->mStatus;
        locked = mutex.Lock();
        tried = mutex.TryLock();
        mutex.Unlock();
        count = mutex.mLockCount;
    }
    EXPECT_EQ(status, EAGAIN);
    EXPECT_FALSE(locked);
    EXPECT_FALSE(tried);
    EXPECT_EQ(count, 0);
}

TEST(KxMutexPlatformData, DeadMutexIsNotDestroyedButItsAttributeIs)
{
    Calls destruction;
    {
        MutexCalls calls("init");
        auto data = std::make_unique<KxMutexPlatformData>();
        calls.take();
        data.reset();
        destruction = calls.take();
    }
    EXPECT_EQ(destruction, (Calls { "attr destroy" }));
}

TEST(KxMutexPlatformData, AttributeIsDestroyedWhenTheMutexCannotBe)
{
    Calls destruction;
    {
        MutexCalls calls("destroy");
        auto data = std::make_unique<KxMutexPlatformData>();
        calls.take();
        data.reset();
        destruction = calls.take();
    }
    EXPECT_EQ(destruction, (Calls { "destroy", "attr destroy" }));
}

TEST(KxMutexPlatformData, FailedLockIsNotNoticed)
{
    KxMutex mutex;
    bool locked = false;
    int counted = 0;
    {
        Interposed hooks;
        hooks.mutexLock = [&](pthread_mutex_t* which) {
            return which == &mutex.mPlatformData->mMutex ? EDEADLK : __real_pthread_mutex_lock(which);
        };
        locked = mutex.Lock();
        counted = mutex.mLockCount;
    }
    EXPECT_TRUE(locked);
    EXPECT_EQ(counted, 1);
    EXPECT_EQ(mutex.mPlatformData->mStatus, 0);
}

TEST(KxMutexPlatformData, TryLockThatFailsOutrightAnswersLikeABusyOne)
{
    KxMutex mutex;
    bool locked = true;
    {
        Interposed hooks;
        hooks.mutexTrylock = [](pthread_mutex_t*) { return EINVAL; };
        locked = mutex.TryLock();
    }
    EXPECT_FALSE(locked);
    EXPECT_EQ(mutex.mLockCount, 0);
    EXPECT_EQ(mutex.mPlatformData->mStatus, 0);
}

TEST(KxMutexPlatformData, CountChangesOnlyWhileTheMutexIsHeld)
{
    KxMutex mutex;
    std::vector<int> counts;
    {
        Interposed hooks;
        hooks.mutexLock = [&](pthread_mutex_t* which) {
            counts.push_back(mutex.mLockCount);
            return __real_pthread_mutex_lock(which);
        };
        hooks.mutexUnlock = [&](pthread_mutex_t* which) {
            counts.push_back(mutex.mLockCount);
            return __real_pthread_mutex_unlock(which);
        };
        mutex.Lock();
        counts.push_back(mutex.mLockCount);
        mutex.Unlock();
    }
    EXPECT_EQ(counts, (std::vector<int> { 0, 1, 0 }));
}

TEST(KxMutexPlatformData, DeadMutexMakesNoSystemCalls)
{
    KxMutex mutex;
    int calls = 0;
    mutex.mPlatformData->mStatus = EINVAL;
    {
        Interposed hooks;
        const auto count = [&](pthread_mutex_t*) {
            ++calls;
            return 0;
        };
        hooks.mutexLock = count;
        hooks.mutexTrylock = count;
        hooks.mutexUnlock = count;
        mutex.Lock();
        mutex.TryLock();
        mutex.Unlock();
    }
    mutex.mPlatformData->mStatus = 0;
    EXPECT_EQ(calls, 0);
}
