// How the module's manager comes and goes.
#include "hslog/HSLLogManager.h"

#include "BareManager.h"
#include "hslog/HSLLogContext.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

using HSL::CLogContext;
using HSL::CLogManager;

namespace {

using Events = std::vector<std::string>;

Events* gEvents = nullptr;

void observedFree(void* block, int)
{
    gEvents->push_back("free ring");
    std::free(block);
}

// Tells when it is destroyed.
struct ObservedManager : CLogManager {
    explicit ObservedManager(int& destroyed)
        : mDestroyed(destroyed)
    {
    }
    ~ObservedManager() override
    {
        ++mDestroyed;
        EXPECT_EQ(CLogManager::Instance(), mExpectedInstance);
    }
    int& mDestroyed;
    CLogManager* mExpectedInstance = this;
};

// A module in which the collection thread runs only when it is joined.
class CLogManagerLifecycle : public testing::Test {
protected:
    CLogManagerLifecycle()
        : mThread(mHooks)
    {
    }

    CleanModule mModule;
    Interposed mHooks;
    HeldCollectionThread mThread;
};

} // namespace

TEST_F(CLogManagerLifecycle, ModuleStartsWithoutAManager)
{
    EXPECT_EQ(CLogManager::msThis, nullptr);
    EXPECT_FALSE(CLogManager::msAdopted);
    EXPECT_FALSE(CLogManager::IsInitialized());
    EXPECT_EQ(CLogManager::Instance(), nullptr);
}

TEST_F(CLogManagerLifecycle, InitializeMakesAManagerThatTheModuleOwns)
{
    CLogManager::Initialize();
    EXPECT_TRUE(CLogManager::IsInitialized());
    EXPECT_NE(CLogManager::msThis, nullptr);
    EXPECT_EQ(CLogManager::Instance(), CLogManager::msThis);
    EXPECT_FALSE(CLogManager::msAdopted);
    EXPECT_FALSE(CLogManager::IsEnabled());
    CLogManager::Cleanup();
}

TEST_F(CLogManagerLifecycle, InitializeStartsOneThreadAfterTheLevelsAreNamedAndBeforeAnyContext)
{
    mThread.mOnCreate = [] {
        ASSERT_NE(CLogManager::Instance(), nullptr);
        EXPECT_EQ(CLogManager::Instance()->mCategoryNames[0], "Ultra Verbose");
        EXPECT_EQ(CLogManager::Instance()->mCategoryNames[6], "Catastrophy");
        EXPECT_TRUE(CLogManager::Instance()->mContexts.empty());
    };
    CLogManager::Initialize();
    EXPECT_EQ(mThread.mCreated, 1);
    CLogManager::Cleanup();
}

TEST_F(CLogManagerLifecycle, InitializeNamesTheCallersContextMain)
{
    CLogManager::Initialize();
    CLogManager* manager = CLogManager::Instance();
    ASSERT_EQ(manager->mTLSContexts.size(), 1u);
    EXPECT_EQ(manager->GetTLSContext(), manager->mTLSContexts[0]);
    EXPECT_EQ(manager->GetTLSContext()->mName, "Main");
    CLogManager::Cleanup();
}

TEST_F(CLogManagerLifecycle, SecondInitializeKeepsTheManagerAndItsThread)
{
    CLogManager::Initialize();
    CLogManager* const first = CLogManager::Instance();
    first->GetTLSContext()->SetName("renamed");
    CLogManager::Initialize();
    EXPECT_EQ(CLogManager::Instance(), first);
    EXPECT_EQ(mThread.mCreated, 1);
    EXPECT_EQ(first->GetTLSContext()->mName, "renamed");
    EXPECT_EQ(first->mContexts.size(), 1u);
    CLogManager::Cleanup();
}

TEST_F(CLogManagerLifecycle, SecondInitializeMakesNoContextForItsCaller)
{
    CLogManager::Initialize();
    std::thread([] { CLogManager::Initialize(); }).join();
    EXPECT_EQ(CLogManager::Instance()->mContexts.size(), 1u);
    CLogManager::Cleanup();
}

TEST_F(CLogManagerLifecycle, InitializeDoesNothingBesideAnAdoptedManager)
{
    CLogManager other;
    CLogManager::Initialize(&other);
    CLogManager::Initialize();
    EXPECT_EQ(CLogManager::Instance(), &other);
    EXPECT_EQ(mThread.mCreated, 0);
    EXPECT_TRUE(other.mContexts.empty());
    EXPECT_EQ(other.mCategoryNames[0], "");
}

