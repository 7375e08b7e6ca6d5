#include "KxThread.h"

#include "FunctionThread.h"
#include "Interpose.h"
#include "detail/KxAtomic.h"
#include "KxTime.h"
#include "VirtualSlot.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cerrno>
#include <cstddef>
#include <future>
#include <thread>
#include <type_traits>
#include <vector>

namespace {

static_assert(offsetof(KxThreadPlatformData, mHandle) == 0);
static_assert(offsetof(KxThreadPlatformData, mIsRunning) == sizeof(pthread_t));
static_assert(std::is_same_v<decltype(KxThread::mPriority), int>);
static_assert(std::is_same_v<decltype(KxThread::mReserved), int>);
static_assert(std::is_same_v<decltype(KxThread::mUserData), void*>);
static_assert(std::is_same_v<decltype(KxThread::mAtStartFunctions), std::vector<void (*)()>>);
static_assert(std::is_same_v<decltype(KxThread::msMainThreadID), pthread_t>);
static_assert(std::is_abstract_v<KxThread> && std::has_virtual_destructor_v<KxThread>);
static_assert(sizeof(KxThreadRunWrapper) == sizeof(void*) && std::has_virtual_destructor_v<KxThreadRunWrapper>);

class DeletionTellingWrapper : public KxThreadRunWrapper {
public:
    explicit DeletionTellingWrapper(bool& deleted)
        : mDeleted(deleted)
    {
    }
    ~DeletionTellingWrapper() override { mDeleted = true; }

private:
    bool& mDeleted;
};

} // namespace

TEST(KxThread, IsIdleAndUnnamedAfterConstruction)
{
    FunctionThread thread;
    EXPECT_EQ(thread.mName, "unnamed");
    EXPECT_EQ(thread.mPriority, 1005);
    EXPECT_EQ(thread.mReserved, -1);
    EXPECT_NE(thread.mRunWrapper, nullptr);
    ASSERT_NE(thread.mPlatformData, nullptr);
    EXPECT_EQ(thread.mPlatformData->mHandle, pthread_t());
    EXPECT_FALSE(thread.mPlatformData->mIsRunning);
}

TEST(KxThread, FieldsStandInTheirOrder)
{
    FunctionThread thread;
    char* const object = reinterpret_cast<char*>(static_cast<KxThread*>(&thread));
    EXPECT_EQ(reinterpret_cast<char*>(&thread.mName) - object, static_cast<std::ptrdiff_t>(sizeof(void*)));
    EXPECT_LT(static_cast<void*>(&thread.mName), static_cast<void*>(&thread.mPriority));
    EXPECT_EQ(&thread.mPriority + 1, &thread.mReserved);
    EXPECT_EQ(reinterpret_cast<char*>(&thread.mReserved + 1), reinterpret_cast<char*>(&thread.mUserData));
    EXPECT_EQ(reinterpret_cast<char*>(&thread.mUserData + 1), reinterpret_cast<char*>(&thread.mRunWrapper));
    EXPECT_EQ(reinterpret_cast<char*>(&thread.mRunWrapper + 1), reinterpret_cast<char*>(&thread.mPlatformData));
}

TEST(KxThread, VirtualOperationsStandBehindTheTwoFormsOfTheDestructor)
{
    EXPECT_EQ(virtualSlot(&KxThread::Start), 2);
    EXPECT_EQ(virtualSlot(&KxThread::WaitForExit), 3);
    EXPECT_EQ(virtualSlot(&KxThread::Run), 4);
    EXPECT_EQ(virtualSlot(&KxThread::GetId), -1);
    EXPECT_EQ(virtualSlot(&KxThreadRunWrapper::RunWrapper), 2);
}

TEST(KxThread, RunsOnAThreadOfItsOwn)
{
    pthread_t identity = pthread_self();
    FunctionThread thread([&] { identity = pthread_self(); });
    thread.Start();
    EXPECT_EQ(thread.WaitForExit(), 0);
    EXPECT_NE(identity, pthread_self());
}

TEST(KxThread, IdIsZeroBeforeTheFirstStart)
{
    FunctionThread thread;
    EXPECT_EQ(thread.GetId(), pthread_t());
}

TEST(KxThread, IdIsTheRunningThreadsAndStaysAfterItsEnd)
{
    pthread_t identity = pthread_t();
    FunctionThread thread([&] { identity = KxThread::GetCurrentId(); });
    thread.Start();
    const pthread_t whileStarted = thread.GetId();
    thread.WaitForExit();
    EXPECT_EQ(whileStarted, identity);
    EXPECT_EQ(thread.GetId(), identity);
}

TEST(KxThread, IsRunningUntilRunReturns)
{
    std::promise<void> leave;
    FunctionThread thread([&] { leave.get_future().wait(); });
    thread.Start();
    EXPECT_TRUE(KxLoadAcquire(thread.mPlatformData->mIsRunning));
    leave.set_value();
    thread.WaitForExit();
    EXPECT_FALSE(thread.mPlatformData->mIsRunning);
}

