// Registration, destruction and naming of contexts.
#include "hslog/HSLLogContext.h"

#include "BareManager.h"
#include "ByteRing.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdlib>
#include <memory>
#include <new>
#include <thread>
#include <vector>

using HSL::CLogContext;
using HSL::CLogManager;

namespace {

// What the memory functions of the test saw.
std::size_t gContextsWhenAllocated = 0;
bool gRegisteredWhenFreed = false;
const CLogContext* gContext = nullptr;

bool isRegistered(const CLogContext* context)
{
    const std::vector<CLogContext*>& contexts = CLogManager::Instance()->mContexts;
    return std::find(contexts.begin(), contexts.end(), context) != contexts.end();
}

void* observedMalloc(int size)
{
    gContextsWhenAllocated = CLogManager::Instance()->mContexts.size();
    return std::malloc(static_cast<std::size_t>(size));
}

void observedFree(void* block, int)
{
    gRegisteredWhenFreed = isRegistered(gContext);
    std::free(block);
}

std::unique_ptr<CLogContext> makeContext(int size, const char* name = "context")
{
    return std::make_unique<CLogContext>(name, size, CLogContext::MallocFunc, CLogContext::FreeFunc);
}

} // namespace

TEST(CLogContextLifecycle, RegistersItselfAfterTheRingWasAllocated)
{
    BareManager manager;
    gContextsWhenAllocated = 99;
    CLogContext context("context", 5000, observedMalloc, observedFree);
    gContext = &context;
    EXPECT_EQ(gContextsWhenAllocated, 0u);
    ASSERT_EQ(manager->mContexts.size(), 1u);
    EXPECT_EQ(manager->mContexts[0], &context);
}

TEST(CLogContextLifecycle, WithoutAManagerItHasItsRingAndRecordsNothing)
{
    for (const int size : { 0, 5000 }) {
        CLogContext context("context", size, CLogContext::MallocFunc, CLogContext::FreeFunc);
        context.Log(HSL::CCat(3), "text %d", 1);
        EXPECT_EQ(context.mRecordCount, 0);
        EXPECT_EQ(cb_get_num_elem_used(context.mBuffer->mControl), 0u);
        EXPECT_EQ(context.mBuffer->mControl->num_elem, static_cast<unsigned int>(size));
    }
}

// From the moment of registration the collection thread may look at the context.
TEST(CLogContextLifecycle, IsCompleteWhenItTakesTheLockToRegisterItself)
{
    BareManager manager;
    alignas(CLogContext) static unsigned char memory[sizeof(CLogContext)];
    const CLogContext* unfinished = reinterpret_cast<const CLogContext*>(memory);
    int locks = 0;
    bool complete = false;
    Interposed hooks;
    hooks.mutexLock = [&](pthread_mutex_t* mutex) {
        if (mutex == MutexOf(*manager)) {
            ++locks;
            complete = unfinished->mBuffer != nullptr && unfinished->mBuffer->mControl != nullptr
                && unfinished->mBuffer->mControl->copy_func == CCircularBuffer::CopyFunc
                && unfinished->mRecordCount == 0 && unfinished->mName == "context" && !unfinished->mDropping
                && unfinished->mHighWater == 904 && unfinished->mLowWater == 3750;
        }
        return __real_pthread_mutex_lock(mutex);
    };
    CLogContext* context =
        new (memory) CLogContext("context", 5000, CLogContext::MallocFunc, CLogContext::FreeFunc);
    EXPECT_EQ(locks, 1);
    EXPECT_TRUE(complete);
    hooks.mutexLock = nullptr;
    context->~CLogContext();
}

TEST(CLogContextLifecycle, ContextsAreRegisteredInTheOrderOfTheirMaking)
{
    BareManager manager;
    const auto first = makeContext(5000);
    const auto second = makeContext(5000);
    EXPECT_EQ(manager->mContexts, (std::vector<CLogContext*> { first.get(), second.get() }));
}

