// Local time of day.
#include "KxTime.h"

#include "Interpose.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstddef>
#include <cstdlib>
#include <ctime>
#include <random>
#include <string>
#include <type_traits>

namespace {

static_assert(std::is_standard_layout_v<KxTimeOfDay>);
static_assert(std::is_same_v<decltype(KxTimeOfDay::mSecond), int> && sizeof(int) == 4);
static_assert(offsetof(KxTimeOfDay, mSecond) == 0 && offsetof(KxTimeOfDay, mMinute) == 4);
static_assert(offsetof(KxTimeOfDay, mHour) == 8 && offsetof(KxTimeOfDay, mDay) == 12);
static_assert(offsetof(KxTimeOfDay, mMonth) == 16 && offsetof(KxTimeOfDay, mYear) == 20);
static_assert(offsetof(KxTimeOfDay, mWeekDay) == 24 && offsetof(KxTimeOfDay, mYearDay) == 28);
static_assert(offsetof(KxTimeOfDay, mIsDST) == 32);
static_assert(std::is_same_v<decltype(KxTimeOfDay::mIsDST), bool> && sizeof(KxTimeOfDay) == 36);

// Rules are spelled out so that no time-zone database is needed.
constexpr const char* kBerlin = "CET-1CEST,M3.5.0,M10.5.0/3";
constexpr const char* kNewYork = "EST5EDT,M3.2.0,M11.1.0";
constexpr const char* kKolkata = "IST-5:30";

// Each test sets the zone that it needs.
class KxClockTimeZones : public testing::Test {
protected:
    ~KxClockTimeZones() override { setZone("UTC0"); }

    static void setZone(const char* rule)
    {
        setenv("TZ", rule, 1);
        tzset();
    }

    static KxTimeOfDay timeOfDay(long long seconds)
    {
        KxTimeOfDay result;
        KxClockTime::GetTime(result, seconds);
        return result;
    }
};

std::string text(const KxTimeOfDay& time)
{
    const int fields[] = { time.mYear,   time.mMonth,  time.mDay,     time.mHour,
                           time.mMinute, time.mSecond, time.mWeekDay, time.mYearDay };
    std::string result;
    for (const int field : fields) {
        result += std::to_string(field) + ' ';
    }
    return result + (time.mIsDST ? "DST" : "-");
}

std::string text(const std::tm& time)
{
    return text(KxTimeOfDay { time.tm_sec, time.tm_min, time.tm_hour, time.tm_mday, time.tm_mon, time.tm_year,
                              time.tm_wday, time.tm_yday, time.tm_isdst != 0 });
}

std::string utcText(long long seconds)
{
    const std::time_t time = static_cast<std::time_t>(seconds);
    return text(*std::gmtime(&time));
}

} // namespace

TEST_F(KxClockTimeZones, StartOfTheEpochInUtc)
{
    setZone("UTC0");
    const KxTimeOfDay time = timeOfDay(0);
    EXPECT_EQ(time.mYear, 70);
    EXPECT_EQ(time.mMonth, 0);
    EXPECT_EQ(time.mDay, 1);
    EXPECT_EQ(time.mHour, 0);
    EXPECT_EQ(time.mMinute, 0);
    EXPECT_EQ(time.mSecond, 0);
    EXPECT_EQ(time.mWeekDay, 4);
    EXPECT_EQ(time.mYearDay, 0);
    EXPECT_FALSE(time.mIsDST);
}

TEST_F(KxClockTimeZones, StartOfTheEpochWestOfGreenwichIsTheYearBefore)
{
    setZone(kNewYork);
    EXPECT_EQ(text(timeOfDay(0)), "69 11 31 19 0 0 3 364 -");
}

TEST_F(KxClockTimeZones, ZoneOfHalfAnHour)
{
    setZone(kKolkata);
    EXPECT_EQ(text(timeOfDay(0)), "70 0 1 5 30 0 4 0 -");
}

TEST_F(KxClockTimeZones, DaylightSavingTimeIsToldAndApplied)
{
    setZone(kBerlin);
    // 31 March 2024, 00:59:59 UTC and a second later.
    EXPECT_EQ(text(timeOfDay(1711846799)), "124 2 31 1 59 59 0 90 -");
    EXPECT_EQ(text(timeOfDay(1711846800)), "124 2 31 3 0 0 0 90 DST");
}

TEST_F(KxClockTimeZones, SameLocalTimeTwiceDiffersInTheFlagOnly)
{
    setZone(kNewYork);
    // 3 November 2024, 05:30 and 06:30 UTC.
    EXPECT_EQ(text(timeOfDay(1730611800)), "124 10 3 1 30 0 0 307 DST");
    EXPECT_EQ(text(timeOfDay(1730615400)), "124 10 3 1 30 0 0 307 -");
}

TEST_F(KxClockTimeZones, TimesBefore1970)
{
    setZone("UTC0");
    EXPECT_EQ(text(timeOfDay(-1)), "69 11 31 23 59 59 3 364 -");
}

TEST_F(KxClockTimeZones, LeapDay)
{
    setZone("UTC0");
    EXPECT_EQ(text(timeOfDay(1709164800)), "124 1 29 0 0 0 4 59 -");
    EXPECT_EQ(text(timeOfDay(1735603200)), "124 11 31 0 0 0 2 365 -");
}

TEST_F(KxClockTimeZones, AgreesWithUniversalTime)
{
    constexpr unsigned int kSeed = 34;
    std::mt19937 random(kSeed);
    setZone("UTC0");
    for (int i = 0; i < 20000; ++i) {
        const long long seconds = static_cast<int>(random());
        ASSERT_EQ(text(timeOfDay(seconds)), utcText(seconds)) << seconds << ", seed " << kSeed;
    }
}

