// The filter at output time, and a record's list of categories.
#include "hslog/HSL.h"

#include "ManualPass.h"

#include <gtest/gtest.h>

namespace {

using Categories = HandMadeRecord::Categories;

HandMadeRecord recordOf(const Categories& categories, int sequence = 1)
{
    return HandMadeRecord().Header(sequence, 0, 0, 0, categories).Inline("n=%d").Count(1).Int32(sequence);
}

// Whether a record of these categories is output.
bool isOutput(ManualPass& pass, const Categories& categories)
{
    pass.lines.clear();
    recordOf(categories).PublishIn(pass.Context("Main"));
    pass.Manager().Collect();
    return !pass.lines.empty();
}

} // namespace

TEST(CollectFilter, IsAppliedAgainAtOutput)
{
    ManualPass pass;
    HSL::CLogContext& context = pass.Context("Main");
    context.Log(HSL::CCat(3), "hidden");
    pass.Manager().SetFilterValue(3, false);
    pass.Manager().Collect();
    EXPECT_TRUE(pass.lines.empty());
}

TEST(CollectFilter, OfTheMomentOfOutputDecides)
{
    ManualPass pass;
    HSL::CLogContext& context = pass.Context("Main");
    for (int sequence = 1; sequence <= 3; ++sequence) {
        recordOf({ 3 }, sequence).PublishIn(context);
    }
    pass.inCallback = [&pass] { pass.Manager().SetFilterValue(3, false); };
    pass.Manager().Collect();
    ASSERT_EQ(pass.lines.size(), 1u);
    EXPECT_EQ(numberOf(pass.lines[0]), 1);
}

TEST(CollectFilter, HiddenRecordIsConsumed)
{
    ManualPass pass;
    HSL::CLogContext& context = pass.Context("Main");
    recordOf({ 4 }, 1).PublishIn(context);
    recordOf({ 3 }, 2).PublishIn(context);
    pass.Manager().Collect();
    ASSERT_EQ(pass.lines.size(), 1u);
    EXPECT_EQ(messageOf(pass.lines[0]), "n=2");
    EXPECT_EQ(context.mRecordCount, 0);
    EXPECT_EQ(cb_get_num_elem_used(context.mBuffer->mControl), 0u);
}

TEST(CollectFilter, HiddenRecordCountsAsOneOfThePass)
{
    ManualPass pass;
    HSL::CLogContext& hidden = pass.Context("hidden");
    HSL::CLogContext& shown = pass.Context("shown");
    recordOf({ 4 }, 1).PublishIn(hidden);
    recordOf({ 4 }, 3).PublishIn(hidden);
    recordOf({ 3 }, 2).PublishIn(shown);
    recordOf({ 3 }, 4).PublishIn(shown);
    pass.Manager().Collect();
    ASSERT_EQ(pass.lines.size(), 2u);
    EXPECT_EQ(numberOf(pass.lines[0]), 2);
    EXPECT_EQ(numberOf(pass.lines[1]), 4);
}

TEST(CollectFilter, HiddenRecordWithABadArgumentCallsNothing)
{
    ManualPass pass;
    HandMadeRecord().Header(1, 0, 0, 0, { 4 }).Inline("%d").Count(1).Byte(99).PublishIn(pass.Context("Main"));
    pass.Manager().Collect();
    EXPECT_TRUE(pass.lines.empty());
}

TEST(CollectFilter, MasterSwitchDoesNotMatterAtOutput)
{
    ManualPass pass;
    pass.Manager().SetEnable(false);
    EXPECT_TRUE(isOutput(pass, { 3 }));
}

TEST(CollectFilter, AnyOneOfTheCategoriesIsEnough)
{
    ManualPass pass;
    EXPECT_TRUE(isOutput(pass, { 9, 3, 8 }));
    EXPECT_TRUE(isOutput(pass, { 3, 9, 8 }));
    EXPECT_FALSE(isOutput(pass, { 9, 10, 8 }));
}

TEST(CollectFilter, TenthCategoryIsEnough)
{
    ManualPass pass;
    EXPECT_TRUE(isOutput(pass, { 11, 12, 13, 14, 15, 16, 17, 18, 19, 3 }));
}

TEST(CollectFilter, RecordWithoutCategoriesIsHidden)
{
    ManualPass pass;
    pass.Manager().SetFilterValue(0, true);
    EXPECT_FALSE(isOutput(pass, {}));
}

TEST(CollectFilter, CategoryBeyondTheTenthIsIgnored)
{
    ManualPass pass;
    EXPECT_FALSE(isOutput(pass, { 11, 12, 13, 14, 15, 16, 17, 18, 19, 20, 3, 3 }));
}

TEST(CollectFilter, BytesOfCategoriesBeyondTheTenthAreSkipped)
{
    ManualPass pass;
    HSL::CLogContext& context = pass.Context("Main");
    recordOf({ 3, 12, 13, 14, 15, 16, 17, 18, 19, 20, 21, 22 }, 1).PublishIn(context);
    recordOf({ 3 }, 2).PublishIn(context);
    pass.Manager().Collect();
    ASSERT_EQ(pass.lines.size(), 2u);
    EXPECT_EQ(messageOf(pass.lines[0]), "n=1");
    EXPECT_EQ(messageOf(pass.lines[1]), "n=2");
}

TEST(CollectFilter, Of255CategoriesTenAreKept)
{
    ManualPass pass;
    Categories categories(255);
    for (std::size_t i = 0; i < categories.size(); ++i) {
        categories[i] = static_cast<unsigned char>(i);
    }
    HSL::CLogContext& context = pass.Context("Main");
    pass.Manager().SetStructuredOutputCallback(pass.Manager().GetStructuredOutputCallback());
    recordOf(categories, 1).PublishIn(context);
    recordOf({ 3 }, 2).PublishIn(context);
    pass.Manager().Collect();
    ASSERT_EQ(pass.messages.size(), 2u);
    EXPECT_EQ(pass.messages[0].categories, (Categories { 0, 1, 2, 3, 4, 5, 6, 7, 8, 9 }));
    EXPECT_EQ(pass.messages[0].text, "n=1");
    EXPECT_EQ(pass.messages[1].categories, (Categories { 3 }));
    EXPECT_EQ(pass.messages[1].text, "n=2");
}
