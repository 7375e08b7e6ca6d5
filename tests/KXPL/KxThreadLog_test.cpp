// What becomes of a thread's log context at its end.
#include "KxThread.h"

#include "FunctionThread.h"
#include "Interpose.h"
#include "hslog/HSL.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <thread>
#include <vector>

namespace {

bool holds(const std::vector<HSL::CLogContext*>& contexts, const HSL::CLogContext* context)
{
    KxLockGuard guard(HSL::LogManager()->mLock);
    return std::find(contexts.begin(), contexts.end(), context) != contexts.end();
}

bool isRegistered(const HSL::CLogContext* context)
{
    return holds(HSL::LogManager()->mContexts, context);
}

bool isOwned(const HSL::CLogContext* context)
{
    return holds(HSL::LogManager()->mTLSContexts, context);
}

class KxThreadLog : public testing::Test {
protected:
    // Before the manager, whose collection thread calls what is hooked.
    Interposed mHooks;

    void SetUp() override { HSL::CLogManager::Initialize(); }
    void TearDown() override { HSL::CLogManager::Cleanup(); }
};

} // namespace

TEST_F(KxThreadLog, ContextIsReleasedWhenTheThreadEnds)
{
    HSL::CLogContext* context = nullptr;
    bool registered = false;
    bool owned = false;
    FunctionThread thread([&] {
        context = HSL::LogManager()->GetTLSContext();
        registered = isRegistered(context);
        owned = isOwned(context);
    });
    thread.runToEnd();
    EXPECT_TRUE(registered);
    EXPECT_TRUE(owned);
    EXPECT_FALSE(isRegistered(context));
    EXPECT_FALSE(isOwned(context));
}

TEST_F(KxThreadLog, OtherThreadsKeepTheirContexts)
{
    HSL::CLogContext* const own = HSL::LogManager()->GetTLSContext();
    FunctionThread thread([] { HSL::LogManager()->GetTLSContext(); });
    thread.runToEnd();
    EXPECT_TRUE(isRegistered(own));
    EXPECT_EQ(HSL::LogManager()->GetTLSContext(), own);
    EXPECT_EQ(own->mName, "Main");
}

TEST_F(KxThreadLog, ThreadThatNeverLoggedEndsWithoutAContext)
{
    FunctionThread thread;
    thread.runToEnd();
    KxLockGuard guard(HSL::LogManager()->mLock);
    EXPECT_EQ(HSL::LogManager()->mContexts.size(), 1u);
}

TEST_F(KxThreadLog, ContextIsReleasedWithoutAThreadObjectToo)
{
    HSL::CLogContext* context = nullptr;
    std::thread([&] {
        context = HSL::LogManager()->GetTLSContext();
        KxThread::ThreadStart(nullptr);
    }).join();
    EXPECT_FALSE(isRegistered(context));
    EXPECT_FALSE(isOwned(context));
}

TEST(KxThreadLogOrder, ThreadCountsAsEndedBeforeItsContextIsReleased)
{
    std::vector<bool> runningAtRelease;
    std::unique_ptr<FunctionThread> thread;
    Interposed hooks;
    hooks.setspecific = [&](pthread_key_t key, const void* value) {
        if (value == nullptr && thread != nullptr && pthread_equal(pthread_self(), thread->GetId()) != 0) {
            runningAtRelease.push_back(thread->mPlatformData->mIsRunning);
        }
        return __real_pthread_setspecific(key, value);
    };
    HSL::CLogManager::Initialize();
    thread = std::make_unique<FunctionThread>([] { HSL::LogManager()->GetTLSContext(); });
    thread->runToEnd();
    HSL::CLogManager::Cleanup();
    thread.reset();
    EXPECT_EQ(runningAtRelease, (std::vector<bool> { false }));
}

TEST(KxThreadLogOrder, ThreadEndsWithoutAManagerToo)
{
    bool ran = false;
    FunctionThread thread([&] { ran = true; });
    thread.Start();
    EXPECT_EQ(thread.WaitForExit(), 0);
    EXPECT_TRUE(ran);
    EXPECT_FALSE(HSL::CLogManager::IsInitialized());
}
