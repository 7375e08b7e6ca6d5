// The contexts that the manager makes for threads, and those of the host.
#include "hslog/HSLLogManager.h"

#include "BareManager.h"
#include "ByteRing.h"
#include "hslog/HSLLogContext.h"

#include "KxThread.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <vector>

using HSL::CLogContext;
using HSL::CLogManager;

namespace {

using Contexts = std::vector<CLogContext*>;

std::unique_ptr<CLogContext> makeContext(const char* name = "host's")
{
    return std::make_unique<CLogContext>(name, 8192, CLogContext::MallocFunc, CLogContext::FreeFunc);
}

std::string ownThreadsName()
{
    char name[64];
    std::snprintf(name, sizeof name, "TID %llu", (unsigned long long)(std::uintptr_t)pthread_self());
    return name;
}

// Called by the ring of the context under test when that context is destroyed.
std::function<void()> gOnFree;
int gFreed = 0;

void observedFree(void* block, int)
{
    ++gFreed;
    if (gOnFree) {
        gOnFree();
    }
    std::free(block);
}

CLogContext* newObservedContext()
{
    gFreed = 0;
    return new CLogContext("observed", 8192, CLogContext::MallocFunc, observedFree);
}

struct WorkingThread : KxThread {
    explicit WorkingThread(std::function<void()> work)
        : mWork(std::move(work))
    {
    }
    void Run() override { mWork(); }
    std::function<void()> mWork;
};

} // namespace

TEST(CLogManagerContexts, FirstAskIsNamedByTheThreadsNumber)
{
    BareManager manager;
    EXPECT_EQ(manager->GetTLSContext()->mName, ownThreadsName());
}

TEST(CLogManagerContexts, SameThreadGetsTheSameContext)
{
    BareManager manager;
    CLogContext* context = manager->GetTLSContext();
    EXPECT_EQ(manager->GetTLSContext(), context);
    EXPECT_EQ(manager->mTLSContext.Get(), context);
    EXPECT_EQ(manager->mContexts.size(), 1u);
}

TEST(CLogManagerContexts, ThreadContextIsRegisteredAndOwned)
{
    BareManager manager;
    CLogContext* context = manager->GetTLSContext();
    EXPECT_EQ(manager->mContexts, Contexts { context });
    EXPECT_EQ(manager->mTLSContexts, Contexts { context });
}

TEST(CLogManagerContexts, NewThreadGetsANewContextOfItsOwnName)
{
    BareManager manager;
    CLogContext* const first = manager->GetTLSContext();
    CLogContext* second = nullptr;
    std::string name;
    std::thread([&] {
        second = manager->GetTLSContext();
        name = ownThreadsName();
    }).join();
    EXPECT_NE(second, first);
    EXPECT_EQ(second->mName, name);
    EXPECT_EQ(manager->mContexts, (Contexts { first, second }));
    EXPECT_EQ(manager->mTLSContexts, (Contexts { first, second }));
    EXPECT_EQ(manager->GetTLSContext(), first);
}

TEST(CLogManagerContexts, ThreadContextHas256KiBAndTheContextsMemoryFunctions)
{
    BareManager manager;
    const cb_control* control = manager->GetTLSContext()->mBuffer->mControl;
    EXPECT_EQ(control->num_elem, 262144u);
    EXPECT_EQ(control->malloc_func, CLogContext::MallocFunc);
    EXPECT_EQ(control->free_func, CLogContext::FreeFunc);
}

TEST(CLogManagerContexts, DefaultSizeOfTheHostIsHonoured)
{
    BareManager manager;
    manager->mDefaultContextSize = 10000;
    const CLogContext* context = manager->GetTLSContext();
    EXPECT_EQ(context->mBuffer->mControl->num_elem, 10000u);
    EXPECT_EQ(context->mHighWater, 5904);
}

