// Passes over rings that hold less, or something else, than their counters announce.
#include "hslog/HSL.h"

#include "ManualPass.h"

#include <gtest/gtest.h>

#include <memory>
#include <random>
#include <utility>

namespace {

void* noMemory(int)
{
    return nullptr;
}

HandMadeRecord numbered(int sequence)
{
    return HandMadeRecord().Header(sequence, 1000, 0).Inline("n=%d").Count(1).Int32(sequence);
}

} // namespace

TEST(CollectMalformed, RingThatCouldNotBeAllocatedYieldsNothing)
{
    ManualPass pass;
    HSL::CLogContext broken("broken", 65536, noMemory, HSL::CLogContext::FreeFunc);
    HSL::CLogContext& good = pass.Context("good");
    broken.Log(HSL::CCat(3), "lost %d", 1);
    good.Log(HSL::CCat(3), "kept %d", 1);
    broken.Log(HSL::CCat(3), "lost %d", 2);
    good.Log(HSL::CCat(3), "kept %d", 2);
    EXPECT_EQ(broken.mRecordCount, 2);
    EXPECT_FALSE(pass.Manager().Collect());
    ASSERT_EQ(pass.lines.size(), 2u);
    EXPECT_EQ(messageOf(pass.lines[0]), "kept 1");
    EXPECT_EQ(messageOf(pass.lines[1]), "kept 2");
    EXPECT_EQ(broken.mRecordCount, 0);
}

TEST(CollectMalformed, SeveralRingsThatCouldNotBeAllocatedDoNotHoldThePass)
{
    ManualPass pass;
    HSL::CLogContext a("a", 65536, noMemory, HSL::CLogContext::FreeFunc);
    HSL::CLogContext b("b", 65536, noMemory, HSL::CLogContext::FreeFunc);
    a.mRecordCount = 3;
    b.mRecordCount = 2;
    EXPECT_FALSE(pass.Manager().Collect());
    EXPECT_TRUE(pass.lines.empty());
    EXPECT_EQ(a.mRecordCount, 0);
    EXPECT_EQ(b.mRecordCount, 0);
}

TEST(CollectMalformed, RecordWithoutAnyByteIsHidden)
{
    ManualPass pass;
    pass.Manager().SetFilterValue(0, true);
    HSL::CLogContext& context = pass.Context("Main");
    context.LogPost();
    EXPECT_FALSE(pass.Manager().Collect());
    EXPECT_TRUE(pass.lines.empty());
    EXPECT_EQ(context.mRecordCount, 0);
}

TEST(CollectMalformed, CountBeyondTheRecordsEndsWithTheCount)
{
    ManualPass pass;
    HSL::CLogContext& context = pass.Context("Main");
    numbered(1).PublishIn(context);
    context.mRecordCount = 1000;
    EXPECT_FALSE(pass.Manager().Collect());
    ASSERT_EQ(pass.lines.size(), 1u);
    EXPECT_EQ(messageOf(pass.lines[0]), "n=1");
    EXPECT_EQ(context.mRecordCount, 0);
}

TEST(CollectMalformed, CutCategoriesReadAsZerosNotAsAnEarlierRecords)
{
    ManualPass pass;
    pass.Manager().SetFilterValue(0, false);
    HSL::CLogContext& context = pass.Context("Main");
    pass.Manager().SetStructuredOutputCallback(pass.Manager().GetStructuredOutputCallback());
    HandMadeRecord().Header(1, 0, 0, 0, { 3, 31, 32, 33, 34 }).Inline("whole").Count(0).PublishIn(context);
    pass.Manager().Collect();
    HandMadeRecord() // announces five categories and has one
        .Byte(0)
        .Raw(2)
        .Raw(0u)
        .Raw(0u)
        .Byte(0)
        .Byte(5)
        .Byte(3)
        .PublishIn(context);
    pass.Manager().Collect();
    ASSERT_EQ(pass.messages.size(), 2u);
    EXPECT_EQ(pass.messages[1].categories, (std::vector<unsigned char> { 3, 0, 0, 0, 0 }));
    EXPECT_EQ(pass.messages[1].text, "<BAD FORMAT STRING>"); // of kind zero
}

