// The time that a line gives since the record before it.
#include "hslog/HSL.h"

#include "Interpose.h"
#include "ManualPass.h"

#include <gtest/gtest.h>

namespace {

struct Stamp {
    unsigned int seconds;
    unsigned int microseconds;
};

HandMadeRecord recordAt(int sequence, Stamp stamp, unsigned char category = 3)
{
    return HandMadeRecord()
        .Header(sequence, stamp.seconds, stamp.microseconds, 0, { category })
        .Inline("m")
        .Count(0);
}

std::string deltaOf(const std::string& line)
{
    const std::size_t open = line.find('(');
    return line.substr(open, line.find(')') - open + 1);
}

// The delta of a record at `second` after one at `first`.
std::string deltaBetween(ManualPass& pass, Stamp first, Stamp second)
{
    HSL::CLogContext& context = pass.Context("Main");
    recordAt(1, first).PublishIn(context);
    recordAt(2, second).PublishIn(context);
    pass.Manager().Collect();
    return pass.lines.size() == 2 ? deltaOf(pass.lines[1]) : "no two lines";
}

} // namespace

TEST(CollectDelta, QuarterOfASecond)
{
    ManualPass pass;
    EXPECT_EQ(deltaBetween(pass, { 1000, 250000 }, { 1000, 500000 }), "(00.250000)");
}

TEST(CollectDelta, SameTimeIsZero)
{
    ManualPass pass;
    EXPECT_EQ(deltaBetween(pass, { 1000, 250000 }, { 1000, 250000 }), "(00.000000)");
}

TEST(CollectDelta, SecondsWiderThanTwoDigits)
{
    ManualPass pass;
    EXPECT_EQ(deltaBetween(pass, { 1000, 0 }, { 4661, 500000 }), "(3661.500000)");
}

TEST(CollectDelta, BorrowsFromTheSeconds)
{
    ManualPass pass;
    EXPECT_EQ(deltaBetween(pass, { 1000, 750000 }, { 1002, 250000 }), "(01.500000)");
}

TEST(CollectDelta, MicrosecondsAreTruncatedNotRounded)
{
    // As doubles the two times lie less than 200,000 microseconds apart.
    ManualPass pass;
    EXPECT_EQ(deltaBetween(pass, { 1700000000, 150000 }, { 1700000000, 350000 }), "(00.199999)");
}

TEST(CollectDelta, NegativeMicrosecondsAreTruncatedTowardZero)
{
    ManualPass pass;
    EXPECT_EQ(deltaBetween(pass, { 1700000000, 350000 }, { 1700000000, 150000 }), "(00.-199999)");
}

TEST(CollectDelta, EachPartOfANegativeDeltaHasItsOwnSign)
{
    ManualPass pass;
    EXPECT_EQ(deltaBetween(pass, { 1003, 500000 }, { 1001, 250000 }), "(-2.-250000)");
}

TEST(CollectDelta, NegativeWholeSecondsHaveAnUnsignedFraction)
{
    ManualPass pass;
    EXPECT_EQ(deltaBetween(pass, { 1012, 0 }, { 1000, 0 }), "(-12.000000)");
}

TEST(CollectDelta, LessThanASecondBackHasItsSignInTheFractionOnly)
{
    ManualPass pass;
    EXPECT_EQ(deltaBetween(pass, { 1000, 500000 }, { 1000, 250000 }), "(00.-250000)");
}

TEST(CollectDelta, ClockSetToZeroCountsAllTheWayBack)
{
    ManualPass pass;
    EXPECT_EQ(deltaBetween(pass, { 1000, 0 }, { 0, 0 }), "(-1000.000000)");
}

TEST(CollectDelta, IsZeroAfterARecordOfSecondZero)
{
    ManualPass pass;
    EXPECT_EQ(deltaBetween(pass, { 0, 999999 }, { 1000, 250000 }), "(00.000000)");
}

TEST(CollectDelta, SecondsAreUnsigned)
{
    ManualPass pass;
    EXPECT_EQ(deltaBetween(pass, { 4000000000u, 0 }, { 4000000001u, 500000 }), "(01.500000)");
}

TEST(CollectDelta, OutOfRangeOfAnIntIsMemorySafe)
{
    ManualPass pass;
    const std::string delta = deltaBetween(pass, { 1, 0 }, { 4294967295u, 0 });
    EXPECT_EQ(delta.substr(0, 1), "(");
    EXPECT_EQ(messageOf(pass.lines[1]), "m");
}

