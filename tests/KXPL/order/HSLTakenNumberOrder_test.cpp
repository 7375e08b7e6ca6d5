// A pass that takes numbers ahead of their records, and one that looks at a ring meanwhile, in every order that the
// memory model allows.
#include "hslog/HSL.h"
#include "hslog/crash/CrashLedger.h"

#include "Explorer.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <memory>
#include <set>
#include <string>

namespace {

using HSL::CCat;
using HSL::CLogContext;
using HSL::CLogManager;
using order::Program;
using order::Result;
using order::Weakened;

constexpr unsigned int kMarkerAndNumber = 5;

void ignoreLine(const char*) { }

// Records 1 and 3 on the context that is looked at, and 2 on another one, so that a pass takes number 3 ahead.
class Logger {
public:
    Logger()
    {
        CLogManager::msThis = &mManager;
        mManager.SetFilterValue(3, true);
        mPrevious = mManager.SetOutputCallback(ignoreLine);
        mContext = std::make_unique<CLogContext>("one", 8192, CLogContext::MallocFunc, CLogContext::FreeFunc);
        mOther = std::make_unique<CLogContext>("other", 8192, CLogContext::MallocFunc, CLogContext::FreeFunc);
        mContext->Log(CCat(3), "first");
        mOther->Log(CCat(3), "second");
        mSecondBegin = Control().write_offset;
        mContext->Log(CCat(3), "third");
        order::track(&Control().read_offset, sizeof Control().read_offset);
        order::track(&Taken(), sizeof Taken());
    }

    ~Logger()
    {
        mOther.reset();
        mContext.reset();
        mManager.SetOutputCallback(mPrevious);
        CLogManager::msThis = nullptr;
    }

    HSL::detail::TakenNumber& Taken() { return HSL::CrashLog::Ledger::TakenOf(mManager.mLedger, *mContext); }
    cb_control& Control() { return *mContext->mBuffer->mControl; }

    // What the crash log's writer does, which copies through the system where the explorer does not see it.
    void Look(std::set<std::string>& seen)
    {
        const unsigned int position = KxLoadAcquire(Control().read_offset);
        const unsigned int taken = KxLoadAcquire(Taken().mOffset);
        const int number = KxLoadAcquire(Taken().mNumber);
        if (KxLoadAcquire(Control().read_offset) != position) {
            return;
        }
        const unsigned int first = Control().start_offset;
        if (taken == position) {
            seen.insert("number " + std::to_string(number));
            if (number != (position < mSecondBegin ? 1 : 3)
                || (position != first + kMarkerAndNumber && position != mSecondBegin + kMarkerAndNumber)) {
                order::fail("at " + std::to_string(position) + " number " + std::to_string(number));
            }
        } else {
            seen.insert("beginning");
            if (position != first && position != mSecondBegin && position != Control().write_offset) {
                order::fail("a record is said to begin at " + std::to_string(position));
            }
        }
    }

    CLogManager mManager;
    std::unique_ptr<CLogContext> mContext;

private:
    std::unique_ptr<CLogContext> mOther;
    CLogManager::OutputCallback mPrevious;
    unsigned int mSecondBegin;
};

struct Shared {
    std::unique_ptr<Logger> logger;
    std::set<std::string> seen;
};

Program lookDuringAPass(Shared& shared)
{
    return { [&shared] { shared.logger = std::make_unique<Logger>(); },
             { [&shared] { shared.logger->mManager.Collect(); },
               [&shared] { shared.logger->Look(shared.seen); } },
             [&shared] { shared.logger.reset(); } };
}

} // namespace

TEST(HSLTakenNumberOrder, WhoLooksAtARingKnowsWhereItsRecordBegins)
{
    Shared shared;
    const Result result = order::explore(lookDuringAPass(shared));
    EXPECT_EQ(result.failure, "");
    EXPECT_TRUE(result.complete);
    EXPECT_EQ(shared.seen, (std::set<std::string> { "beginning", "number 1", "number 3" }));
    std::printf("%lld executions\n", result.executions);
}

TEST(HSLTakenNumberOrder, EachOrderIsNeeded)
{
    for (const Weakened::Kind kind : { Weakened::Releases, Weakened::Acquires }) {
        for (int field = 0; field < 3; ++field) {
            Shared shared;
            const auto location = [&]() -> const void* {
                HSL::detail::TakenNumber& taken = shared.logger->Taken();
                return field == 0 ? static_cast<const void*>(&shared.logger->Control().read_offset)
                    : field == 1  ? static_cast<const void*>(&taken.mOffset)
                                  : &taken.mNumber;
            };
            EXPECT_NE(order::explore(lookDuringAPass(shared), Weakened(kind, location)).failure, "")
                << (kind == Weakened::Releases ? "release" : "acquire") << " of field " << field;
        }
    }
}