TEST(CollectMalformed, CutHeaderReadsAsZeros)
{
    ManualPass pass;
    HSL::CLogContext& context = pass.Context("Main");
    numbered(1).PublishIn(context);
    const unsigned char lowByteOfASequence = 7;
    HandMadeRecord().Byte(0).Byte(lowByteOfASequence).PublishIn(context);
    pass.Manager().Collect();
    ASSERT_EQ(pass.lines.size(), 1u);
    numbered(8).PublishIn(context);
    pass.Manager().Collect();
    // The hidden record's time was zero.
    ASSERT_EQ(pass.lines.size(), 2u);
    EXPECT_EQ(pass.lines[1], "     8  00:16:40.000000  (00.000000) :  [Main              ]\tn=8\n");
}

TEST(CollectMalformed, RecordCutByTheRingsEndIsStillALine)
{
    ManualPass pass;
    HSL::CLogContext& context = pass.Context("Main", 4196);
    const std::string longText(6000, 'x');
    context.Log(HSL::CCat(3), longText.c_str());
    pass.Manager().Collect();
    ASSERT_EQ(pass.lines.size(), 1u);
    // The fields in front of the text take 19 bytes of the ring.
    EXPECT_EQ(messageOf(pass.lines[0]), std::string(4196 - 19, 'x'));
}

TEST(CollectMalformed, NullWideStringAloneShowsAsItsText)
{
    ManualPass pass;
    HSL::CLogContext& context = pass.Context("Main");
    context.Log(HSL::CCat(3), "w=%S", static_cast<const wchar_t*>(nullptr));
    pass.Manager().Collect();
    ASSERT_EQ(pass.lines.size(), 1u);
    EXPECT_EQ(messageOf(pass.lines[0]), "w=<NULL>");
}

TEST(CollectMalformed, NullWideStringGarblesTheRestOfItsOwnContextOnly)
{
    ManualPass pass;
    HSL::CLogContext& garbled = pass.Context("garbled");
    HSL::CLogContext& intact = pass.Context("intact");
    intact.Log(HSL::CCat(3), "intact %d", 0);
    garbled.Log(HSL::CCat(3), "w=%S", static_cast<const wchar_t*>(nullptr));
    for (int i = 1; i <= 10; ++i) {
        garbled.Log(HSL::CCat(3), "behind %d", i);
        intact.Log(HSL::CCat(3), "intact %d", i);
    }
    EXPECT_FALSE(pass.Manager().Collect());
    std::vector<std::string> intactMessages;
    int behind = 0;
    for (const std::string& line : pass.lines) {
        if (line.find("[intact ") != std::string::npos) {
            intactMessages.push_back(messageOf(line));
        }
        behind += line.find("\tbehind ") != std::string::npos ? 1 : 0;
    }
    ASSERT_EQ(intactMessages.size(), 11u);
    for (int i = 0; i <= 10; ++i) {
        EXPECT_EQ(intactMessages[static_cast<std::size_t>(i)], "intact " + std::to_string(i));
    }
    // The reader took 72 bytes of the following records for characters of the string.
    EXPECT_LT(behind, 10);
    EXPECT_EQ(garbled.mRecordCount, 0);
}

TEST(CollectMalformed, ContextMadeByACallbackDoesNotHarmThePass)
{
    ManualPass pass;
    HSL::CLogContext& context = pass.Context("Main");
    numbered(1).PublishIn(context);
    numbered(2).PublishIn(context);
    pass.inCallback = [&pass] {
        pass.inCallback = nullptr;
        numbered(3).PublishIn(pass.Context("made in a callback"));
    };
    pass.Manager().Collect();
    EXPECT_EQ(pass.lines.size(), 2u);
    EXPECT_EQ(context.mRecordCount, 0);
    pass.Manager().Collect();
    ASSERT_EQ(pass.lines.size(), 3u);
    EXPECT_EQ(messageOf(pass.lines[2]), "n=3");
}

