#include "KxMutex.h"

#include "VirtualSlot.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstddef>
#include <future>
#include <thread>
#include <type_traits>

namespace {

// The answer of TryLock on a second thread, which gives the mutex back if it got it.
bool tryLockElsewhere(KxMutex& mutex)
{
    return std::async(std::launch::async,
                      [&] {
                          const bool got = mutex.TryLock();
                          if (got) {
                              mutex.Unlock();
                          }
                          return got;
                      })
        .get();
}

static_assert(std::is_standard_layout_v<KxMutexPlatformData> && !std::is_polymorphic_v<KxMutexPlatformData>);
static_assert(offsetof(KxMutexPlatformData, mMutex) == 0);
static_assert(offsetof(KxMutexPlatformData, mAttr) >= sizeof(pthread_mutex_t));
static_assert(offsetof(KxMutexPlatformData, mStatus) > offsetof(KxMutexPlatformData, mAttr));
static_assert(std::is_same_v<decltype(KxMutexPlatformData::mStatus), int>);
static_assert(std::is_same_v<decltype(KxMutex::mLockCount), int>);
static_assert(std::is_same_v<decltype(&KxMutex::Lock), bool (KxMutex::*)()>);
static_assert(std::is_same_v<decltype(&KxMutex::TryLock), bool (KxMutex::*)()>);
static_assert(std::is_same_v<decltype(&KxMutex::Unlock), void (KxMutex::*)()>);

} // namespace

TEST(KxMutex, IsUnnamedWithoutAName)
{
    KxMutex mutex;
    EXPECT_EQ(mutex.mName, "unnamed");
    EXPECT_EQ(mutex.mLockCount, 0);
    ASSERT_NE(mutex.mPlatformData, nullptr);
    EXPECT_EQ(mutex.mPlatformData->mStatus, 0);
}

TEST(KxMutex, KeepsACopyOfItsName)
{
    char name[] = "guard";
    KxMutex mutex(name);
    name[0] = 'X';
    EXPECT_EQ(mutex.mName, "guard");
    EXPECT_EQ(mutex.mLockCount, 0);
}

TEST(KxMutex, NullNameCountsAsNone)
{
    EXPECT_EQ(KxMutex(nullptr).mName, "unnamed");
}

TEST(KxMutex, EmptyNameIsAName)
{
    EXPECT_EQ(KxMutex("").mName, "");
}

TEST(KxMutex, FieldsStandInTheirOrder)
{
    KxMutex mutex;
    const char* const object = reinterpret_cast<char*>(&mutex);
    EXPECT_EQ(reinterpret_cast<char*>(&mutex.mName) - object, static_cast<std::ptrdiff_t>(sizeof(void*)));
    EXPECT_LT(static_cast<void*>(&mutex.mName), static_cast<void*>(&mutex.mLockCount));
    EXPECT_LT(static_cast<void*>(&mutex.mLockCount), static_cast<void*>(&mutex.mPlatformData));
}

TEST(KxMutex, OnlyTheDestructorIsVirtual)
{
    EXPECT_TRUE(std::has_virtual_destructor_v<KxMutex>);
    EXPECT_EQ(virtualSlot(&KxMutex::Lock), -1);
    EXPECT_EQ(virtualSlot(&KxMutex::TryLock), -1);
    EXPECT_EQ(virtualSlot(&KxMutex::Unlock), -1);
}

TEST(KxMutex, SameThreadLocksAgainWithoutWaiting)
{
    KxMutex mutex;
    EXPECT_TRUE(mutex.Lock());
    EXPECT_TRUE(mutex.Lock());
    EXPECT_TRUE(mutex.TryLock());
    EXPECT_EQ(mutex.mLockCount, 3);
    mutex.Unlock();
    mutex.Unlock();
    EXPECT_EQ(mutex.mLockCount, 1);
    EXPECT_FALSE(tryLockElsewhere(mutex));
    mutex.Unlock();
    EXPECT_EQ(mutex.mLockCount, 0);
    EXPECT_TRUE(tryLockElsewhere(mutex));
}

TEST(KxMutex, TryLockOfAHeldMutexLeavesTheCountUnchanged)
{
    KxMutex mutex;
    mutex.Lock();
    EXPECT_FALSE(tryLockElsewhere(mutex));
    EXPECT_EQ(mutex.mLockCount, 1);
    mutex.Unlock();
}

TEST(KxMutex, TryLockOfAFreeMutexTakesIt)
{
    KxMutex mutex;
    EXPECT_TRUE(mutex.TryLock());
    EXPECT_EQ(mutex.mLockCount, 1);
    EXPECT_FALSE(tryLockElsewhere(mutex));
    mutex.Unlock();
}

TEST(KxMutex, LockWaitsUntilTheHolderUnlocks)
{
    KxMutex mutex;
    int guarded = 0;
    mutex.Lock();
    std::thread other([&] {
        mutex.Lock();
        guarded *= 10;
        mutex.Unlock();
    });
    guarded = 7;
    mutex.Unlock();
    other.join();
    EXPECT_EQ(guarded, 70);
}

TEST(KxMutex, KeepsOthersOut)
{
    KxMutex mutex;
    int guarded = 0;
    const auto count = [&] {
        for (int i = 0; i < 20000; ++i) {
            mutex.Lock();
            ++guarded;
            mutex.Unlock();
        }
    };
    std::thread other(count);
    count();
    other.join();
    EXPECT_EQ(guarded, 40000);
    EXPECT_EQ(mutex.mLockCount, 0);
}

TEST(KxMutex, DeadMutexAnswersFalseAndTouchesNothing)
{
    KxMutex mutex;
    mutex.mLockCount = 5;
    mutex.mPlatformData->mStatus = EINVAL;
    EXPECT_FALSE(mutex.Lock());
    EXPECT_FALSE(mutex.TryLock());
    mutex.Unlock();
    EXPECT_EQ(mutex.mLockCount, 5);
    mutex.mPlatformData->mStatus = 0;
    EXPECT_TRUE(tryLockElsewhere(mutex));
}

TEST(KxMutex, AnyNonZeroStatusIsDead)
{
    KxMutex mutex;
    mutex.mPlatformData->mStatus = -1;
    EXPECT_FALSE(mutex.Lock());
    EXPECT_FALSE(mutex.TryLock());
    mutex.mPlatformData->mStatus = 0;
}
