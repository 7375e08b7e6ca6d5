#include "KxThreadLocal.h"

#include "Interpose.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstddef>
#include <thread>
#include <type_traits>
#include <vector>

namespace {

static_assert(!std::is_polymorphic_v<KxThreadLocal<int*>> && sizeof(KxThreadLocal<int*>) == sizeof(void*));

// What becomes of a slot whose keys are handed out like this.
struct Life {
    int mCreated = 0;
    bool mHadDestructorFunction = false;
    pthread_key_t mKey = 0;
    std::vector<pthread_key_t> mStored;
    int* mValue = nullptr;
    std::vector<pthread_key_t> mDeleted;
};

// The keys are handed out one after the other, the last one again and again.
Life liveWith(int result, const std::vector<pthread_key_t>& keys)
{
    static int value = 7;
    Life life;
    Interposed hooks;
    hooks.keyCreate = [&](pthread_key_t* place, void (*destructor)(void*)) {
        const std::size_t next = static_cast<std::size_t>(life.mCreated++);
        life.mHadDestructorFunction = destructor != nullptr;
        *place = keys[next < keys.size() ? next : keys.size() - 1];
        return result;
    };
    hooks.keyDelete = [&](pthread_key_t deleted) {
        life.mDeleted.push_back(deleted);
        return 0;
    };
    hooks.setspecific = [&](pthread_key_t key, const void*) {
        life.mStored.push_back(key);
        return 0;
    };
    {
        KxThreadLocal<int*> slot;
        life.mKey = *slot.mKey;
        slot.Set(&value);
        if (life.mKey == 0) {
            life.mValue = slot.Get();
        }
    }
    return life;
}

} // namespace

TEST(KxThreadLocal, IsEmptyAtFirst)
{
    KxThreadLocal<int*> slot;
    EXPECT_EQ(slot.Get(), nullptr);
}

TEST(KxThreadLocal, EveryThreadHasItsOwnValue)
{
    int here = 0;
    int there = 0;
    int* seenBefore = &here;
    int* seenAfter = nullptr;
    KxThreadLocal<int*> slot;
    slot.Set(&here);
    std::thread([&] {
        seenBefore = slot.Get();
        slot.Set(&there);
        seenAfter = slot.Get();
    }).join();
    EXPECT_EQ(seenBefore, nullptr);
    EXPECT_EQ(seenAfter, &there);
    EXPECT_EQ(slot.Get(), &here);
}

TEST(KxThreadLocal, ObjectsDoNotShareTheirSlots)
{
    int a = 0;
    int b = 0;
    KxThreadLocal<int*> first;
    KxThreadLocal<int*> second;
    first.Set(&a);
    EXPECT_EQ(second.Get(), nullptr);
    second.Set(&b);
    EXPECT_EQ(first.Get(), &a);
}

TEST(KxThreadLocal, ValueCanBeTakenBack)
{
    int value = 0;
    KxThreadLocal<int*> slot;
    slot.Set(&value);
    slot.Set(nullptr);
    EXPECT_EQ(slot.Get(), nullptr);
}

TEST(KxThreadLocal, KeyIsReadAndWrittenWithTheSystemsCalls)
{
    int here = 0;
    KxThreadLocal<int*> slot;
    pthread_setspecific(*slot.mKey, &here);
    EXPECT_EQ(slot.Get(), &here);
    slot.Set(nullptr);
    EXPECT_EQ(pthread_getspecific(*slot.mKey), nullptr);
}

TEST(KxThreadLocal, KeyIsDeletedWithTheObject)
{
    const Life life = liveWith(0, { 900 });
    EXPECT_EQ(life.mCreated, 1);
    EXPECT_EQ(life.mKey, 900u);
    EXPECT_EQ(life.mStored, (std::vector<pthread_key_t> { 900 }));
    EXPECT_EQ(life.mDeleted, (std::vector<pthread_key_t> { 900 }));
}

TEST(KxThreadLocal, KeyHasNoDestructorFunction)
{
    EXPECT_FALSE(liveWith(0, { 900 }).mHadDestructorFunction);
}

TEST(KxThreadLocal, KeyZeroIsNotDeleted)
{
    EXPECT_TRUE(liveWith(0, { 0 }).mDeleted.empty());
}

TEST(KxThreadLocal, KeyZeroMeansThatThereIsNone)
{
    const Life life = liveWith(0, { 0 });
    EXPECT_TRUE(life.mStored.empty());
    EXPECT_EQ(life.mValue, nullptr);
}

TEST(KxThreadLocal, KeyZeroThatWasHandedOutIsReplacedByAnother)
{
    const Life life = liveWith(0, { 0, 901 });
    EXPECT_EQ(life.mCreated, 2);
    EXPECT_EQ(life.mStored, (std::vector<pthread_key_t> { 901 }));
    EXPECT_EQ(life.mDeleted, (std::vector<pthread_key_t> { 901 }));
}

TEST(KxThreadLocal, WithoutAKeyNothingIsStoredReadOrDeleted)
{
    const Life life = liveWith(EAGAIN, { 900 });
    EXPECT_EQ(life.mCreated, 1);
    EXPECT_EQ(life.mKey, 0u);
    EXPECT_TRUE(life.mStored.empty());
    EXPECT_EQ(life.mValue, nullptr);
    EXPECT_TRUE(life.mDeleted.empty());
}

TEST(KxThreadLocal, RealKeyIsReleased)
{
    // Far more than a process may have at once.
    for (int i = 0; i < 5000; ++i) {
        int value = 0;
        KxThreadLocal<int*> slot;
        slot.Set(&value);
        ASSERT_EQ(slot.Get(), &value) << i;
    }
}