TEST(CollectMalformed, ContextDeletedByACallbackDoesNotHarmThePass)
{
    ManualPass pass;
    auto deleted = std::make_unique<HSL::CLogContext>("deleted", 65536, HSL::CLogContext::MallocFunc,
                                                      HSL::CLogContext::FreeFunc);
    numbered(1).PublishIn(*deleted);
    numbered(2).PublishIn(*deleted);
    numbered(3).PublishIn(*deleted);
    pass.inCallback = [&deleted] { deleted.reset(); };
    EXPECT_FALSE(pass.Manager().Collect());
    EXPECT_EQ(pass.lines.size(), 1u);
}

// It may be deleted next.
TEST(CollectMalformed, ContextRemovedByACallbackIsReadNoFurther)
{
    ManualPass pass;
    HSL::CLogContext& removed = pass.Context("removed");
    numbered(1).PublishIn(removed);
    numbered(2).PublishIn(removed);
    pass.inCallback = [&] { pass.Manager().RemoveContext(&removed); };
    EXPECT_FALSE(pass.Manager().Collect());
    EXPECT_EQ(pass.lines.size(), 1u);
    EXPECT_EQ(removed.mRecordCount, 2);
}

// The bytes that the pass knew of may be gone with their block.
TEST(CollectMalformed, RingReplacedByACallbackIsReadNoFurther)
{
    ManualPass pass;
    HSL::CLogContext& context = pass.Context("replaced");
    HSL::CLogContext& other = pass.Context("other");
    CCircularBuffer fresh(1, 4096, HSL::CLogContext::MallocFunc, HSL::CLogContext::FreeFunc, nullptr);
    numbered(1).PublishIn(context);
    numbered(2).PublishIn(context);
    numbered(3).PublishIn(other);
    pass.inCallback = [&] {
        std::swap(context.mBuffer->mControl, fresh.mControl);
        pass.inCallback = nullptr;
    };
    EXPECT_FALSE(pass.Manager().Collect());
    ASSERT_EQ(pass.lines.size(), 2u);
    EXPECT_EQ(messageOf(pass.lines[0]), "n=1");
    EXPECT_EQ(messageOf(pass.lines[1]), "n=3");
    EXPECT_EQ(context.mRecordCount, 2);
}

TEST(CollectMalformed, RandomBytesAreMemorySafeAndEnd)
{
    // Without "%" and with no backslash, because a garbled format may never return from rendering.
    ManualPass pass;
    std::mt19937 random(7);
    for (int category = 0; category < 256; ++category) {
        pass.Manager().SetFilterValue(static_cast<unsigned char>(category), true);
    }
    for (int round = 0; round < 3000; ++round) {
        HSL::CLogContext& context = pass.Context("random", 4096);
        HandMadeRecord bytes;
        for (auto size = random() % 600; size > 0; --size) {
            // Small values make tags, kinds and short lengths likely.
            unsigned char byte = static_cast<unsigned char>(random() % 3 == 0 ? random() : random() % 20);
            bytes.Byte(byte == '%' || byte == '\\' ? ' ' : byte);
        }
        ASSERT_TRUE(bytes.PushTo(*context.mBuffer));
        context.mRecordCount = static_cast<int>(random() % 30);
        EXPECT_FALSE(pass.Manager().Collect());
        EXPECT_EQ(context.mRecordCount, 0);
        pass.lines.clear();
        if (round % 20 == 0) {
            pass.Replace();
            for (int category = 0; category < 256; ++category) {
                pass.Manager().SetFilterValue(static_cast<unsigned char>(category), true);
            }
        }
    }
}
