// One logging thread and one that collects, in every order that the memory model allows.
#include "hslog/HSL.h"

#include "Explorer.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

namespace {

using HSL::CCat;
using HSL::CLogContext;
using HSL::CLogManager;
using order::Program;
using order::Result;
using order::Weakened;

std::vector<std::string> gTexts;

void keepText(const char* text, const std::string&, unsigned char, unsigned char, unsigned char*, unsigned int,
              unsigned int)
{
    gTexts.push_back(text);
}

// A manager without a collection thread, and one context.
class Logger {
public:
    Logger()
    {
        CLogManager::msThis = &mManager;
        mManager.SetFilterValue(3, true);
        mPrevious = mManager.SetStructuredOutputCallback(keepText);
        mContext =
            std::make_unique<CLogContext>("context", 8192, CLogContext::MallocFunc, CLogContext::FreeFunc);
        gTexts.clear();
        const cb_control* control = mContext->mBuffer->mControl;
        order::track(control, cb_calc_buffer_size(1, control->num_elem));
        order::track(&mContext->mRecordCount, sizeof mContext->mRecordCount);
    }

    ~Logger()
    {
        mContext.reset();
        mManager.SetOutputCallback(mManager.GetOutputCallback());
        CLogManager::msThis = nullptr;
    }

    CLogManager mManager;
    std::unique_ptr<CLogContext> mContext;

private:
    CLogManager::StructuredOutputCallback mPrevious;
};

class Shared {
public:
    void Begin() { mLogger = std::make_unique<Logger>(); }

    void ExpectEachOnceInOrder(std::size_t count)
    {
        mEarly.push_back(gTexts.size());
        mLogger->mManager.Collect();
        if (gTexts.size() != count) {
            order::fail("of " + std::to_string(count) + " records " + std::to_string(gTexts.size())
                        + " came out");
        }
        for (std::size_t i = 0; i < gTexts.size(); ++i) {
            if (gTexts[i] != "record " + std::to_string(i) + " of text") {
                order::fail("record " + std::to_string(i) + " came out as: " + gTexts[i]);
            }
        }
        if (mLogger->mContext->mRecordCount != 0) {
            order::fail("the count was left at " + std::to_string(mLogger->mContext->mRecordCount));
        }
        mLogger.reset();
    }

    // Distinct numbers of records that the concurrent passes found.
    std::size_t Outcomes()
    {
        std::sort(mEarly.begin(), mEarly.end());
        return static_cast<std::size_t>(std::unique(mEarly.begin(), mEarly.end()) - mEarly.begin());
    }

    std::unique_ptr<Logger> mLogger;

private:
    std::vector<std::size_t> mEarly;
};

Program twoRecordsTwoPasses(Shared& shared)
{
    return { [&shared] { shared.Begin(); },
             { [&shared] {
                  shared.mLogger->mContext->Log(CCat(3), "record %d of %s", 0, "text");
                  shared.mLogger->mContext->Log(CCat(3), "record %d of %s", 1, "text");
              },
               [&shared] {
                   shared.mLogger->mManager.Collect();
                   shared.mLogger->mManager.Collect();
               } },
             [&shared] { shared.ExpectEachOnceInOrder(2); } };
}

} // namespace

TEST(HSLRecordOrder, EveryCountedRecordComesOutWholeAndOnce)
{
    Shared shared;
    const Result result = order::explore(twoRecordsTwoPasses(shared));
    EXPECT_EQ(result.failure, "");
    EXPECT_TRUE(result.complete);
    EXPECT_EQ(shared.Outcomes(), 3u);
    std::printf("%lld executions\n", result.executions);
}

// The count's orders alone: those of the ring's positions would do as well, where a pass looks at them.
TEST(HSLRecordOrder, OrdersOfTheCountAreThereAlsoWithoutThoseOfTheRing)
{
    for (const Weakened::Kind kind : { Weakened::Releases, Weakened::Acquires }) {
        Shared shared;
        const auto position = [&]() -> const void* {
            return &shared.mLogger->mContext->mBuffer->mControl->write_offset;
        };
        EXPECT_EQ(order::explore(twoRecordsTwoPasses(shared), Weakened(kind, position)).failure, "");
    }
}

TEST(HSLRecordOrder, WithoutAnyReleasesTheExplorerFindsARace)
{
    Shared shared;
    EXPECT_NE(order::explore(twoRecordsTwoPasses(shared), Weakened::Releases).failure, "");
}

TEST(HSLRecordOrder, WithoutAnyAcquiresTheExplorerFindsARace)
{
    Shared shared;
    EXPECT_NE(order::explore(twoRecordsTwoPasses(shared), Weakened::Acquires).failure, "");
}
