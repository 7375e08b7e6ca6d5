// When the bytes that a pass takes are handed back to the writer.
#include "hslog/HSL.h"

#include "ManualPass.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace {

HandMadeRecord numbered(int sequence)
{
    return HandMadeRecord().Header(sequence).Inline("a message of some length: %d").Count(1).Int32(sequence);
}

unsigned int bytesIn(const HSL::CLogContext& context)
{
    return cb_get_num_elem_used(context.mBuffer->mControl);
}

// The bytes of a record behind its number.
HandMadeRecord body(const std::string& text)
{
    return HandMadeRecord().Raw(1u).Raw(2u).Byte(0).Byte(1).Byte(3).Inline(text).Count(0);
}

// Fills the context and tells how far, at most, the ring's idea of what is left was behind during a pass.
unsigned int largestDelay(ManualPass& pass, HSL::CLogContext& context)
{
    const unsigned int record = static_cast<unsigned int>(numbered(1).Size());
    unsigned int left = 0;
    for (int sequence = 1; left + record <= context.mBuffer->mControl->num_elem; ++sequence) {
        numbered(sequence).PublishIn(context);
        left += record;
    }
    unsigned int largest = 0;
    pass.inCallback = [&] {
        left -= record;
        largest = std::max(largest, bytesIn(context) - left);
    };
    pass.Manager().Collect();
    EXPECT_GT(pass.lines.size(), 20u);
    return largest;
}

} // namespace

TEST(CollectPublication, WriterOfALargeRingGetsItsBytesBackEvery4096)
{
    ManualPass pass;
    HSL::CLogContext& context = pass.Context("Main", 1 << 18);
    const unsigned int record = static_cast<unsigned int>(numbered(1).Size());
    const unsigned int delay = largestDelay(pass, context);
    EXPECT_GT(delay, 4096u - record);
    EXPECT_LE(delay, 4096u + record);
}

TEST(CollectPublication, WriterOfASmallRingGetsItsBytesBackEveryEighth)
{
    ManualPass pass;
    HSL::CLogContext& context = pass.Context("Main", 4000);
    EXPECT_LE(largestDelay(pass, context), 500u + static_cast<unsigned int>(numbered(1).Size()));
}

TEST(CollectPublication, WriterThatDroppedMayGoOnDuringThePass)
{
    ManualPass pass;
    HSL::CLogContext& context = pass.Context("Main", 65536);
    while (!context.mDropping) {
        context.Log(HSL::CCat(3), "fill %d", 1);
    }
    const int records = context.mRecordCount;
    pass.inCallback = [&] {
        if (context.mDropping) {
            context.Log(HSL::CCat(3), "again");
        }
    };
    pass.Manager().Collect();
    EXPECT_EQ(pass.lines.size(), static_cast<std::size_t>(records));
    EXPECT_FALSE(context.mDropping);
    EXPECT_EQ(context.mRecordCount, 1);
}

TEST(CollectPublication, ContextThatIsDrainedIsEmptyBeforeThePassEnds)
{
    ManualPass pass;
    HSL::CLogContext& early = pass.Context("early");
    HSL::CLogContext& late = pass.Context("late");
    numbered(1).PublishIn(early);
    numbered(2).PublishIn(early);
    numbered(3).PublishIn(late);
    unsigned int seen = 1;
    pass.inCallback = [&] {
        if (pass.lines.size() == 3) {
            seen = bytesIn(early);
        }
    };
    pass.Manager().Collect();
    EXPECT_EQ(seen, 0u);
}

TEST(CollectPublication, EverythingTakenIsHandedBackByTheEndOfThePass)
{
    ManualPass pass;
    HSL::CLogContext& context = pass.Context("Main");
    for (int round = 0; round < 3; ++round) {
        for (int sequence = 1; sequence <= 1000; ++sequence) {
            numbered(sequence).PublishIn(context);
        }
        numbered(2000).PushTo(*context.mBuffer); // not counted
        pass.Manager().Collect();
        EXPECT_EQ(bytesIn(context), numbered(2000).Size());
        context.LogPost();
        pass.Manager().Collect();
        EXPECT_EQ(bytesIn(context), 0u);
    }
}

TEST(CollectPublication, RecordOutputAloneIsHandedBackAtOnce)
{
    ManualPass pass;
    HSL::CLogContext& context = pass.Context("Main");
    body("first").PushTo(*context.mBuffer);
    body("second").PushTo(*context.mBuffer);
    pass.Manager().OutputNextMessage(&context, 1);
    EXPECT_EQ(bytesIn(context), body("second").Size());
    pass.Manager().OutputNextMessage(&context, 2);
    EXPECT_EQ(bytesIn(context), 0u);
    ASSERT_EQ(pass.lines.size(), 2u);
    EXPECT_EQ(messageOf(pass.lines[0]), "first");
    EXPECT_EQ(messageOf(pass.lines[1]), "second");
}

TEST(CollectPublication, HiddenRecordIsHandedBackAsWell)
{
    ManualPass pass;
    HSL::CLogContext& context = pass.Context("Main");
    pass.Manager().SetFilterValue(3, false);
    body("hidden").PushTo(*context.mBuffer);
    pass.Manager().OutputNextMessage(&context, 1);
    EXPECT_EQ(bytesIn(context), 0u);
    EXPECT_TRUE(pass.lines.empty());
}

TEST(CollectPublication, ContextWithoutARingOutputsAnEmptyRecord)
{
    ManualPass pass;
    HSL::CLogContext broken(
        "broken", 65536, [](int) -> void* { return nullptr; }, HSL::CLogContext::FreeFunc);
    pass.Manager().OutputNextMessage(&broken, 1);
    EXPECT_TRUE(pass.lines.empty());
}
