// What a pass allocates.
#include "hslog/HSL.h"

#include "Allocations.h"
#include "ManualPass.h"

#include <gtest/gtest.h>

namespace {

std::size_t gLinesSeen = 0;

void countLine(const char*)
{
    ++gLinesSeen;
}

// Blocks that a pass over so many contexts with so many records each makes and does not keep.
int blocksOfAPass(int contexts, int records)
{
    ManualPass pass;
    pass.Manager().SetOutputCallback(countLine);
    for (int i = 0; i < contexts; ++i) {
        HSL::CLogContext& context = pass.Context("c");
        for (int record = 0; record < records; ++record) {
            context.Log(HSL::CCat(3), "x=%d y=%s", record, "text");
        }
    }
    gLinesSeen = 0;
    const Allocations::Watch watch;
    pass.Manager().Collect();
    EXPECT_EQ(watch.Kept(), 0);
    EXPECT_EQ(gLinesSeen, static_cast<std::size_t>(contexts * records));
    return watch.Made();
}

} // namespace

TEST(CollectAllocation, PassWithoutRecordsMakesOneBlockAtMost)
{
    EXPECT_EQ(blocksOfAPass(0, 0), 0);
    EXPECT_LE(blocksOfAPass(5, 0), 1);
}

TEST(CollectAllocation, BlocksDoNotGrowWithRecords)
{
    EXPECT_EQ(blocksOfAPass(1, 1000), blocksOfAPass(1, 1));
}

TEST(CollectAllocation, BlocksAreNoMoreThanOneAndOneForEachContext)
{
    for (int contexts : { 1, 2, 3, 10, 100 }) {
        EXPECT_LE(blocksOfAPass(contexts, 20), 1 + contexts) << contexts;
    }
}

TEST(CollectAllocation, BlocksDoNotGrowWithContexts)
{
    EXPECT_EQ(blocksOfAPass(100, 20), blocksOfAPass(2, 20));
}
