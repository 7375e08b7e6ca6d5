#include "KxLock.h"

#include "VirtualSlot.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstddef>
#include <future>
#include <stdexcept>
#include <type_traits>

namespace {

bool tryLockElsewhere(KxLock& lock)
{
    return std::async(std::launch::async, [&] { return lock.TryLock() && lock.Unlock(); }).get();
}

class CountingLock : public KxLock {
public:
    bool Lock() override
    {
        ++mLocks;
        return KxLock::Lock();
    }
    bool Unlock() override
    {
        ++mUnlocks;
        return KxLock::Unlock();
    }

    int mLocks = 0;
    int mUnlocks = 0;
};

static_assert(std::is_same_v<decltype(KxLock::mMutex), KxMutex>, "held by value");

} // namespace

TEST(KxLock, WithoutANameIsKxLockAroundAnUnnamedMutex)
{
    KxLock lock;
    EXPECT_EQ(lock.mName, "KxLock");
    EXPECT_EQ(lock.mMutex.mName, "unnamed");
}

TEST(KxLock, GivesItsNameToItsMutex)
{
    KxLock lock("registry");
    EXPECT_EQ(lock.mName, "registry");
    EXPECT_EQ(lock.mMutex.mName, "registry");
}

TEST(KxLock, NullNameCountsAsNone)
{
    KxLock lock(nullptr);
    EXPECT_EQ(lock.mName, "KxLock");
    EXPECT_EQ(lock.mMutex.mName, "unnamed");
}

TEST(KxLock, VirtualOperationsStandBehindTheTwoFormsOfTheDestructor)
{
    EXPECT_TRUE(std::has_virtual_destructor_v<KxLock>);
    EXPECT_EQ(virtualSlot(&KxLock::Lock), 2);
    EXPECT_EQ(virtualSlot(&KxLock::TryLock), 3);
    EXPECT_EQ(virtualSlot(&KxLock::Unlock), 4);
}

TEST(KxLock, FieldsStandInTheirOrder)
{
    KxLock lock;
    const char* const object = reinterpret_cast<char*>(&lock);
    EXPECT_EQ(reinterpret_cast<char*>(&lock.mName) - object, static_cast<std::ptrdiff_t>(sizeof(void*)));
    EXPECT_LT(static_cast<void*>(&lock.mName), static_cast<void*>(&lock.mMutex));
}

TEST(KxLock, SameThreadMayLockTwice)
{
    KxLock lock;
    EXPECT_TRUE(lock.Lock());
    EXPECT_TRUE(lock.Lock());
    EXPECT_EQ(lock.mMutex.mLockCount, 2);
    EXPECT_TRUE(lock.Unlock());
    EXPECT_EQ(lock.mMutex.mLockCount, 1);
    EXPECT_FALSE(tryLockElsewhere(lock));
    EXPECT_TRUE(lock.Unlock());
    EXPECT_EQ(lock.mMutex.mLockCount, 0);
    EXPECT_TRUE(tryLockElsewhere(lock));
}

TEST(KxLock, TryLockFromASecondThreadFailsWhileItIsHeld)
{
    KxLock lock;
    EXPECT_TRUE(lock.TryLock());
    EXPECT_FALSE(tryLockElsewhere(lock));
    EXPECT_EQ(lock.mMutex.mLockCount, 1);
    lock.Unlock();
}

TEST(KxLock, UnlockOfADeadMutexStillReportsTrue)
{
    KxLock lock;
    lock.mMutex.mPlatformData->mStatus = EINVAL;
    EXPECT_FALSE(lock.Lock());
    EXPECT_FALSE(lock.TryLock());
    EXPECT_TRUE(lock.Unlock());
    EXPECT_EQ(lock.mMutex.mLockCount, 0);
    lock.mMutex.mPlatformData->mStatus = 0;
}

TEST(KxLockGuard, HoldsTheLockForItsScope)
{
    KxLock lock;
    {
        KxLockGuard guard(lock);
        EXPECT_EQ(lock.mMutex.mLockCount, 1);
    }
    EXPECT_EQ(lock.mMutex.mLockCount, 0);
}

TEST(KxLockGuard, ReleasesWhenAnExceptionLeavesItsScope)
{
    KxLock lock;
    try {
        KxLockGuard guard(lock);
        throw std::runtime_error("");
    } catch (const std::runtime_error&) {
    }
    EXPECT_EQ(lock.mMutex.mLockCount, 0);
}

TEST(KxLockGuard, CallsTheLocksOwnOperations)
{
    CountingLock lock;
    {
        KxLockGuard guard(lock);
    }
    EXPECT_EQ(lock.mLocks, 1);
    EXPECT_EQ(lock.mUnlocks, 1);
}
