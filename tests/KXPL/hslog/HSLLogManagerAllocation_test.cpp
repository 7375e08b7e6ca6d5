// What the manager does when memory runs out.
#include "hslog/HSLLogManager.h"

#include "Allocations.h"
#include "BareManager.h"
#include "Interpose.h"
#include "hslog/HSL.h"

#include <gtest/gtest.h>

#include <functional>
#include <new>
#include <string>
#include <thread>
#include <vector>

using HSL::CLogContext;
using HSL::CLogManager;

namespace {

constexpr int kMoreThanAnyOperationNeeds = 50;

class CLogManagerAllocation : public testing::Test {
protected:
    // Fails the operation's first allocation, then its second and so on, until one run needs no more. Each
    // time the lock must be free again and `unchanged` hold. Returns the number of failures.
    int FailEveryAllocation(const std::function<void()>& operation, const std::function<bool()>& unchanged)
    {
        int failures = 0;
        for (; failures < kMoreThanAnyOperationNeeds; ++failures) {
            const Allocations::Watch watch;
            bool failed = false;
            Allocations::FailNewAfter(failures);
            try {
                operation();
            } catch (const std::bad_alloc&) {
                failed = true;
            }
            Allocations::CancelFailure();
            EXPECT_EQ(LockCountOf(*mManager), 0);
            if (!failed) {
                break;
            }
            EXPECT_TRUE(unchanged()) << "allocation " << failures;
            mManager->mContexts.shrink_to_fit();
            EXPECT_EQ(watch.Kept(), 0) << "allocation " << failures;
        }
        EXPECT_TRUE(IsLockFree());
        return failures;
    }

    bool IsLockFree()
    {
        bool isFree = false;
        std::thread([&] {
            isFree = mManager->mLock.TryLock();
            if (isFree) {
                mManager->mLock.Unlock();
            }
        }).join();
        return isFree;
    }

    BareManager mManager;
    const std::string mLong = std::string(100, 'x');
};

} // namespace

TEST_F(CLogManagerAllocation, NarrowFormatStringLeavesTheLockFreeAndTheTableAsItWas)
{
    EXPECT_GT(FailEveryAllocation([&] { mManager->AddFormatString(mLong.c_str()); },
                                  [&] { return mManager->mFormatStrings.empty(); }),
              1);
    EXPECT_EQ(mManager->AddFormatString("next"), 1);
}

TEST_F(CLogManagerAllocation, WideFormatStringLeavesTheLockFreeAndTheTableAsItWas)
{
    const std::wstring text(100, L'x');
    EXPECT_GT(FailEveryAllocation([&] { mManager->AddFormatString(text.c_str()); },
                                  [&] { return mManager->mFormatStrings.empty(); }),
              1);
    EXPECT_EQ(mManager->AddFormatString(L"next"), 1);
}

TEST_F(CLogManagerAllocation, AddContextLeavesTheLockFree)
{
    EXPECT_EQ(FailEveryAllocation([&] { mManager->AddContext(nullptr); },
                                  [&] { return mManager->mContexts.empty(); }),
              1);
    EXPECT_EQ(mManager->mContexts.size(), 1u);
}

TEST_F(CLogManagerAllocation, AdoptTLSContextLeavesTheLockFree)
{
    EXPECT_EQ(FailEveryAllocation([&] { mManager->AdoptTLSContext(nullptr); },
                                  [&] { return mManager->mTLSContexts.empty(); }),
              1);
    EXPECT_EQ(mManager->mTLSContexts.size(), 1u);
}

TEST_F(CLogManagerAllocation, SetNameLeavesTheLockFreeAndTheNameAsItWas)
{
    CLogContext context("before", 8192, CLogContext::MallocFunc, CLogContext::FreeFunc);
    EXPECT_EQ(
        FailEveryAllocation([&] { context.SetName(mLong.c_str()); }, [&] { return context.mName == "before"; }),
        1);
    EXPECT_EQ(context.mName, mLong);
}

TEST_F(CLogManagerAllocation, ThreadContextThatCannotBeMadeLeavesNothingBehind)
{
    EXPECT_GE(FailEveryAllocation([&] { mManager->GetTLSContext(); },
                                  [&] {
                                      return mManager->mContexts.empty() && mManager->mTLSContexts.empty()
                                          && mManager->mTLSContext.Get() == nullptr;
                                  }),
              4);
    EXPECT_EQ(mManager->mTLSContexts.size(), 1u);
}

TEST_F(CLogManagerAllocation, HostsContextThatCannotBeMadeLeavesNothingBehind)
{
    CLogContext* context = nullptr;
    EXPECT_GE(FailEveryAllocation(
                  [&] {
                      context =
                          new CLogContext(mLong.c_str(), 8192, CLogContext::MallocFunc, CLogContext::FreeFunc);
                  },
                  [&] { return mManager->mContexts.empty(); }),
              4);
    delete context;
}

