// Where a record's format comes from, and records without values.
#include "hslog/HSL.h"

#include "RenderRing.h"

#include <gtest/gtest.h>

TEST(StringifyFormat, InlineTextIsTaken)
{
    RenderRing ring;
    EXPECT_EQ(ring.Render(inlineRecord("x=%d", 1).Int32(5)), "x=5");
    EXPECT_EQ(ring.Left(), 0u);
}

TEST(StringifyFormat, InlineTextEndsAtItsFirstZeroByte)
{
    RenderRing ring;
    EXPECT_EQ(ring.Render(inlineRecord(std::string("ab\0cd", 5), 0)), "ab");
    EXPECT_EQ(ring.Left(), 0u);
}

TEST(StringifyFormat, InlineConversionBehindAZeroByteIsNotSeen)
{
    RenderRing ring;
    EXPECT_EQ(ring.Render(inlineRecord(std::string("ab\0%d", 5), 1).Int32(5)), "ab (5) ");
    EXPECT_EQ(ring.Left(), 0u);
}

TEST(StringifyFormat, EmptyInlineTextWithoutValuesIsEmpty)
{
    RenderRing ring;
    EXPECT_EQ(ring.Render(inlineRecord("", 0)), "");
}

TEST(StringifyFormat, EmptyInlineTextWithAValueIsTheList)
{
    RenderRing ring;
    EXPECT_EQ(ring.Render(inlineRecord("", 1).Int32(5)), " (5) ");
}

TEST(StringifyFormat, InlineTextOf65535BytesIsTakenWhole)
{
    RenderRing ring;
    const std::string text(65535, 'f');
    EXPECT_EQ(ring.Render(inlineRecord(text, 0)), text);
    EXPECT_EQ(ring.Left(), 0u);
}

TEST(StringifyFormat, ShorterInlineTextFollowsALongerOne)
{
    RenderRing ring;
    ring.Render(inlineRecord("a long format text", 0));
    EXPECT_EQ(ring.Render(inlineRecord("short", 0)), "short");
}

TEST(StringifyFormat, IdNamesANarrowEntry)
{
    RenderRing ring;
    ring.Manager().AddFormatString("first %d");
    const int id = ring.Manager().AddFormatString("second %d");
    EXPECT_EQ(ring.Render(HandMadeRecord().Id(static_cast<short>(id)).Count(1).Int32(5)), "second 5");
    EXPECT_EQ(ring.Left(), 0u);
}

TEST(StringifyFormat, IdWithoutValues)
{
    RenderRing ring;
    ring.Manager().AddFormatString("100%% ready");
    EXPECT_EQ(ring.Render(HandMadeRecord().Id(0).Count(0)), "100% ready");
}

TEST(StringifyFormat, LargeIdIsFound)
{
    RenderRing ring;
    for (int id = 0; id < 32767; ++id) {
        ring.Manager().AddFormatString("not this one");
    }
    ring.Manager().AddFormatString("the last one that an id can name");
    EXPECT_EQ(ring.Render(HandMadeRecord().Id(32767).Count(0)), "the last one that an id can name");
}

TEST(StringifyFormat, WideEntryIsAMarker)
{
    RenderRing ring;
    ring.Manager().AddFormatString(L"wide %d");
    EXPECT_EQ(ring.Render(HandMadeRecord().Id(0).Count(0)), "<WIDE FORMAT STRING NOT SUPPORTED>");
    EXPECT_EQ(ring.Left(), 0u);
}

TEST(StringifyFormat, WideEntryWithValuesIsAMarkerAndTheList)
{
    RenderRing ring;
    ring.Manager().AddFormatString(L"wide %d");
    EXPECT_EQ(ring.Render(HandMadeRecord().Id(0).Count(2).Int32(5).Int32(6)),
              "<WIDE FORMAT STRING NOT SUPPORTED> (5, 6) ");
    EXPECT_EQ(ring.Left(), 0u);
}

TEST(StringifyFormat, UninitializedIdIsAMarker)
{
    RenderRing ring;
    EXPECT_EQ(ring.Render(HandMadeRecord().Id(-1).Count(0)), "<UNINITIALIZED FORMAT STRING ID USED>");
    EXPECT_EQ(ring.Left(), 0u);
}

TEST(StringifyFormat, UninitializedIdWithValuesIsAMarkerAndTheList)
{
    RenderRing ring;
    ring.Manager().AddFormatString("not this one");
    EXPECT_EQ(ring.Render(HandMadeRecord().Id(-1).Count(2).Int32(5).String("six")),
              "<UNINITIALIZED FORMAT STRING ID USED> (5, six) ");
    EXPECT_EQ(ring.Left(), 0u);
}

