// What a thread object leaves behind when memory runs out.
#include "KxThread.h"

#include "Allocations.h"
#include "FunctionThread.h"

#include <gtest/gtest.h>

#include <new>

TEST(KxThreadAllocation, ConstructorThatFailsKeepsNothing)
{
    // The platform record, then the run wrapper.
    for (int successes = 0; successes < 2; ++successes) {
        bool thrown = false;
        const Allocations::Watch watch;
        Allocations::FailNewAfter(successes);
        try {
            FunctionThread thread;
        } catch (const std::bad_alloc&) {
            thrown = true;
        }
        EXPECT_FALSE(Allocations::CancelFailure());
        EXPECT_TRUE(thrown);
        EXPECT_EQ(watch.Kept(), 0) << successes;
    }
}

TEST(KxThreadAllocation, DestructorReleasesEverything)
{
    const Allocations::Watch watch;
    {
        FunctionThread thread;
        EXPECT_EQ(watch.Kept(), 2);
    }
    EXPECT_EQ(watch.Kept(), 0);
}
