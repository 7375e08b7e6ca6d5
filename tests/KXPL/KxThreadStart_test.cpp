// What Start asks of the system.
#include "KxThread.h"

#include "FunctionThread.h"
#include "Interpose.h"

#include <gtest/gtest.h>

#include <sched.h>

#include <cerrno>
#include <climits>
#include <string>
#include <vector>

namespace {

// The scheduling priority that a thread of this place on the scale is created with.
int schedulingPriority(int priority, int min, int max)
{
    int chosen = INT_MIN;
    Interposed hooks;
    hooks.schedGetPriorityMin = [min](int policy) { return policy == SCHED_FIFO ? min : -1000; };
    hooks.schedGetPriorityMax = [max](int policy) { return policy == SCHED_FIFO ? max : 1000; };
    hooks.pthreadAttrSetschedparam = [&](pthread_attr_t*, const struct sched_param* parameter) {
        chosen = parameter->sched_priority;
        return 0;
    };
    hooks.pthreadCreate = [](pthread_t*, const pthread_attr_t*, void* (*)(void*), void*) { return EAGAIN; };
    FunctionThread thread;
    thread.mPriority = priority;
    thread.Start();
    return chosen;
}

// What the thread was created with.
struct Created {
    int mDetachState = -1;
    int mPolicy = -1;
    int mPriority = -1;
    int mInherit = -1;
    bool mWasRunning = false;
    void* (*mRoutine)(void*) = nullptr;
    void* mArgument = nullptr;
};

Created startAndLook(KxThread& thread)
{
    Created created;
    Interposed hooks;
    hooks.pthreadCreate = [&](pthread_t*, const pthread_attr_t* attr, void* (*routine)(void*), void* argument) {
        struct sched_param parameter = {};
        pthread_attr_getdetachstate(attr, &created.mDetachState);
        pthread_attr_getschedpolicy(attr, &created.mPolicy);
        pthread_attr_getschedparam(attr, &parameter);
        pthread_attr_getinheritsched(attr, &created.mInherit);
        created.mPriority = parameter.sched_priority;
        created.mWasRunning = thread.mPlatformData->mIsRunning;
        created.mRoutine = routine;
        created.mArgument = argument;
        return EAGAIN;
    };
    thread.Start();
    return created;
}

} // namespace

TEST(KxThreadPriority, EveryStepOfTheScaleHasItsValue)
{
    const int expected[] = { 15, 19, 22, 25, 28, 31, 32, 34, 35, 37, 39, 40, 42, 43, 45, 47 };
    for (int step = 0; step < 16; ++step) {
        EXPECT_EQ(schedulingPriority(1000 + step, 15, 47), expected[step]) << 1000 + step;
    }
}

TEST(KxThreadPriority, LowestPriorityIsAskedForBeforeTheHighest)
{
    std::string asked;
    {
        Interposed hooks;
        hooks.schedGetPriorityMin = [&asked](int) {
            asked += "min ";
            return 1;
        };
        hooks.schedGetPriorityMax = [&asked](int) {
            asked += "max ";
            return 99;
        };
        hooks.pthreadCreate = [](pthread_t*, const pthread_attr_t*, void* (*)(void*), void*) { return EAGAIN; };
        FunctionThread thread;
        thread.Start();
    }
    EXPECT_EQ(asked, "min max ");
}

TEST(KxThreadPriority, ValuesOutsideTheScaleAreTheMiddle)
{
    for (const int priority : { 999, 1016, 0, -1, 1, 2000, INT_MIN, INT_MAX }) {
        EXPECT_EQ(schedulingPriority(priority, 15, 47), 31) << priority;
    }
}

TEST(KxThreadPriority, StepsBelowTheMiddleAreTwiceAsLargeAsThoseAbove)
{
    EXPECT_EQ(schedulingPriority(1005, 0, 200), 100);
    for (int step = 1; step <= 4; ++step) {
        EXPECT_EQ(schedulingPriority(1005 - step, 0, 200), 100 - 20 * step);
    }
    for (int step = 1; step <= 9; ++step) {
        EXPECT_EQ(schedulingPriority(1005 + step, 0, 200), 100 + 10 * step);
    }
}

// A system that cannot tell an end of its range answers -1.
TEST(KxThreadPriority, EndsOfARangeUpsideDownAreHeldToEachOther)
{
    EXPECT_EQ(schedulingPriority(1000, 1, -1), -1);
    EXPECT_EQ(schedulingPriority(1015, 1, -1), 1);
}