TEST(CollectDelta, IsMeasuredAcrossContexts)
{
    ManualPass pass;
    recordAt(1, { 1000, 0 }).PublishIn(pass.Context("a"));
    recordAt(2, { 1001, 0 }).PublishIn(pass.Context("b"));
    recordAt(3, { 1003, 0 }).PublishIn(pass.Context("c"));
    pass.Manager().Collect();
    ASSERT_EQ(pass.lines.size(), 3u);
    EXPECT_EQ(deltaOf(pass.lines[1]), "(01.000000)");
    EXPECT_EQ(deltaOf(pass.lines[2]), "(02.000000)");
}

TEST(CollectDelta, IsMeasuredAcrossPasses)
{
    ManualPass pass;
    HSL::CLogContext& context = pass.Context("Main");
    recordAt(1, { 1000, 0 }).PublishIn(context);
    pass.Manager().Collect();
    recordAt(2, { 1000, 500000 }).PublishIn(context);
    pass.Manager().Collect();
    ASSERT_EQ(pass.lines.size(), 2u);
    EXPECT_EQ(deltaOf(pass.lines[1]), "(00.500000)");
}

TEST(CollectDelta, IsMeasuredFromARecordThatTheFilterHides)
{
    ManualPass pass;
    HSL::CLogContext& context = pass.Context("Main");
    recordAt(1, { 1000, 0 }).PublishIn(context);
    recordAt(2, { 1005, 250000 }, 4).PublishIn(context);
    recordAt(3, { 1006, 500000 }).PublishIn(context);
    pass.Manager().Collect();
    ASSERT_EQ(pass.lines.size(), 2u);
    EXPECT_EQ(numberOf(pass.lines[1]), 3);
    EXPECT_EQ(deltaOf(pass.lines[1]), "(01.250000)");
}

TEST(CollectDelta, IsMeasuredFromARecordWhoseCategoryWasClearedAfterTheCall)
{
    ManualPass pass;
    Interposed hooks;
    time_t second = 1000;
    hooks.gettimeofdayHook = [&second](struct timeval* now, void*) {
        now->tv_sec = second++;
        now->tv_usec = 0;
        return 0;
    };
    pass.Manager().SetFilterValue(4, true);
    HSL::CLogContext& context = pass.Context("Main");
    context.Log(HSL::CCat(3), "shown");
    context.Log(HSL::CCat(4), "hidden");
    context.Log(HSL::CCat(3), "shown");
    pass.Manager().SetFilterValue(4, false);
    pass.Manager().Collect();
    ASSERT_EQ(pass.lines.size(), 2u);
    EXPECT_EQ(deltaOf(pass.lines[1]), "(01.000000)");
}

TEST(CollectDelta, IsMeasuredFromARecordOfTheStructuredCallback)
{
    ManualPass pass;
    HSL::CLogContext& context = pass.Context("Main");
    pass.Manager().SetStructuredOutputCallback(pass.Manager().GetStructuredOutputCallback());
    recordAt(1, { 1000, 0 }).PublishIn(context);
    pass.Manager().Collect();
    pass.Manager().SetOutputCallback(pass.Manager().GetOutputCallback());
    recordAt(2, { 1007, 0 }).PublishIn(context);
    pass.Manager().Collect();
    ASSERT_EQ(pass.lines.size(), 1u);
    EXPECT_EQ(deltaOf(pass.lines[0]), "(07.000000)");
}

TEST(CollectDelta, OutlivesTheManager)
{
    ManualPass pass;
    recordAt(1, { 1000, 0 }).PublishIn(pass.Context("Main"));
    pass.Manager().Collect();
    pass.Replace();
    recordAt(1, { 1002, 250000 }).PublishIn(pass.Context("Main"));
    pass.Manager().Collect();
    ASSERT_EQ(pass.lines.size(), 2u);
    EXPECT_EQ(deltaOf(pass.lines[1]), "(02.250000)");
}

TEST(CollectDelta, LateRecordOfTheNextPassIsNegative)
{
    ManualPass pass;
    recordAt(2, { 1000, 500000 }).PublishIn(pass.Context("quick"));
    pass.Manager().Collect();
    recordAt(1, { 1000, 0 }).PublishIn(pass.Context("slow"));
    pass.Manager().Collect();
    ASSERT_EQ(pass.lines.size(), 2u);
    EXPECT_EQ(deltaOf(pass.lines[1]), "(00.-500000)");
}
