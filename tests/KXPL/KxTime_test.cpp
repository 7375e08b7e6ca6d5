#include "KxTime.h"

#include "Interpose.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <ctime>
#include <type_traits>

namespace {

static_assert(std::is_standard_layout_v<KxTime>);
static_assert(offsetof(KxTime, mIsInfinite) == 0 && std::is_same_v<decltype(KxTime::mIsInfinite), bool>);
static_assert(sizeof(bool) == 1 && offsetof(KxTime, mMicroseconds) == alignof(KxTime));
static_assert(std::is_same_v<decltype(KxTime::mMicroseconds), long long> && sizeof(long long) == 8);

// What SetToCurrentTime makes of this answer of the clock.
KxTime timeAt(std::time_t seconds, int microseconds, int result = 0)
{
    Interposed hooks;
    hooks.gettimeofdayHook = [=](struct timeval* now, void*) {
        now->tv_sec = seconds;
        now->tv_usec = microseconds;
        return result;
    };
    KxTime time;
    time.mIsInfinite = true;
    time.mMicroseconds = 77;
    time.SetToCurrentTime();
    return time;
}

} // namespace

TEST(KxTime, IsNothingAtFirst)
{
    KxTime time;
    EXPECT_FALSE(time.mIsInfinite);
    EXPECT_EQ(time.mMicroseconds, 0);
}

TEST(KxTime, CurrentTimeIsTheClocks)
{
    const KxTime time = timeAt(1700000000, 123456);
    EXPECT_EQ(time.mMicroseconds, 1700000000123456);
    EXPECT_FALSE(time.mIsInfinite);
}

TEST(KxTime, CurrentTimeLiesBetweenTwoLooksAtTheClock)
{
    const std::time_t before = std::time(nullptr);
    KxTime time;
    time.SetToCurrentTime();
    const std::time_t after = std::time(nullptr);
    // `time` may lag behind the precise clock by a tick.
    EXPECT_GE(time.mMicroseconds / 1000000, before);
    EXPECT_LE(time.mMicroseconds / 1000000, after + 1);
}

TEST(KxTime, IsZeroWhenTheClockCannotBeRead)
{
    const KxTime time = timeAt(1700000000, 123456, -1);
    EXPECT_EQ(time.mMicroseconds, 0);
    EXPECT_FALSE(time.mIsInfinite);
}

TEST(KxTime, AsksForTheTimeZoneRecord)
{
    bool asked = false;
    Interposed hooks;
    hooks.gettimeofdayHook = [&](struct timeval* now, void* zone) {
        asked = zone != nullptr;
        return __real_gettimeofday(now, zone);
    };
    KxTime().SetToCurrentTime();
    EXPECT_TRUE(asked);
}

TEST(KxTime, LastSecondOf32BitsIsStillPositive)
{
    EXPECT_EQ(timeAt(2147483647, 999999).mMicroseconds, 2147483647999999);
}

TEST(KxTime, SecondsAfterThatWrapToNegative)
{
    const long long seconds = 2147483648LL;
    EXPECT_EQ(timeAt(static_cast<std::time_t>(seconds), 5).mMicroseconds, -2147483648000000 + 5);
    EXPECT_EQ(timeAt(static_cast<std::time_t>(seconds + 100), 999999).mMicroseconds,
              -2147483548000000 + 999999);
}

TEST(KxTime, SecondsBefore1970AreNegative)
{
    EXPECT_EQ(timeAt(-2, 250000).mMicroseconds, -1750000);
}