TEST_F(KxClockTimeZones, ZoneWithoutDaylightSavingIsUniversalTimeMoved)
{
    constexpr unsigned int kSeed = 35;
    std::mt19937 random(kSeed);
    setZone(kKolkata);
    for (int i = 0; i < 20000; ++i) {
        const long long seconds = static_cast<int>(random() & 0x7FFF0000u);
        ASSERT_EQ(text(timeOfDay(seconds)), utcText(seconds + 19800)) << seconds << ", seed " << kSeed;
    }
}

// As localtime does, and localtime_r need not.
TEST_F(KxClockTimeZones, ZoneThatTheEnvironmentNamesAnewIsSeenAtOnce)
{
    setZone("UTC0");
    EXPECT_EQ(timeOfDay(0).mHour, 0);
    setenv("TZ", kKolkata, 1);
    EXPECT_EQ(text(timeOfDay(0)), "70 0 1 5 30 0 4 0 -");
    EXPECT_EQ(timezone, -19800);
}

TEST_F(KxClockTimeZones, SecondsBeyond32Bits)
{
    setZone("UTC0");
    if (sizeof(std::time_t) == 8) {
        EXPECT_EQ(text(timeOfDay(4294967296 + 5)), "206 1 7 6 28 21 0 37 -");
    } else {
        EXPECT_EQ(text(timeOfDay(4294967296 + 5)), text(timeOfDay(5)));
    }
}

TEST_F(KxClockTimeZones, YearBeyondAnIntGivesZeros)
{
    setZone("UTC0");
    // In 32 bits the time is cut to -1.
    EXPECT_EQ(text(timeOfDay(LLONG_MAX)), sizeof(std::time_t) == 8 ? "0 0 0 0 0 0 0 0 -" : text(timeOfDay(-1)));
}

// What localtime and gmtime return is shared by all threads of a process, and the collection thread calls this.
TEST(KxClockTime, LeavesTheHostsSharedRecordAlone)
{
    const std::time_t day = 86400 * 365;
    const std::tm* shared = std::gmtime(&day);
    KxTimeOfDay time;
    KxClockTime::GetTime(time, 1700000000);
    EXPECT_EQ(shared->tm_year, 71);
    EXPECT_EQ(time.mYear, 123);
}

TEST(KxClockTime, ReadsTheZoneFirst)
{
    std::string calls;
    Interposed hooks;
    hooks.tzsetHook = [&] { calls += "tzset "; };
    hooks.localtimeHook = [&](const std::time_t*, std::tm* result) {
        calls += "localtime_r ";
        return result;
    };
    KxTimeOfDay time;
    KxClockTime::GetTime(time, 0);
    EXPECT_EQ(calls, "tzset localtime_r ");
}

TEST(KxClockTime, FieldsAreCopiedUnchanged)
{
    std::tm answer = {};
    answer.tm_sec = 60;
    answer.tm_min = -2;
    answer.tm_hour = 3;
    answer.tm_mday = 4;
    answer.tm_mon = 5;
    answer.tm_year = -6;
    answer.tm_wday = 7;
    answer.tm_yday = 800;
    std::time_t asked = 0;
    Interposed hooks;
    hooks.localtimeHook = [&](const std::time_t* time, std::tm*) {
        asked = *time;
        return &answer;
    };
    KxTimeOfDay time;
    KxClockTime::GetTime(time, 123456789);
    EXPECT_EQ(asked, 123456789);
    EXPECT_EQ(text(time), "-6 5 4 3 -2 60 7 800 -");
}

TEST(KxClockTime, AnyNonZeroFlagIsDaylightSaving)
{
    std::tm answer = {};
    Interposed hooks;
    hooks.localtimeHook = [&](const std::time_t*, std::tm*) { return &answer; };
    for (const int flag : { 1, 2, -1 }) {
        answer.tm_isdst = flag;
        KxTimeOfDay time;
        KxClockTime::GetTime(time, 0);
        EXPECT_TRUE(time.mIsDST) << flag;
    }
    answer.tm_isdst = 0;
    KxTimeOfDay time;
    KxClockTime::GetTime(time, 0);
    EXPECT_FALSE(time.mIsDST);
}

TEST(KxClockTime, TimeThatCannotBeBrokenDownGivesZeros)
{
    Interposed hooks;
    hooks.localtimeHook = [](const std::time_t*, std::tm*) { return static_cast<std::tm*>(nullptr); };
    KxTimeOfDay time = { 1, 2, 3, 4, 5, 6, 7, 8, true };
    KxClockTime::GetTime(time, 0);
    EXPECT_EQ(text(time), "0 0 0 0 0 0 0 0 -");
}

TEST(KxClockTime, WithoutATimeItIsNow)
{
    std::tm answer = {};
    std::time_t asked = 0;
    bool askedForACopy = true;
    Interposed hooks;
    hooks.timeHook = [&](std::time_t* copy) {
        askedForACopy = copy != nullptr;
        return std::time_t { 1700000000 };
    };
    hooks.localtimeHook = [&](const std::time_t* time, std::tm*) {
        asked = *time;
        answer.tm_year = 123;
        return &answer;
    };
    KxTimeOfDay time;
    KxClockTime::GetTime(time);
    EXPECT_EQ(asked, 1700000000);
    EXPECT_FALSE(askedForACopy);
    EXPECT_EQ(time.mYear, 123);
}
