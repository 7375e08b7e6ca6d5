// What a pass takes from the contexts' record counters, and what it leaves.
#include "hslog/HSL.h"

#include "ManualPass.h"

#include <gtest/gtest.h>

namespace {

HandMadeRecord numbered(int sequence)
{
    return HandMadeRecord().Header(sequence).Inline("m").Count(0);
}

unsigned int bytesIn(const HSL::CLogContext& context)
{
    return cb_get_num_elem_used(context.mBuffer->mControl);
}

} // namespace

TEST(CollectCount, IsZeroAfterEverythingWasTaken)
{
    ManualPass pass;
    HSL::CLogContext& context = pass.Context("Main");
    numbered(1).PublishIn(context);
    numbered(2).PublishIn(context);
    pass.Manager().Collect();
    EXPECT_EQ(pass.lines.size(), 2u);
    EXPECT_EQ(context.mRecordCount, 0);
    EXPECT_EQ(bytesIn(context), 0u);
}

TEST(CollectCount, IsStillTheSnapshotDuringThePass)
{
    ManualPass pass;
    HSL::CLogContext& context = pass.Context("Main");
    numbered(1).PublishIn(context);
    numbered(2).PublishIn(context);
    std::vector<int> seen;
    pass.inCallback = [&seen, &context] { seen.push_back(context.mRecordCount); };
    pass.Manager().Collect();
    EXPECT_EQ(seen, (std::vector<int> { 2, 2 }));
}

TEST(CollectCount, RecordCompletedDuringThePassStaysForTheNext)
{
    ManualPass pass;
    HSL::CLogContext& context = pass.Context("Main");
    numbered(1).PublishIn(context);
    pass.inCallback = [&pass, &context] {
        pass.inCallback = nullptr;
        numbered(2).PublishIn(context);
    };
    pass.Manager().Collect();
    EXPECT_EQ(pass.lines.size(), 1u);
    EXPECT_EQ(context.mRecordCount, 1);
    EXPECT_EQ(bytesIn(context), numbered(2).Size());

    pass.Manager().Collect();
    ASSERT_EQ(pass.lines.size(), 2u);
    EXPECT_EQ(numberOf(pass.lines[1]), 2);
    EXPECT_EQ(context.mRecordCount, 0);
}

TEST(CollectCount, RecordOfAnotherContextCompletedDuringThePassStaysForTheNext)
{
    ManualPass pass;
    HSL::CLogContext& drained = pass.Context("drained");
    HSL::CLogContext& quiet = pass.Context("quiet");
    numbered(5).PublishIn(drained);
    numbered(9).PublishIn(drained);
    pass.inCallback = [&pass, &quiet] {
        pass.inCallback = nullptr;
        numbered(6).PublishIn(quiet);
    };
    pass.Manager().Collect();
    ASSERT_EQ(pass.lines.size(), 2u);
    EXPECT_EQ(numberOf(pass.lines[1]), 9);
    EXPECT_EQ(quiet.mRecordCount, 1);

    pass.Manager().Collect();
    ASSERT_EQ(pass.lines.size(), 3u);
    EXPECT_EQ(numberOf(pass.lines[2]), 6);
}

TEST(CollectCount, CounterRaisedDuringThePassIsLoweredByTheSnapshotOnly)
{
    ManualPass pass;
    HSL::CLogContext& context = pass.Context("Main");
    numbered(1).PublishIn(context);
    numbered(2).PushTo(*context.mBuffer);
    numbered(3).PushTo(*context.mBuffer);
    pass.inCallback = [&pass, &context] {
        pass.inCallback = nullptr;
        context.LogPost();
        context.LogPost();
    };
    pass.Manager().Collect();
    EXPECT_EQ(pass.lines.size(), 1u);
    EXPECT_EQ(context.mRecordCount, 2);

    pass.Manager().Collect();
    EXPECT_EQ(pass.lines.size(), 3u);
    EXPECT_EQ(context.mRecordCount, 0);
}

