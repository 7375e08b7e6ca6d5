#include "KxThread.h"

#include "Interpose.h"
#include "KxTime.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <vector>

namespace {

using Sleeps = std::vector<useconds_t>;

struct EnoughSleep { };

// What Sleep asks of the system. The n-th call, counted from 1, is answered with 10 * n.
class SleepCalls {
public:
    SleepCalls()
    {
        mHooks.usleepHook = [this](useconds_t microseconds) {
            mSleeps.push_back(microseconds);
            if (mSleeps.size() == 5000) {
                throw EnoughSleep();
            }
            return static_cast<int>(10 * mSleeps.size());
        };
    }

    Sleeps mSleeps;

private:
    Interposed mHooks;
};

KxTime microseconds(long long count)
{
    KxTime time;
    time.mMicroseconds = count;
    return time;
}

} // namespace

TEST(KxThreadSleep, NumberOfMicrosecondsIsHandedOn)
{
    SleepCalls calls;
    EXPECT_EQ(KxThread::Sleep(2500000), 10);
    EXPECT_EQ(calls.mSleeps, (Sleeps { 2500000 }));
}

TEST(KxThreadSleep, NumberReturnsTheSystemsResult)
{
    Interposed hooks;
    hooks.usleepHook = [](useconds_t) { return -1; };
    EXPECT_EQ(KxThread::Sleep(1), -1);
}

TEST(KxThreadSleep, NegativeNumberIsHandedOnAsUnsigned)
{
    SleepCalls calls;
    KxThread::Sleep(-1);
    EXPECT_EQ(calls.mSleeps, (Sleeps { 4294967295u }));
}

TEST(KxThreadSleep, WholeSecondsAreSleptOneAtATimeAndThenTheRest)
{
    SleepCalls calls;
    EXPECT_EQ(KxThread::Sleep(microseconds(2500000)), 30);
    EXPECT_EQ(calls.mSleeps, (Sleeps { 1000000, 1000000, 500000 }));
}

TEST(KxThreadSleep, LessThanASecondIsOneCall)
{
    SleepCalls calls;
    EXPECT_EQ(KxThread::Sleep(microseconds(999999)), 10);
    EXPECT_EQ(calls.mSleeps, (Sleeps { 999999 }));
}

TEST(KxThreadSleep, ExactSecondIsFollowedByASleepOfNothing)
{
    SleepCalls calls;
    EXPECT_EQ(KxThread::Sleep(microseconds(1000000)), 20);
    EXPECT_EQ(calls.mSleeps, (Sleeps { 1000000, 0 }));
}

TEST(KxThreadSleep, NoTimeIsStillOneCall)
{
    SleepCalls calls;
    EXPECT_EQ(KxThread::Sleep(microseconds(0)), 10);
    EXPECT_EQ(calls.mSleeps, (Sleeps { 0 }));
}

TEST(KxThreadSleep, OnlyTheLastCallsResultIsReturned)
{
    int calls = 0;
    Interposed hooks;
    hooks.usleepHook = [&](useconds_t) { return ++calls < 3 ? -1 : 0; };
    EXPECT_EQ(KxThread::Sleep(microseconds(2000001)), 0);
    EXPECT_EQ(calls, 3);
}

TEST(KxThreadSleep, HourIsSleptSecondBySecond)
{
    SleepCalls calls;
    KxThread::Sleep(microseconds(3600LL * 1000000 + 7));
    ASSERT_EQ(calls.mSleeps.size(), 3601u);
    EXPECT_EQ(Sleeps(calls.mSleeps.begin(), calls.mSleeps.end() - 1), Sleeps(3600, 1000000));
    EXPECT_EQ(calls.mSleeps.back(), 7u);
}

TEST(KxThreadSleep, NegativeTimeOfLessThanASecondIsHandedOnAsUnsigned)
{
    SleepCalls calls;
    EXPECT_EQ(KxThread::Sleep(microseconds(-999999)), 10);
    EXPECT_EQ(calls.mSleeps, (Sleeps { 4294967296u - 999999 }));
}

TEST(KxThreadSleep, NegativeTimeSleepsNoWholeSecondsButWhatIsLeftOfThem)
{
    SleepCalls calls;
    EXPECT_EQ(KxThread::Sleep(microseconds(-2500000)), 10);
    EXPECT_EQ(calls.mSleeps, (Sleeps { 4294967296u - 500000 }));
}

TEST(KxThreadSleep, NegativeTimeOfWholeSecondsSleepsNothing)
{
    SleepCalls calls;
    EXPECT_EQ(KxThread::Sleep(microseconds(-2000000)), 10);
    EXPECT_EQ(calls.mSleeps, (Sleeps { 0 }));
}

TEST(KxThreadSleep, InfiniteTimeSleepsInLongStepsForEver)
{
    SleepCalls calls;
    KxTime time = microseconds(5);
    time.mIsInfinite = true;
    EXPECT_THROW(KxThread::Sleep(time), EnoughSleep);
    EXPECT_EQ(calls.mSleeps, Sleeps(5000, 1000000000));
}

TEST(KxThreadSleep, ReallySleeps)
{
    KxTime before;
    KxTime after;
    before.SetToCurrentTime();
    EXPECT_EQ(KxThread::Sleep(microseconds(20000)), 0);
    after.SetToCurrentTime();
    EXPECT_GE(after.mMicroseconds - before.mMicroseconds, 20000);
}