TEST_F(CLogManagerLifecycle, AdoptedManagerIsSetAndNoThreadStarted)
{
    CLogManager other;
    CLogManager::Initialize(&other);
    EXPECT_TRUE(CLogManager::msAdopted);
    EXPECT_TRUE(CLogManager::IsInitialized());
    EXPECT_EQ(CLogManager::Instance(), &other);
    EXPECT_EQ(mThread.mCreated, 0);
    EXPECT_TRUE(other.mContexts.empty());
}

TEST_F(CLogManagerLifecycle, AdoptionOverwritesAnAdoptedManager)
{
    CLogManager first;
    CLogManager second;
    CLogManager::Initialize(&first);
    CLogManager::Initialize(&second);
    EXPECT_EQ(CLogManager::Instance(), &second);
}

TEST_F(CLogManagerLifecycle, AdoptionOverwritesAnOwnedManagerAndDoesNotFreeIt)
{
    int destroyed = 0;
    auto owned = std::make_unique<ObservedManager>(destroyed);
    CLogManager::msThis = owned.get();
    CLogManager other;
    CLogManager::Initialize(&other);
    EXPECT_EQ(CLogManager::Instance(), &other);
    EXPECT_EQ(destroyed, 0);
    owned->mExpectedInstance = &other;
}

TEST_F(CLogManagerLifecycle, AdoptingNullForgetsTheManager)
{
    CLogManager::Initialize(nullptr);
    EXPECT_TRUE(CLogManager::msAdopted);
    EXPECT_FALSE(CLogManager::IsInitialized());
}

TEST_F(CLogManagerLifecycle, CleanupDeletesTheOwnedManagerThroughItsVirtualDestructor)
{
    int destroyed = 0;
    CLogManager::msThis = new ObservedManager(destroyed);
    CLogManager::Cleanup();
    EXPECT_EQ(destroyed, 1);
    EXPECT_EQ(CLogManager::msThis, nullptr);
}

TEST_F(CLogManagerLifecycle, CleanupForgetsAnAdoptedManagerAndLeavesItAlive)
{
    int destroyed = 0;
    ObservedManager other(destroyed);
    CLogManager::Initialize(&other);
    CLogManager::Cleanup();
    EXPECT_EQ(destroyed, 0);
    EXPECT_FALSE(CLogManager::IsInitialized());
    EXPECT_EQ(other.AddFormatString("alive"), 0);
    other.mExpectedInstance = nullptr;
}

TEST_F(CLogManagerLifecycle, CleanupWithoutAManagerDoesNothing)
{
    CLogManager::Cleanup();
    EXPECT_FALSE(CLogManager::IsInitialized());
    EXPECT_EQ(mThread.mJoined, 0);
}

TEST_F(CLogManagerLifecycle, SecondCleanupDoesNothing)
{
    CLogManager::Initialize();
    CLogManager::Cleanup();
    CLogManager::Cleanup();
    EXPECT_EQ(mThread.mJoined, 1);
}

TEST_F(CLogManagerLifecycle, ModuleRemembersForEverThatItAdopted)
{
    CLogManager other;
    CLogManager::Initialize(&other);
    CLogManager::Cleanup();
    EXPECT_TRUE(CLogManager::msAdopted);
}

// The module cannot tell the new manager from the one it adopted once.
TEST_F(CLogManagerLifecycle, ManagerMadeAfterAnAdoptionIsLeftBehindByCleanup)
{
    CLogManager other;
    CLogManager::Initialize(&other);
    CLogManager::Cleanup();
    CLogManager::Initialize();
    CLogManager* const made = CLogManager::Instance();
    ASSERT_NE(made, nullptr);
    ASSERT_NE(made, &other);
    CLogManager::Cleanup();
    EXPECT_FALSE(CLogManager::IsInitialized());
    ASSERT_EQ(mThread.mJoined, 0);
    EXPECT_EQ(made->mContexts.size(), 1u);
    EXPECT_FALSE(made->mShutdown);

    CLogManager::msThis = made;
    CLogManager::msAdopted = false;
    CLogManager::Cleanup();
    EXPECT_EQ(mThread.mJoined, 1);
}

