// The wall clock as a log record carries it.
#ifndef KXPL_KX_SPLIT_TIME_H
#define KXPL_KX_SPLIT_TIME_H

#include <sys/time.h>

#include <cstdint>

// What gettimeofday says, its seconds kept in 32 bits; zeros when the clock cannot be read.
struct KxClockReading {
    std::int32_t mSeconds;
    long long mMicroseconds;

    static KxClockReading Take()
    {
        struct timeval now;
        struct timezone ignored;
        if (gettimeofday(&now, &ignored) != 0) {
            return { 0, 0 };
        }
        return { static_cast<std::int32_t>(now.tv_sec), now.tv_usec };
    }
};

struct KxSplitTime {
    unsigned int mSeconds;
    unsigned int mMicroseconds;

    // Takes T microseconds apart: the seconds are T divided by 1,000,000 and truncated, kept in 32 bits, and
    // the microseconds what then remains of T, in 32-bit arithmetic.
    static KxSplitTime Of(long long time);

    // The time that KxTime::SetToCurrentTime gives, taken apart; zeros when the clock cannot be read.
    static KxSplitTime Current()
    {
        const KxClockReading now = KxClockReading::Take();
        // A clock between 1970 and 2038 is in two parts already. Putting them together and taking them apart
        // again would make every log call wait for a multiplication and a division.
        if (now.mSeconds >= 0 && now.mMicroseconds >= 0 && now.mMicroseconds < 1000000) {
            return { static_cast<unsigned int>(now.mSeconds), static_cast<unsigned int>(now.mMicroseconds) };
        }
        return Of(now.mSeconds * 1000000LL + now.mMicroseconds);
    }
};

#endif