TEST(KxThreadPriority, EndsAreExactForAnOddRange)
{
    EXPECT_EQ(schedulingPriority(1000, 1, 100), 1);
    EXPECT_EQ(schedulingPriority(1005, 1, 100), 50);
    EXPECT_EQ(schedulingPriority(1015, 1, 100), 100);
}

TEST(KxThreadPriority, DivisionsTruncateTowardZeroBelowZero)
{
    // Middle -9 / 2 = -4, half 7 / 2 = 3.
    EXPECT_EQ(schedulingPriority(1005, -8, -1), -4);
    EXPECT_EQ(schedulingPriority(1001, -8, -1), -6);
    EXPECT_EQ(schedulingPriority(1004, -8, -1), -4);
    EXPECT_EQ(schedulingPriority(1014, -8, -1), -2);
}

TEST(KxThreadPriority, RangeOfOneValueGivesThatValue)
{
    for (int priority = 999; priority <= 1016; ++priority) {
        EXPECT_EQ(schedulingPriority(priority, 7, 7), 7) << priority;
    }
}

TEST(KxThreadStart, CreatesAJoinableThreadOfRealTimePolicy)
{
    FunctionThread thread;
    const Created created = startAndLook(thread);
    EXPECT_EQ(created.mDetachState, PTHREAD_CREATE_JOINABLE);
    EXPECT_EQ(created.mPolicy, SCHED_FIFO);
}

TEST(KxThreadStart, PriorityReachesTheAttribute)
{
    FunctionThread thread;
    thread.mPriority = 1015;
    EXPECT_EQ(startAndLook(thread).mPriority, sched_get_priority_max(SCHED_FIFO));
}

TEST(KxThreadStart, SetsNoOtherAttribute)
{
    pthread_attr_t fresh;
    int inherit = -1;
    pthread_attr_init(&fresh);
    pthread_attr_getinheritsched(&fresh, &inherit);
    FunctionThread thread;
    EXPECT_EQ(startAndLook(thread).mInherit, inherit);
}

TEST(KxThreadStart, CountsAsRunningBeforeTheThreadExists)
{
    FunctionThread thread;
    EXPECT_TRUE(startAndLook(thread).mWasRunning);
}

TEST(KxThreadStart, ThreadsEntryIsGivenTheObjectAndReturnsNull)
{
    FunctionThread thread;
    const Created created = startAndLook(thread);
    EXPECT_EQ(created.mArgument, static_cast<KxThread*>(&thread));
    ASSERT_NE(created.mRoutine, nullptr);
    EXPECT_EQ(created.mRoutine(nullptr), nullptr);
}

TEST(KxThreadStart, SystemCallsComeInOrderAndTheAttributeIsNotDestroyed)
{
    std::vector<std::string> calls;
    const auto pass = [&](const char* name) { calls.push_back(name); };
    {
        Interposed hooks;
        hooks.pthreadAttrInit = [&](pthread_attr_t* attr) {
            pass("init");
            return __real_pthread_attr_init(attr);
        };
        hooks.pthreadAttrSetdetachstate = [&](pthread_attr_t*, int) {
            pass("detach state");
            return 0;
        };
        hooks.pthreadAttrSetschedpolicy = [&](pthread_attr_t*, int) {
            pass("policy");
            return 0;
        };
        hooks.pthreadAttrSetschedparam = [&](pthread_attr_t*, const struct sched_param*) {
            pass("parameter");
            return 0;
        };
        hooks.pthreadCreate = [&](pthread_t*, const pthread_attr_t*, void* (*)(void*), void*) {
            pass("create");
            return EAGAIN;
        };
        hooks.pthreadAttrDestroy = [&](pthread_attr_t*) {
            pass("destroy");
            return 0;
        };
        FunctionThread thread;
        thread.Start();
    }
    EXPECT_EQ(calls, (std::vector<std::string> { "init", "detach state", "policy", "parameter", "create" }));
}

TEST(KxThreadStart, RefusalsOfTheSystemAreIgnored)
{
    bool ran = false;
    FunctionThread thread([&] { ran = true; });
    {
        Interposed hooks;
        hooks.pthreadAttrSetdetachstate = [](pthread_attr_t*, int) { return EINVAL; };
        hooks.pthreadAttrSetschedpolicy = [](pthread_attr_t*, int) { return ENOTSUP; };
        hooks.pthreadAttrSetschedparam = [](pthread_attr_t*, const struct sched_param*) { return ENOTSUP; };
        hooks.schedGetPriorityMin = [](int) { return -1; };
        hooks.schedGetPriorityMax = [](int) { return -1; };
        thread.runToEnd();
    }
    EXPECT_TRUE(ran);
}