TEST_F(CLogManagerLifecycle, InitializeWorksAgainAfterCleanup)
{
    CLogManager::Initialize();
    CLogManager::Cleanup();
    CLogManager::Initialize();
    EXPECT_TRUE(CLogManager::IsInitialized());
    EXPECT_EQ(mThread.mCreated, 2);
    EXPECT_EQ(CLogManager::Instance()->GetTLSContext()->mName, "Main");
    EXPECT_EQ(CLogManager::Instance()->mSequence, 0);
    CLogManager::Cleanup();
}

TEST_F(CLogManagerLifecycle, DestructorWorksInItsOrder)
{
    CLogManager::Initialize();
    CLogManager& manager = *CLogManager::Instance();
    manager.SetEnable(true);
    manager.AddFormatString("format");
    Events events;
    gEvents = &events;
    manager.AdoptTLSContext(new CLogContext("adopted", 8192, CLogContext::MallocFunc, observedFree));

    const pthread_mutex_t* const lock = MutexOf(manager);
    const pthread_t destroyer = pthread_self();
    const auto note = [&](const pthread_mutex_t* mutex, const char* event) {
        if (mutex == lock && pthread_self() == destroyer) {
            events.push_back(event);
        }
    };
    mHooks.mutexLock = [&](pthread_mutex_t* mutex) {
        if (events.empty()) {
            EXPECT_FALSE(manager.mEnabled);
            EXPECT_FALSE(manager.mShutdown);
        }
        note(mutex, "lock");
        return __real_pthread_mutex_lock(mutex);
    };
    mHooks.mutexUnlock = [&](pthread_mutex_t* mutex) {
        note(mutex, "unlock");
        return __real_pthread_mutex_unlock(mutex);
    };
    mHooks.mutexDestroy = [&](pthread_mutex_t* mutex) {
        note(mutex, "destroy lock");
        return __real_pthread_mutex_destroy(mutex);
    };
    mThread.mOnJoin = [&] {
        events.push_back("join");
        EXPECT_TRUE(manager.mShutdown);
        EXPECT_EQ(manager.mTLSContexts.size(), 2u);
    };
    mHooks.setspecific = [&](pthread_key_t key, const void* value) {
        if (value == nullptr && pthread_self() == destroyer) {
            events.push_back("clear slot");
            EXPECT_EQ(manager.mCategoryNames, std::vector<std::string>(256));
            EXPECT_TRUE(manager.mFormatStrings.empty());
            EXPECT_TRUE(manager.mTLSContexts.empty());
            EXPECT_TRUE(manager.mContexts.empty());
        }
        return __real_pthread_setspecific(key, value);
    };
    mHooks.keyDelete = [&](pthread_key_t key) {
        events.push_back("delete key");
        return __real_pthread_key_delete(key);
    };
    CLogManager::Cleanup();
    // The inner pairs are the contexts' own, as they unregister themselves: "Main" first, then "adopted".
    EXPECT_EQ(events,
              (Events { "lock", "unlock", "join", "lock", "lock", "unlock", "lock", "unlock", "free ring",
                        "unlock", "clear slot", "delete key", "destroy lock" }));
}

TEST_F(CLogManagerLifecycle, ManagerThatNeverHadAThreadCanBeDeleted)
{
    delete new CLogManager;
    EXPECT_EQ(mThread.mJoined, 0);
}

TEST_F(CLogManagerLifecycle, ManagerBesideTheOneInForceCanBeDeletedAfterUse)
{
    CLogManager* const other = new CLogManager;
    other->AddFormatString("x");
    other->SetCategoryName(9, "name");
    delete other;
    EXPECT_FALSE(CLogManager::IsInitialized());
}

TEST(CLogManagerThread, CollectionThreadRunsFromInitializeToCleanup)
{
    const CleanModule module;
    const SavedCallbacks saved;
    static std::atomic<int> lines;
    lines = 0;
    CLogManager::Initialize();
    CLogManager* manager = CLogManager::Instance();
    manager->SetOutputCallback([](const char*) { ++lines; });
    manager->SetFilterValue(3, true);
    manager->GetTLSContext()->Log(HSL::CCat(3), "one");
    while (lines == 0) {
        std::this_thread::yield();
    }
    manager->GetTLSContext()->Log(HSL::CCat(3), "two");
    CLogManager::Cleanup();
    EXPECT_EQ(lines, 2);
}