TEST(CLogContextLifecycle, IsNotOwnedByTheManagerUnlessAdopted)
{
    BareManager manager;
    const auto context = makeContext(5000);
    EXPECT_TRUE(manager->mTLSContexts.empty());
}

TEST(CLogContextLifecycle, UnregistersItselfBeforeTheRingGoes)
{
    BareManager manager;
    auto context = std::make_unique<CLogContext>("context", 5000, observedMalloc, observedFree);
    gContext = context.get();
    gRegisteredWhenFreed = true;
    ASSERT_TRUE(isRegistered(gContext));
    context.reset();
    EXPECT_FALSE(gRegisteredWhenFreed);
    EXPECT_TRUE(manager->mContexts.empty());
}

TEST(CLogContextLifecycle, CanBeDeletedAfterItsManager)
{
    BareManager manager;
    auto context = makeContext(5000);
    manager.Destroy();
    context.reset();
    EXPECT_FALSE(CLogManager::IsInitialized());
}

TEST(CLogContextLifecycle, DestructorIsVirtual)
{
    struct Derived : CLogContext {
        explicit Derived(bool& gone)
            : CLogContext("derived", 5000, MallocFunc, FreeFunc)
            , mGone(gone)
        {
        }
        ~Derived() override { mGone = true; }
        bool& mGone;
    };
    BareManager manager;
    bool gone = false;
    CLogContext* context = new Derived(gone);
    delete context;
    EXPECT_TRUE(gone);
}

TEST(CLogContextLifecycle, SetNameCopiesTheName)
{
    BareManager manager;
    const auto context = makeContext(5000);
    char name[] = "renamed";
    context->SetName(name);
    name[0] = 'X';
    EXPECT_EQ(context->mName, "renamed");
}

TEST(CLogContextLifecycle, SetNameOfNullIsTheTextNull)
{
    BareManager manager;
    const auto context = makeContext(5000);
    context->SetName(nullptr);
    EXPECT_EQ(context->mName, "<NULL>");
}

TEST(CLogContextLifecycle, SetNameReleasesTheLock)
{
    BareManager manager;
    const auto context = makeContext(5000);
    context->SetName("renamed");
    EXPECT_EQ(LockCountOf(*manager), 0);
}

TEST(CLogContextLifecycle, SetNameWaitsForTheManagersLock)
{
    BareManager manager;
    const auto context = makeContext(5000, "before");
    std::atomic<bool> asked { false };
    std::atomic<bool> done { false };
    Interposed hooks;
    const pthread_t owner = pthread_self();
    hooks.mutexLock = [&](pthread_mutex_t* mutex) {
        if (mutex == MutexOf(*manager) && pthread_self() != owner) {
            asked = true;
        }
        return __real_pthread_mutex_lock(mutex);
    };
    manager->mLock.Lock();
    std::thread renaming([&] {
        context->SetName("after");
        done = true;
    });
    while (!asked && !done) {
        std::this_thread::yield();
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    EXPECT_TRUE(asked);
    EXPECT_FALSE(done);
    if (!done) {
        EXPECT_EQ(context->mName, "before");
    }
    manager->mLock.Unlock();
    renaming.join();
    EXPECT_EQ(context->mName, "after");
}

TEST(CLogContextLifecycle, SetNameTakesTheLockOfTheManagerInForce)
{
    BareManager manager;
    const auto context = makeContext(5000);
    CLogManager* const registered = &*manager;
    CLogManager other;
    CLogManager::msThis = &other;
    std::vector<const pthread_mutex_t*> locked;
    {
        Interposed hooks;
        hooks.mutexLock = [&](pthread_mutex_t* mutex) {
            locked.push_back(mutex);
            return __real_pthread_mutex_lock(mutex);
        };
        context->SetName("renamed");
    }
    EXPECT_EQ(locked, (std::vector<const pthread_mutex_t*> { MutexOf(other) }));
    CLogManager::msThis = registered;
}