// In a module that adopted a manager, a context asked of another one belongs to the adopted one.
TEST(CLogManagerContexts, ContextIsMadeForTheManagerInForceThoughAnotherIsAsked)
{
    CLogManager asked;
    asked.mDefaultContextSize = 10000;
    BareManager inForce;
    inForce->mDefaultContextSize = 20000;
    CLogContext* context = asked.GetTLSContext();
    EXPECT_EQ(context->mBuffer->mControl->num_elem, 20000u);
    EXPECT_EQ(inForce->mContexts, Contexts { context });
    EXPECT_EQ(inForce->mTLSContexts, Contexts { context });
    EXPECT_TRUE(asked.mContexts.empty());
    EXPECT_TRUE(asked.mTLSContexts.empty());
}

TEST(CLogManagerContexts, SlotIsThatOfTheManagerAsked)
{
    CLogManager asked;
    BareManager inForce;
    CLogContext* context = asked.GetTLSContext();
    EXPECT_EQ(asked.mTLSContext.Get(), context);
    EXPECT_EQ(inForce->mTLSContext.Get(), nullptr);
    EXPECT_EQ(asked.GetTLSContext(), context);
    EXPECT_NE(inForce->GetTLSContext(), context);
    EXPECT_EQ(inForce->mTLSContexts.size(), 2u);
}

TEST(CLogManagerContexts, AddContextAppends)
{
    BareManager manager;
    const auto a = makeContext();
    const auto b = makeContext();
    manager->AddContext(a.get());
    EXPECT_EQ(manager->mContexts, (Contexts { a.get(), b.get(), a.get() }));
    EXPECT_TRUE(manager->mTLSContexts.empty());
}

TEST(CLogManagerContexts, RemoveContextTakesEveryOccurrenceAndKeepsTheOrder)
{
    BareManager manager;
    const auto a = makeContext();
    const auto b = makeContext();
    const auto c = makeContext();
    manager->AddContext(b.get());
    manager->AddContext(a.get());
    ASSERT_EQ(manager->mContexts, (Contexts { a.get(), b.get(), c.get(), b.get(), a.get() }));
    manager->RemoveContext(b.get());
    EXPECT_EQ(manager->mContexts, (Contexts { a.get(), c.get(), a.get() }));
}

TEST(CLogManagerContexts, RemoveContextOfAStrangerChangesNothing)
{
    BareManager manager;
    const auto a = makeContext();
    manager->RemoveContext(nullptr);
    EXPECT_EQ(manager->mContexts, Contexts { a.get() });
}

TEST(CLogManagerContexts, RemoveContextLeavesTheOwnersListAlone)
{
    BareManager manager;
    CLogContext* context = manager->GetTLSContext();
    manager->RemoveContext(context);
    EXPECT_TRUE(manager->mContexts.empty());
    EXPECT_EQ(manager->mTLSContexts, Contexts { context });
}

TEST(CLogManagerContexts, AdoptedContextIsOwnedButNotInTheSlot)
{
    BareManager manager;
    CLogContext* context = makeContext().release();
    manager->AdoptTLSContext(context);
    EXPECT_EQ(manager->mTLSContexts, Contexts { context });
    EXPECT_EQ(manager->mContexts, Contexts { context });
    EXPECT_EQ(manager->mTLSContext.Get(), nullptr);
}

TEST(CLogManagerContexts, CleanupTakesTheContextOffBothListsAndClearsTheSlot)
{
    BareManager manager;
    const auto other = makeContext();
    manager->GetTLSContext();
    manager->CleanupTLSContext();
    EXPECT_TRUE(manager->mTLSContexts.empty());
    EXPECT_EQ(manager->mContexts, Contexts { other.get() });
    EXPECT_EQ(manager->mTLSContext.Get(), nullptr);
}

TEST(CLogManagerContexts, CleanupDeletesTheContext)
{
    BareManager manager;
    CLogContext* context = newObservedContext();
    manager->AdoptTLSContext(context);
    manager->mTLSContext.Set(context);
    manager->CleanupTLSContext();
    EXPECT_EQ(gFreed, 1);
}

