// Which of the manager's operations take its lock.
#include "hslog/HSLLogManager.h"

#include "BareManager.h"
#include "hslog/HSLLogContext.h"

#include <gtest/gtest.h>

#include <functional>

using HSL::CLogManager;

namespace {

// How often `operation` takes and releases the manager's lock.
struct LockUse {
    int locks = 0;
    int unlocks = 0;
    int deepest = 0;
};

bool operator==(const LockUse& a, const LockUse& b)
{
    return a.locks == b.locks && a.unlocks == b.unlocks && a.deepest == b.deepest;
}

std::ostream& operator<<(std::ostream& out, const LockUse& use)
{
    return out << use.locks << " locks, " << use.unlocks << " unlocks, " << use.deepest << " deep";
}

const LockUse kOnce = { 1, 1, 1 };
const LockUse kNever = { 0, 0, 0 };

LockUse lockUseOf(CLogManager& manager, const std::function<void()>& operation)
{
    LockUse use;
    int depth = 0;
    Interposed hooks;
    hooks.mutexLock = [&](pthread_mutex_t* mutex) {
        if (mutex == MutexOf(manager)) {
            ++use.locks;
            ++depth;
            use.deepest = depth > use.deepest ? depth : use.deepest;
        }
        return __real_pthread_mutex_lock(mutex);
    };
    hooks.mutexUnlock = [&](pthread_mutex_t* mutex) {
        if (mutex == MutexOf(manager)) {
            ++use.unlocks;
            --depth;
        }
        return __real_pthread_mutex_unlock(mutex);
    };
    operation();
    return use;
}

class LockUseTest : public testing::Test {
protected:
    LockUse Of(const std::function<void()>& operation) { return lockUseOf(*mManager, operation); }

    BareManager mManager;
};

} // namespace

using CLogManagerLock = LockUseTest;

TEST_F(CLogManagerLock, ContextListsAreEditedUnderTheLock)
{
    EXPECT_EQ(Of([&] { mManager->AddContext(nullptr); }), kOnce);
    EXPECT_EQ(Of([&] { mManager->RemoveContext(nullptr); }), kOnce);
    EXPECT_EQ(Of([&] { mManager->AdoptTLSContext(nullptr); }), kOnce);
}

TEST_F(CLogManagerLock, FormatStringsAreAddedUnderTheLock)
{
    EXPECT_EQ(Of([&] { mManager->AddFormatString("narrow"); }), kOnce);
    EXPECT_EQ(Of([&] { mManager->AddFormatString(L"wide"); }), kOnce);
}

TEST_F(CLogManagerLock, CollectionPassTakesTheLockOnce)
{
    EXPECT_EQ(Of([&] { mManager->Collect(); }), kOnce);
}

TEST_F(CLogManagerLock, NewThreadContextIsRegisteredAndAdoptedUnderTheLock)
{
    EXPECT_EQ(Of([&] { mManager->GetTLSContext(); }), (LockUse { 2, 2, 1 }));
}

TEST_F(CLogManagerLock, KnownThreadContextNeedsNoLock)
{
    mManager->GetTLSContext();
    EXPECT_EQ(Of([&] { mManager->GetTLSContext(); }), kNever);
}

// The second time is the context's own, when it unregisters itself after the lock was released.
TEST_F(CLogManagerLock, CleanupOfAThreadContextHoldsTheLockForTheListEditOnly)
{
    mManager->GetTLSContext();
    EXPECT_EQ(Of([&] { mManager->CleanupTLSContext(); }), (LockUse { 2, 2, 1 }));
}

TEST_F(CLogManagerLock, CleanupOfAThreadWithoutContextNeedsNoLock)
{
    EXPECT_EQ(Of([&] { mManager->CleanupTLSContext(); }), kNever);
}

TEST_F(CLogManagerLock, SettingsNeedNoLock)
{
    SavedCallbacks saved;
    const unsigned char cat = 3;
    EXPECT_EQ(Of([&] {
                  mManager->SetEnable(true);
                  mManager->SetFilterValue(3, true);
                  mManager->PassesFilter(1, &cat);
                  mManager->SetCategoryName(3, "name");
                  mManager->RegisterCategoryRange(20, 99);
                  mManager->SetStructuredOutputCallback(nullptr);
                  mManager->SetOutputCallback(nullptr);
                  CLogManager::IsEnabled();
              }),
              kNever);
}

// In the destructor each context takes the lock that is held already.
TEST_F(CLogManagerLock, OwningThreadMayTakeItAgain)
{
    EXPECT_EQ(Of([&] {
                  mManager->mLock.Lock();
                  mManager->GetTLSContext()->SetName("renamed");
                  mManager->AddFormatString("x");
                  mManager->CleanupTLSContext();
                  mManager->mLock.Unlock();
              }),
              (LockUse { 7, 7, 2 }));
    EXPECT_EQ(LockCountOf(*mManager), 0);
}
