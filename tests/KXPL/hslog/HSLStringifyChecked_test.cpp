// Rendering behind the check: what suits is rendered as ever, and the rest is shown as it is.
#include "hslog/render/HSLMessage.h"

#include "RenderRing.h"

#include <gtest/gtest.h>

#include <random>
#include <string>

namespace {

class StringifyChecked : public testing::Test {
protected:
    std::string Render(const HandMadeRecord& record)
    {
        record.PushTo(mRing.Ring());
        HSL::RingCursor cursor(mRing.Ring().mControl);
        HSL::TextBuffer text;
        HSL::appendMessage(text, true, cursor, mRing.Manager().mFormatStrings, HSL::Formats::kChecked);
        cursor.Publish();
        return std::string(text.CStr(), text.Size());
    }

    RenderRing mRing;
};

} // namespace

TEST_F(StringifyChecked, WhatSuitsIsRenderedAsEver)
{
    EXPECT_EQ(Render(inlineRecord("x=%d y=%s", 2).Int32(5).String("ab")), "x=5 y=ab");
    EXPECT_EQ(Render(inlineRecord("count %d", 3).Int32(1).Int32(2).Int32(3)), "count 1 (2, 3) ");
    EXPECT_EQ(Render(inlineRecord("a=%d b=%d", 1).Int32(1)), "a=1[extra format arguments:  b=_d ]");
    EXPECT_EQ(Render(inlineRecord("50%% done", 0)), "50% done");
    EXPECT_EQ(Render(inlineRecord("no value", 2).Long(-1).Pointer(255)), "no value (-1, 0xff) ");
}

TEST_F(StringifyChecked, AConversionThatDoesNotSuitIsShownWithItsValue)
{
    EXPECT_EQ(Render(inlineRecord("a %s.", 1).Int32(7)), "<a %s with int32 7>.");
    EXPECT_EQ(Render(inlineRecord("%d", 1).String("seven")), "<%d with string \"seven\">");
    EXPECT_EQ(Render(inlineRecord("%s", 1).Pointer(0x12345678)), "<%s with pointer 0x12345678>");
    EXPECT_EQ(Render(inlineRecord("%S", 1).Long(1000000000)), "<%S with long 1000000000>");
    EXPECT_EQ(Render(inlineRecord("%s", 1).WString(L"wide")), "<%s with wide string \"wide\">");
    EXPECT_EQ(Render(inlineRecord("%d", 1).UTF16String(u"short")), "<%d with UTF-16 string \"short\">");
    EXPECT_EQ(Render(inlineRecord("%.99999d%d", 2).Int8(1).Int8(2)), "<%.99999d with int8 1>2");
}

TEST_F(StringifyChecked, AWritingConversionWritesNothing)
{
    const long untouched = 77;
    const std::uintptr_t address = reinterpret_cast<std::uintptr_t>(&untouched);
    const std::string text = Render(inlineRecord("%n and %d", 2).Pointer(address).Int32(1));
    EXPECT_EQ(text.compare(0, 19, "<%n with pointer 0x"), 0) << text;
    EXPECT_EQ(untouched, 77);
}

TEST_F(StringifyChecked, WhatFollowsTheMarkIsReadInItsPlace)
{
    EXPECT_EQ(Render(inlineRecord("%d|%d|%s", 3).String("x").Int32(2).String("y")),
              "<%d with string \"x\">|2|y");
}

TEST_F(StringifyChecked, ConversionsWithoutAnyValueAreShown)
{
    EXPECT_EQ(Render(inlineRecord("100%s", 0)), "<no value for 100%s>");
    EXPECT_EQ(Render(inlineRecord("%n", 0)), "<no value for %n>");
}

TEST_F(StringifyChecked, AFormatThatNeverReturnsIsShownWithItsValues)
{
    EXPECT_EQ(Render(inlineRecord("100%% of %s", 2).String("all").Long(5)),
              "<NEVER RETURNS> 100%% of %s (\"all\", 5)");
    EXPECT_EQ(Render(inlineRecord("\\%d", 1).Double(1.5)), "<NEVER RETURNS> \\%d (1.5)");
    EXPECT_EQ(Render(inlineRecord("%d%%", 1).Int32(5)), "5[extra format arguments: __ ]")
        << "no value seeks any more";
}

TEST_F(StringifyChecked, ShortcutsMakeNoDifference)
{
    const char* const formats[] = { "%d", "%s", "%5d %s", "%%", "%n", "a", "%lld", "100%% %d", "%", "%c%c%c" };
    for (const char* format : formats) {
        const HandMadeRecord record = inlineRecord(format, 2).Int32(65).String("text");
        const std::string quick = Render(record);
        const WithoutShortcuts everyPiece;
        EXPECT_EQ(Render(record), quick) << format;
    }
}

// Any format with any values: nothing outside the record is read, which the sanitizers would tell, and all of
// it is taken off the ring.
TEST_F(StringifyChecked, AnyFormatTakesExactlyItsRecord)
{
    std::mt19937 random(1);
    const std::string letters = "%%%%%csdnSpxfl*.5 0\\a";
    for (int i = 0; i < 20000; ++i) {
        std::string format;
        for (std::size_t length = random() % 12; length > 0; --length) {
            format += letters[random() % letters.size()];
        }
        HandMadeRecord record = inlineRecord(format, 3);
        for (int value = 0; value < 3; ++value) {
            switch (random() % 4) {
            case 0:
                record.Int32(static_cast<int>(random()));
                break;
            case 1:
                record.String("%s%n");
                break;
            case 2:
                record.WString(L"wide");
                break;
            default:
                record.Long(static_cast<long>(random()));
                break;
            }
        }
        Render(record);
        ASSERT_EQ(mRing.Left(), 0u) << format;
    }
}