TEST(StringifyFormat, IdBeyondTheTableActsAsAnEmptyFormat)
{
    RenderRing ring;
    ring.Manager().AddFormatString("the only one");
    EXPECT_EQ(ring.Render(HandMadeRecord().Id(1).Count(0)), "");
    EXPECT_EQ(ring.Render(HandMadeRecord().Id(32767).Count(1).Int32(5)), " (5) ");
    EXPECT_EQ(ring.Left(), 0u);
}

TEST(StringifyFormat, OtherNegativeIdActsAsAnEmptyFormat)
{
    RenderRing ring;
    ring.Manager().AddFormatString("the only one");
    EXPECT_EQ(ring.Render(HandMadeRecord().Id(-2).Count(0)), "");
    EXPECT_EQ(ring.Render(HandMadeRecord().Id(-32768).Count(1).Int32(5)), " (5) ");
    EXPECT_EQ(ring.Left(), 0u);
}

TEST(StringifyFormat, UnknownKindIsAMarker)
{
    RenderRing ring;
    for (int kind : { 0, 2, 4, 255 }) {
        EXPECT_EQ(ring.Render(HandMadeRecord().Byte(static_cast<unsigned char>(kind)).Count(0)),
                  "<BAD FORMAT STRING>");
    }
    EXPECT_EQ(ring.Left(), 0u);
}

TEST(StringifyFormat, UnknownKindWithAValueIsAMarkerAndTheList)
{
    RenderRing ring;
    EXPECT_EQ(ring.Render(HandMadeRecord().Byte(2).Count(1).Int32(5)), "<BAD FORMAT STRING> (5) ");
    EXPECT_EQ(ring.Left(), 0u);
}

TEST(StringifyFormat, NothingIsReadForTheFormatOfAnUnknownKind)
{
    RenderRing ring;
    // The byte behind the kind is the number of values already.
    EXPECT_EQ(ring.Render(HandMadeRecord().Byte(9).Byte(0).Byte(77)), "<BAD FORMAT STRING>");
    EXPECT_EQ(ring.Left(), 1u);
}

TEST(StringifyFormat, MarkersAreEmptyWithoutRendering)
{
    RenderRing ring;
    ring.Manager().AddFormatString(L"wide");
    EXPECT_EQ(ring.Render(HandMadeRecord().Id(-1).Count(1).Int32(5), false), "");
    EXPECT_EQ(ring.Render(HandMadeRecord().Id(0).Count(1).Int32(5), false), "");
    EXPECT_EQ(ring.Render(HandMadeRecord().Byte(2).Count(1).Int32(5), false), "");
    EXPECT_EQ(ring.Left(), 0u);
}

TEST(StringifyFormat, TextWithoutValuesIsStillAFormat)
{
    RenderRing ring;
    EXPECT_EQ(ring.Render(inlineRecord("50%% done", 0)), "50% done");
}

TEST(StringifyFormat, DoubledPercentsWithoutValuesAllHalve)
{
    RenderRing ring;
    EXPECT_EQ(ring.Render(inlineRecord("%%%% \\%% %%", 0)), "%% \\% %");
}

TEST(StringifyFormat, TextWithoutValuesIsEmptyWithoutRendering)
{
    RenderRing ring;
    EXPECT_EQ(ring.Render(inlineRecord("50%% done", 0), false), "");
    EXPECT_EQ(ring.Left(), 0u);
}

TEST(StringifyFormat, NoListFollowsATextWithoutValues)
{
    RenderRing ring;
    EXPECT_EQ(formatsUsedFor(ring, inlineRecord("plain", 0)), (std::vector<std::string> { "plain" }));
}

TEST(StringifyFormat, ValueCountsFrom128AreNone)
{
    RenderRing ring;
    for (int count : { 0x80, 0x81, 0xC0, 0xFE, 0xFF }) {
        EXPECT_EQ(ring.Render(inlineRecord("50%% done", count)), "50% done") << count;
    }
    EXPECT_EQ(ring.Left(), 0u);
}

TEST(StringifyFormat, BytesBehindAValueCountFrom128AreLeft)
{
    RenderRing ring;
    EXPECT_EQ(ring.Render(inlineRecord("text", 0x80).Int32(5)), "text");
    EXPECT_EQ(ring.Left(), 5u);
}

TEST(StringifyFormat, ValueCountOf127IsTaken)
{
    RenderRing ring;
    HandMadeRecord record = inlineRecord("n", 127);
    std::string expected = "n (";
    for (int i = 0; i < 127; ++i) {
        record.Int8(static_cast<signed char>(i));
        expected += std::to_string(i) + (i < 126 ? ", " : "");
    }
    EXPECT_EQ(ring.Render(record), expected + ") ");
    EXPECT_EQ(ring.Left(), 0u);
}
