#include "KxTime.h"

#include "KxSplitTime.h"

#include <cstdint>
#include <ctime>

namespace {

constexpr long long kMicrosecondsPerSecond = 1000000;
constexpr int kForeverDuration = 0x7FFFFFFF;
constexpr int kLargestSecondsAsMicroseconds = 0x3FFFF;

} // namespace

void KxTime::SetToCurrentTime()
{
    const KxClockReading now = KxClockReading::Take();
    mIsInfinite = false;
    mMicroseconds = now.mSeconds * kMicrosecondsPerSecond + now.mMicroseconds;
}

KxSplitTime KxSplitTime::Of(long long time)
{
    const unsigned int seconds = static_cast<unsigned int>(time / kMicrosecondsPerSecond);
    return { seconds,
             static_cast<unsigned int>(time) - seconds * static_cast<unsigned int>(kMicrosecondsPerSecond) };
}

int ConvertKxTimeToMacDuration(const KxTime& time)
{
    if (time.mIsInfinite) {
        return kForeverDuration;
    }
    if (time.mMicroseconds == 0) {
        return 0;
    }
    // Unsigned, because the 32-bit arithmetic is meant to wrap.
    const std::int32_t seconds = static_cast<std::int32_t>(time.mMicroseconds / kMicrosecondsPerSecond);
    const std::uint32_t wholeMicroseconds =
        static_cast<std::uint32_t>(seconds) * static_cast<std::uint32_t>(kMicrosecondsPerSecond);
    const std::uint32_t rest = static_cast<std::uint32_t>(time.mMicroseconds) - wholeMicroseconds;
    if (seconds > kLargestSecondsAsMicroseconds) {
        const std::int32_t restMilliseconds = static_cast<std::int32_t>(rest) / 1000;
        return static_cast<std::int32_t>(static_cast<std::uint32_t>(seconds) * 1000u
                                         + static_cast<std::uint32_t>(restMilliseconds));
    }
    return static_cast<std::int32_t>(0u - (rest + wholeMicroseconds));
}

void KxClockTime::GetTime(KxTimeOfDay& timeOfDay, long long seconds)
{
    const std::time_t time = static_cast<std::time_t>(seconds);
    std::tm broken;
    // What localtime does at each call, and localtime_r need not: look whether TZ has changed.
    tzset();
    const std::tm* local = localtime_r(&time, &broken);
    timeOfDay = KxTimeOfDay();
    if (local == nullptr) {
        return;
    }
    timeOfDay.mSecond = local->tm_sec;
    timeOfDay.mMinute = local->tm_min;
    timeOfDay.mHour = local->tm_hour;
    timeOfDay.mDay = local->tm_mday;
    timeOfDay.mMonth = local->tm_mon;
    timeOfDay.mYear = local->tm_year;
    timeOfDay.mWeekDay = local->tm_wday;
    timeOfDay.mYearDay = local->tm_yday;
    timeOfDay.mIsDST = local->tm_isdst != 0;
}

void KxClockTime::GetTime(KxTimeOfDay& timeOfDay)
{
    GetTime(timeOfDay, std::time(nullptr));
}
