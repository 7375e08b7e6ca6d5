#include "KxTime.h"

#include "Interpose.h"

#include <gtest/gtest.h>

TEST(KxTime, IsZeroWhenTheClockCannotBeRead)
{
    Interposed hooks;
    hooks.gettimeofdayHook = [](struct timeval*, void*) { return -1; };
    KxTime time;
    time.mIsInfinite = true;
    time.mMicroseconds = 7;
    time.SetToCurrentTime();
    EXPECT_EQ(time.mMicroseconds, 0);
    EXPECT_FALSE(time.mIsInfinite);
}