TEST(CollectCount, CounterOfAContextWithoutRecordsIsLeftAlone)
{
    ManualPass pass;
    HSL::CLogContext& context = pass.Context("Main");
    context.mRecordCount = -3;
    pass.Manager().Collect();
    EXPECT_TRUE(pass.lines.empty());
    EXPECT_EQ(context.mRecordCount, -3);
}

TEST(CollectCount, OfTwoEqualNumbersOneIsOutputAndThePassEnds)
{
    ManualPass pass;
    HSL::CLogContext& kept = pass.Context("kept");
    HSL::CLogContext& lost = pass.Context("lost");
    numbered(5).PublishIn(kept);
    numbered(5).PublishIn(lost);
    EXPECT_FALSE(pass.Manager().Collect());
    ASSERT_EQ(pass.lines.size(), 1u);
    EXPECT_NE(pass.lines[0].find("[kept "), std::string::npos) << pass.lines[0];
    EXPECT_EQ(kept.mRecordCount, 0);
    EXPECT_EQ(lost.mRecordCount, 0);
}

TEST(CollectCount, EqualNumbersLeaveTheOtherContextsAlone)
{
    ManualPass pass;
    numbered(5).PublishIn(pass.Context("a"));
    numbered(5).PublishIn(pass.Context("b"));
    HSL::CLogContext& other = pass.Context("other");
    for (int sequence : { 1, 6, 7 }) {
        numbered(sequence).PublishIn(other);
    }
    pass.Manager().Collect();
    ASSERT_EQ(pass.lines.size(), 4u);
    EXPECT_EQ(numberOf(pass.lines[0]), 1);
    EXPECT_EQ(numberOf(pass.lines[1]), 5);
    EXPECT_EQ(numberOf(pass.lines[2]), 6);
    EXPECT_EQ(numberOf(pass.lines[3]), 7);
}

TEST(CollectCount, NextNumberEqualToAWaitingOneEndsThatContextsTurn)
{
    ManualPass pass;
    HSL::CLogContext& repeating = pass.Context("repeating");
    HSL::CLogContext& waiting = pass.Context("waiting");
    numbered(1).PublishIn(repeating);
    numbered(4).PublishIn(repeating);
    numbered(4).PublishIn(waiting);
    pass.Manager().Collect();
    ASSERT_EQ(pass.lines.size(), 2u);
    EXPECT_EQ(numberOf(pass.lines[0]), 1);
    EXPECT_NE(pass.lines[1].find("[waiting "), std::string::npos) << pass.lines[1];
    EXPECT_EQ(repeating.mRecordCount, 0);
}

TEST(CollectCount, PassesAfterEqualNumbersAreMemorySafe)
{
    ManualPass pass;
    HSL::CLogContext& kept = pass.Context("kept");
    HSL::CLogContext& lost = pass.Context("lost");
    numbered(5).PublishIn(kept);
    numbered(5).PublishIn(lost);
    pass.Manager().Collect();
    // This ring is now read from behind a record's number on.
    for (int sequence = 6; sequence < 20; ++sequence) {
        numbered(sequence).PublishIn(lost);
        pass.Manager().Collect();
        EXPECT_EQ(lost.mRecordCount, 0);
    }
    pass.lines.clear();
    numbered(20).PublishIn(kept);
    pass.Manager().Collect();
    ASSERT_EQ(pass.lines.size(), 1u);
    EXPECT_EQ(numberOf(pass.lines[0]), 20);
}

TEST(CollectCount, ShutdownFlagIsReadAtTheEndOfThePass)
{
    ManualPass pass;
    numbered(1).PublishIn(pass.Context("Main"));
    pass.inCallback = [&pass] { pass.Manager().mShutdown = true; };
    EXPECT_TRUE(pass.Manager().Collect());
    EXPECT_EQ(pass.lines.size(), 1u);
}

TEST(CollectCount, ShutdownFlagTakenBackDuringThePassCountsAsWell)
{
    ManualPass pass;
    pass.Manager().mShutdown = true;
    numbered(1).PublishIn(pass.Context("Main"));
    pass.inCallback = [&pass] { pass.Manager().mShutdown = false; };
    EXPECT_FALSE(pass.Manager().Collect());
}
