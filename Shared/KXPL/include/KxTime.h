// Time spans, points in time and local time of day.
#ifndef KXPL_KX_TIME_H
#define KXPL_KX_TIME_H

#include "detail/KxHost.h"

// A span, or a point in time counted from 1 January 1970 UTC.
struct KxTime {
    // Sets the wall clock's time; 0 when the clock cannot be read. Never infinite. Any thread, any object.
    // The clock's seconds pass through a signed 32-bit number, so from 19 January 2038 03:14:08 UTC on the
    // result is negative.
    void SetToCurrentTime();

    bool mIsInfinite = false;    // endless; the count is then ignored
    long long mMicroseconds = 0; // a span, or a point in time since 1970 UTC; may be negative
};

// The "Duration" of the Carbon interfaces: positive milliseconds or negative microseconds, in 32 bits.
//
// Infinite gives 0x7FFFFFFF. Spans above 262,143 seconds come out as milliseconds, all others as minus their
// microseconds' low 32 bits. Beware: a span between about 2,147 and 262,143 seconds does not fit and comes
// out wrapped, and a negative span comes out positive, which reads as milliseconds.
int ConvertKxTimeToMacDuration(const KxTime& time);

// Broken-down local time. The first eight fields are those of the C library's struct tm.
struct KxTimeOfDay {
    int mSecond;  // 0 to 60
    int mMinute;  // 0 to 59
    int mHour;    // 0 to 23
    int mDay;     // day of the month, 1 to 31
    int mMonth;   // months since January, 0 to 11
    int mYear;    // years since 1900
    int mWeekDay; // days since Sunday, 0 to 6
    int mYearDay; // days since 1 January, 0 to 365
    bool mIsDST;  // daylight saving time in force
};

// Gives what the C library's localtime gives, a changed TZ included, but leaves alone the record that localtime
// and gmtime share among all threads of a process. Any thread; the environment must not be changed meanwhile.
class KxClockTime {
public:
    // seconds since 1 January 1970 UTC, cut to the width of time_t (32 bits in a 32-bit build). A time that
    // localtime cannot break down gives a record of zeros.
    static void GetTime(KxTimeOfDay& timeOfDay, long long seconds);
    // The same for the current time.
    static void GetTime(KxTimeOfDay& timeOfDay);
};

#endif