TEST(KxThread, StartOnARunningThreadCreatesNoSecondOne)
{
    int created = 0;
    std::promise<void> leave;
    std::atomic<int> runs { 0 };
    Interposed hooks;
    hooks.pthreadCreate = [&](pthread_t* handle, const pthread_attr_t* attr, void* (*routine)(void*),
                              void* arg) {
        ++created;
        return __real_pthread_create(handle, attr, routine, arg);
    };
    FunctionThread thread([&] {
        ++runs;
        leave.get_future().wait();
    });
    thread.Start();
    thread.Start();
    leave.set_value();
    thread.WaitForExit();
    EXPECT_EQ(created, 1);
    EXPECT_EQ(runs, 1);
}

TEST(KxThread, MayBeStartedAgainAfterItsEnd)
{
    int runs = 0;
    FunctionThread thread([&] { ++runs; });
    for (int i = 1; i <= 3; ++i) {
        thread.Start();
        EXPECT_EQ(thread.WaitForExit(), 0);
        EXPECT_EQ(runs, i);
    }
}

TEST(KxThread, WaitingForAThreadThatNeverStartedGivesNoSuchThread)
{
    FunctionThread thread;
    EXPECT_EQ(thread.WaitForExit(), ESRCH);
}

TEST(KxThread, WaitingASecondTimeGivesNoSuchThread)
{
    FunctionThread thread;
    thread.runToEnd();
    EXPECT_EQ(thread.WaitForExit(), ESRCH);
}

TEST(KxThread, WaitingReturnsTheJoinsResultAndAsksForNoValue)
{
    FunctionThread thread;
    void** asked = reinterpret_cast<void**>(&thread);
    pthread_t joined = pthread_t();
    bool refuse = true;
    Interposed hooks;
    hooks.pthreadJoin = [&](pthread_t handle, void** value) {
        joined = handle;
        asked = value;
        return refuse ? EDEADLK : __real_pthread_join(handle, value);
    };
    thread.Start();
    EXPECT_EQ(thread.WaitForExit(), EDEADLK);
    EXPECT_EQ(joined, thread.GetId());
    EXPECT_EQ(asked, nullptr);
    refuse = false;
    EXPECT_EQ(thread.WaitForExit(), 0);
}

TEST(KxThread, FailedCreationLeavesItRunningForEver)
{
    int attempts = 0;
    Interposed hooks;
    hooks.pthreadCreate = [&](pthread_t*, const pthread_attr_t*, void* (*)(void*), void*) {
        ++attempts;
        return EAGAIN;
    };
    FunctionThread thread;
    thread.Start();
    EXPECT_TRUE(thread.mPlatformData->mIsRunning);
    EXPECT_EQ(thread.WaitForExit(), ESRCH);
    thread.Start();
    EXPECT_EQ(attempts, 1);
    EXPECT_TRUE(thread.mPlatformData->mIsRunning);
}

TEST(KxThread, DestructorDeletesTheRunWrapper)
{
    bool deleted = false;
    {
        FunctionThread thread;
        delete thread.mRunWrapper;
        thread.mRunWrapper = new DeletionTellingWrapper(deleted);
        EXPECT_FALSE(deleted);
    }
    EXPECT_TRUE(deleted);
}

TEST(KxThread, DestructorDoesNotJoin)
{
    int joins = 0;
    pthread_t left = pthread_t();
    {
        Interposed hooks;
        hooks.pthreadJoin = [&](pthread_t, void**) {
            ++joins;
            return 0;
        };
        FunctionThread thread;
        thread.Start();
        left = thread.GetId();
        // The thread must be done with the object before that goes.
        while (KxLoadAcquire(thread.mPlatformData->mIsRunning)) {
            std::this_thread::yield();
        }
    }
    EXPECT_EQ(joins, 0);
    EXPECT_EQ(pthread_join(left, nullptr), 0);
}

TEST(KxThread, ThreadTimesStayAsTheyWere)
{
    KxTime a;
    KxTime b;
    a.mMicroseconds = 11;
    b.mIsInfinite = true;
    b.mMicroseconds = 22;
    FunctionThread thread;
    thread.GetThreadTimes(a, b);
    EXPECT_EQ(a.mMicroseconds, 11);
    EXPECT_FALSE(a.mIsInfinite);
    EXPECT_EQ(b.mMicroseconds, 22);
    EXPECT_TRUE(b.mIsInfinite);
}

TEST(KxThreadIdentity, NoThreadIsTheMainOneBeforeInitialize)
{
    KxThread::msMainThreadID = pthread_t();
    EXPECT_FALSE(KxThread::IsMainThread());
    EXPECT_EQ(KxThread::MainThreadID(), pthread_t());
}

TEST(KxThreadIdentity, InitializeRemembersTheCallingThread)
{
    KxThread::Initialize();
    EXPECT_EQ(KxThread::MainThreadID(), pthread_self());
    EXPECT_EQ(KxThread::msMainThreadID, pthread_self());
    EXPECT_EQ(KxThread::GetCurrentId(), pthread_self());
    EXPECT_TRUE(KxThread::IsMainThread());
    bool elsewhere = true;
    std::thread([&] { elsewhere = KxThread::IsMainThread(); }).join();
    EXPECT_FALSE(elsewhere);
    KxThread::msMainThreadID = pthread_t();
}

TEST(KxThreadIdentity, AnyThreadMayBeMadeTheMainOne)
{
    bool inside = false;
    std::thread([&] {
        KxThread::Initialize();
        inside = KxThread::IsMainThread();
    }).join();
    EXPECT_TRUE(inside);
    EXPECT_FALSE(KxThread::IsMainThread());
    KxThread::msMainThreadID = pthread_t();
}