TEST(CLogManagerContexts, CleanupDeletesBetweenTheListEditAndTheClearingOfTheSlot)
{
    BareManager manager;
    CLogContext* context = newObservedContext();
    manager->AdoptTLSContext(context);
    manager->mTLSContext.Set(context);
    gOnFree = [&] {
        EXPECT_TRUE(manager->mTLSContexts.empty());
        EXPECT_TRUE(manager->mContexts.empty());
        EXPECT_EQ(LockCountOf(*manager), 0);
        EXPECT_EQ(manager->mTLSContext.Get(), context);
    };
    manager->CleanupTLSContext();
    gOnFree = nullptr;
    EXPECT_EQ(gFreed, 1);
    EXPECT_EQ(manager->mTLSContext.Get(), nullptr);
}

TEST(CLogManagerContexts, CleanupWithoutAContextDoesNothing)
{
    BareManager manager;
    const auto other = makeContext();
    manager->AdoptTLSContext(other.get());
    manager->CleanupTLSContext();
    EXPECT_EQ(manager->mTLSContexts, Contexts { other.get() });
    EXPECT_EQ(manager->mContexts, Contexts { other.get() });
    manager->mTLSContexts.clear();
}

TEST(CLogManagerContexts, CleanupLeavesTheContextsOfOtherThreads)
{
    BareManager manager;
    CLogContext* const mine = manager->GetTLSContext();
    std::thread([&] {
        manager->GetTLSContext();
        manager->CleanupTLSContext();
    }).join();
    EXPECT_EQ(manager->mTLSContexts, Contexts { mine });
    EXPECT_EQ(manager->GetTLSContext(), mine);
}

TEST(CLogManagerContexts, AskAfterCleanupMakesANewContext)
{
    BareManager manager;
    manager->GetTLSContext();
    manager->CleanupTLSContext();
    CLogContext* context = manager->GetTLSContext();
    ASSERT_NE(context, nullptr);
    EXPECT_EQ(manager->mTLSContexts, Contexts { context });
}

TEST(CLogManagerContexts, ThreadObjectThatEndsReleasesItsContext)
{
    BareManager manager;
    std::size_t during = 0;
    WorkingThread thread([&] {
        manager->GetTLSContext();
        during = manager->mTLSContexts.size();
    });
    thread.Start();
    thread.WaitForExit();
    EXPECT_EQ(during, 1u);
    EXPECT_TRUE(manager->mTLSContexts.empty());
    EXPECT_TRUE(manager->mContexts.empty());
}

TEST(CLogManagerContexts, PlainThreadThatEndsLeavesItsContextToTheManager)
{
    BareManager manager;
    std::thread([&] { manager->GetTLSContext(); }).join();
    EXPECT_EQ(manager->mTLSContexts.size(), 1u);
}

TEST(CLogManagerContexts, DestructorDeletesOwnedContextsAndForgetsTheOthers)
{
    BareManager manager;
    const std::unique_ptr<CLogContext> hosts(newObservedContext());
    manager->AdoptTLSContext(new CLogContext("adopted", 8192, CLogContext::MallocFunc, observedFree));
    manager.Destroy();
    EXPECT_EQ(gFreed, 1);
    EXPECT_EQ(hosts->mName, "observed");
}

TEST(CLogManagerContexts, DestructorSkipsNullEntries)
{
    BareManager manager;
    newObservedContext();
    manager->AdoptTLSContext(nullptr);
    manager->AdoptTLSContext(manager->mContexts[0]);
    manager->AdoptTLSContext(nullptr);
    manager.Destroy();
    EXPECT_EQ(gFreed, 1);
}

TEST(CLogManagerContexts, DestructorDeletesContextsWithTheLockHeld)
{
    BareManager manager;
    manager->AdoptTLSContext(newObservedContext());
    gOnFree = [&] {
        EXPECT_EQ(LockCountOf(*manager), 1);
        EXPECT_TRUE(manager->mContexts.empty());
        EXPECT_EQ(manager->mTLSContexts.size(), 1u);
        EXPECT_TRUE(manager->mShutdown);
        EXPECT_FALSE(manager->mEnabled);
    };
    manager->SetEnable(true);
    manager.Destroy();
    gOnFree = nullptr;
    EXPECT_EQ(gFreed, 1);
}