TEST_F(CLogManagerAllocation, CollectionPassLeavesTheLockFreeAndTheRecordsForTheNextOne)
{
    SavedCallbacks saved;
    static int lines;
    lines = 0;
    mManager->SetOutputCallback([](const char*) { ++lines; });
    mManager->SetFilterValue(3, true);
    mManager->GetTLSContext()->Log(HSL::CCat(3), "message");
    Allocations::FailNewAfter(0);
    EXPECT_THROW(mManager->Collect(), std::bad_alloc);
    EXPECT_EQ(LockCountOf(*mManager), 0);
    EXPECT_TRUE(IsLockFree());
    EXPECT_EQ(mManager->GetTLSContext()->mRecordCount, 1);
    mManager->Collect();
    EXPECT_EQ(lines, 1);
}

TEST_F(CLogManagerAllocation, ManagerThatCannotBeMadeLeavesNothingBehind)
{
    CLogManager* made = nullptr;
    EXPECT_GE(FailEveryAllocation([&] { made = new CLogManager; }, [] { return true; }), 3);
    delete made;
}

// A failure anywhere in a pass is the end of that pass only.
TEST_F(CLogManagerAllocation, PassThatRunsOutOfMemoryAnywhereLeavesTheLockFreeAndLaterOnesGoOn)
{
    SavedCallbacks saved;
    static std::vector<std::string>* lines;
    std::vector<std::string> seen;
    lines = &seen;
    mManager->SetFilterValue(3, true);
    CLogContext* first = mManager->GetTLSContext();
    CLogContext second("second", 65536, CLogContext::MallocFunc, CLogContext::FreeFunc);
    int failures = 0;
    for (; failures < kMoreThanAnyOperationNeeds; ++failures) {
        // Nothing is kept of what the callback is given, so that only the pass allocates.
        mManager->SetOutputCallback([](const char*) {});
        first->Log(HSL::CCat(3), "%s and %s", mLong.c_str(), mLong.c_str());
        second.Log(HSL::CCat(3), mLong.c_str());
        const Allocations::Watch watch;
        bool failed = false;
        Allocations::FailNewAfter(failures);
        try {
            mManager->Collect();
        } catch (const std::bad_alloc&) {
            failed = true;
        }
        Allocations::CancelFailure();
        EXPECT_EQ(LockCountOf(*mManager), 0);
        EXPECT_EQ(watch.Kept(), 0) << "allocation " << failures;
        // What the failed pass left behind comes out or is skipped; then everything is as before.
        mManager->Collect();
        mManager->SetOutputCallback([](const char* line) { lines->push_back(line); });
        first->Log(HSL::CCat(3), "next %d", failures);
        mManager->Collect();
        ASSERT_EQ(seen.size(), static_cast<std::size_t>(failures) + 1) << "allocation " << failures;
        EXPECT_NE(seen.back().find("next " + std::to_string(failures) + "\n"), std::string::npos)
            << seen.back();
        if (!failed) {
            break;
        }
    }
    EXPECT_GE(failures, 1);
    EXPECT_LT(failures, kMoreThanAnyOperationNeeds);
    EXPECT_TRUE(IsLockFree());
}

// Whatever Initialize had no memory for, the module either has no manager or one that works.
TEST(CLogManagerInitializeAllocation, FailureLeavesNoManagerOrOneThatCanBeUsedAndCleanedUp)
{
    CleanModule clean;
    SavedCallbacks saved;
    static int lines;
    lines = 0;
    int without = 0;
    int with = 0;
    for (int successes = 0; successes < kMoreThanAnyOperationNeeds; ++successes) {
        Interposed hooks;
        HeldCollectionThread held(hooks);
        const Allocations::Watch watch;
        bool failed = false;
        Allocations::FailNewAfter(successes);
        try {
            CLogManager::Initialize();
        } catch (const std::bad_alloc&) {
            failed = true;
        }
        Allocations::CancelFailure();
        if (!failed) {
            CLogManager::Cleanup();
            break;
        }
        if (!CLogManager::IsInitialized()) {
            ++without;
            EXPECT_EQ(watch.Kept(), 0) << "allocation " << successes;
            EXPECT_EQ(held.mCreated, 0);
            continue;
        }
        ++with;
        EXPECT_EQ(held.mCreated, 1);
        HSL::LogManager()->SetOutputCallback([](const char*) { ++lines; });
        HSL::LogManager()->SetEnable(true);
        HSL::LogManager()->SetFilterValue(3, true);
        HSL::HSLog(HSL::CCat(3), "message");
        CLogManager::Cleanup();
        EXPECT_EQ(lines, with);
    }
    EXPECT_GE(without, 3);
    EXPECT_GE(with, 4);
}
