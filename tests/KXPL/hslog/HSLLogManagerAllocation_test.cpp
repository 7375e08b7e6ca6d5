// What the manager does when memory runs out.
#include "hslog/HSLLogManager.h"

#include "Allocations.h"
#include "BareManager.h"
#include "HandMadeRecord.h"
#include "Interpose.h"
#include "ManualPass.h"
#include "hslog/HSL.h"

#include <gtest/gtest.h>

#include <cstdio>
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

// "No log call reports anything": the host is not prepared for an exception.
TEST_F(CLogManagerAllocation, FirstCallOfAThreadThatFindsNoMemoryDropsItsMessage)
{
    mManager->SetEnable(true);
    mManager->SetFilterValue(3, true);
    const HSL::CCat several = [] {
        HSL::CCat cat(3);
        cat.mCount = 2;
        cat.mCodes[1] = 4;
        return cat;
    }();
    const std::function<void()> calls[] = { [] { HSL::HSLog(HSL::CCat(3), "message"); },
                                            [] { HSL::HSLog(HSL::CCat(3), "message %d", 1); },
                                            [&] { HSL::HSLog(several, "message"); },
                                            [&] { HSL::HSLog(several, "message %d", 1); } };
    for (const std::function<void()>& call : calls) {
        int failures = 0;
        for (; mManager->mTLSContext.Get() == nullptr; ++failures) {
            ASSERT_LT(failures, kMoreThanAnyOperationNeeds);
            const int sequence = mManager->mSequence;
            Allocations::FailNewAfter(failures);
            EXPECT_NO_THROW(call());
            Allocations::CancelFailure();
            EXPECT_EQ(mManager->mSequence, sequence + 1);
            EXPECT_EQ(LockCountOf(*mManager), 0);
        }
        // Fewer on 32 bits, where a thread has a number that lets the name lie in the string itself.
        EXPECT_GE(failures, sizeof(void*) == 8 ? 5 : 3);
        EXPECT_EQ(mManager->mTLSContext.Get()->mRecordCount, 1);
        mManager->CleanupTLSContext();
    }
}

TEST_F(CLogManagerAllocation, RefusedMessageThatFindsNoMemoryLeavesNoGap)
{
    mManager->SetEnable(true);
    Allocations::FailNewAfter(0);
    EXPECT_NO_THROW(HSL::HSLog(HSL::CCat(3), "message"));
    EXPECT_FALSE(Allocations::CancelFailure());
    EXPECT_EQ(mManager->mSequence, 0);
}

TEST_F(CLogManagerAllocation, CollectionThreadSkipsAPassThatFindsNoMemoryAndTellsOnce)
{
    SavedCallbacks saved;
    static int lines;
    lines = 0;
    mManager->SetOutputCallback([](const char*) { ++lines; });
    mManager->SetFilterValue(3, true);
    mManager->GetTLSContext()->Log(HSL::CCat(3), "message");
    std::vector<int> linesAtSleep;
    linesAtSleep.reserve(10);
    Interposed hooks;
    hooks.usleepHook = [&](useconds_t) {
        linesAtSleep.push_back(lines);
        if (linesAtSleep.size() < 2) {
            Allocations::FailNewAfter(0);
        } else if (linesAtSleep.size() > 2) {
            mManager->mShutdown = true;
        }
        return 0;
    };
    testing::internal::CaptureStderr();
    HSL::CCollectionThread thread;
    Allocations::FailNewAfter(0);
    EXPECT_NO_THROW(thread.Run());
    Allocations::CancelFailure();
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "*** HSLOG OUT OF MEMORY: MESSAGES WAIT FOR A LATER PASS ***\n");
    EXPECT_EQ(linesAtSleep, (std::vector<int> { 0, 0, 1 }));
}

TEST_F(CLogManagerAllocation, CollectionThreadEndsWithAManagerWhoseLastPassFindsNoMemory)
{
    mManager->mShutdown = true;
    mManager->GetTLSContext();
    HSL::CCollectionThread thread;
    Allocations::FailNewAfter(0);
    EXPECT_NO_THROW(thread.Run());
    EXPECT_FALSE(Allocations::CancelFailure());
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

// What it could not render is not lost, nor measured from itself.
TEST_F(CLogManagerAllocation, PassThatRunsOutOfMemoryAnywhereOutputsEveryRecordOnceAndInOrder)
{
    setTimeZone("UTC0");
    SavedCallbacks saved;
    static std::vector<std::string>* lines;
    std::vector<std::string> seen;
    lines = &seen;
    mManager->SetFilterValue(3, true);
    CLogContext first("first", 65536, CLogContext::MallocFunc, CLogContext::FreeFunc);
    CLogContext second("second", 65536, CLogContext::MallocFunc, CLogContext::FreeFunc);
    int failures = 0;
    bool failed = true;
    for (; failed; ++failures) {
        ASSERT_LT(failures, kMoreThanAnyOperationNeeds);
        seen.clear();
        seen.reserve(10);
        static char sRoom[10][4096];
        mManager->SetOutputCallback([](const char* line) {
            // Nothing is allocated here: the failure is the pass's.
            std::snprintf(sRoom[lines->size()], sizeof sRoom[0], "%s", line);
            lines->emplace_back();
        });
        HandMadeRecord().Header(1, 1000).Inline("one").Count(0).PublishIn(first);
        HandMadeRecord()
            .Header(2, 1001)
            .Inline("two %s")
            .Count(1)
            .String(std::string(2000, 'x'))
            .PublishIn(second);
        HandMadeRecord()
            .Header(3, 1003)
            .Inline("three %s")
            .Count(1)
            .String(std::string(3000, 'x'))
            .PublishIn(first);
        HandMadeRecord().Header(4, 1006).Inline("four").Count(0).PublishIn(second);
        Allocations::FailNewAfter(failures);
        failed = false;
        try {
            mManager->Collect();
        } catch (const std::bad_alloc&) {
            failed = true;
        }
        Allocations::CancelFailure();
        EXPECT_EQ(LockCountOf(*mManager), 0);
        EXPECT_EQ(first.mRecordCount + second.mRecordCount, 4 - static_cast<int>(seen.size()));
        mManager->Collect();
        ASSERT_EQ(seen.size(), 4u) << "allocation " << failures;
        const char* const expected[] = { "\tone\n", ") :  [second            ]\ttwo xx",
                                         "(02.000000) :  [first ",
                                         "(03.000000) :  [second            ]\tfour\n" };
        for (int i = 0; i < 4; ++i) {
            EXPECT_NE(std::string(sRoom[i]).find(expected[i]), std::string::npos) << sRoom[i];
            EXPECT_EQ(numberOf(sRoom[i]), i + 1);
        }
        EXPECT_EQ(first.mRecordCount + second.mRecordCount, 0);
    }
    EXPECT_GE(failures, 4);
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
