// How a format is cut into pieces, and what becomes of too many and too few values.
#include "hslog/HSL.h"

#include "RenderRing.h"

#include <gtest/gtest.h>

namespace {

using Formats = std::vector<std::string>;

} // namespace

TEST(StringifyPieces, EachConversionTakesOneValue)
{
    RenderRing ring;
    EXPECT_EQ(ring.Render(inlineRecord("x=%d y=%s", 2).Int32(5).String("ab")), "x=5 y=ab");
    EXPECT_EQ(ring.Left(), 0u);
}

TEST(StringifyPieces, PieceHoldsTheTextInFrontOfItsConversion)
{
    RenderRing ring;
    EXPECT_EQ(formatsUsedFor(ring, inlineRecord("x=%d y=%-5.2s, z", 2).Int32(5).String("ab")),
              (Formats { "x=%d", " y=%-5.2s", ", z" }));
}

TEST(StringifyPieces, AdjoiningConversions)
{
    RenderRing ring;
    EXPECT_EQ(ring.Render(inlineRecord("%d%d%d", 3).Int32(1).Int32(2).Int32(3)), "123");
}

TEST(StringifyPieces, TenConversions)
{
    RenderRing ring;
    HandMadeRecord record = inlineRecord("%d-%d-%d-%d-%d-%d-%d-%d-%d-%d.", 10);
    for (int i = 0; i < 10; ++i) {
        record.Int32(i * 11);
    }
    EXPECT_EQ(ring.Render(record), "0-11-22-33-44-55-66-77-88-99.");
}

TEST(StringifyPieces, FlagsWidthPrecisionAndLengthBelongToThePiece)
{
    RenderRing ring;
    EXPECT_EQ(ring.Render(inlineRecord("[%+08.3lld][%#10x][%-6s]", 3).Int64(42).UInt32(255).String("ab")),
              "[    +042][      0xff][ab    ]");
}

TEST(StringifyPieces, ExactlyTheSeventeenLettersEndAPiece)
{
    const std::string letters = "cCdiouxXeEfgGnpsS";
    RenderRing ring;
    for (int character = 1; character < 256; ++character) {
        const char letter = static_cast<char>(character);
        if (letter == '%') {
            continue; // never returns
        }
        const std::string start = std::string("a%") + letter;
        const bool ends = letters.find(letter) != std::string::npos;
        EXPECT_EQ(formatsUsedFor(ring, inlineRecord(start + "bd", 1).Int32(5)),
                  ends ? (Formats { start, "bd" }) : (Formats { start + "bd" }))
            << character;
    }
}

TEST(StringifyPieces, LetterThatEndsNoPieceIsPartOfTheConversion)
{
    // "%a" is a conversion to the C library but not to the cutting of pieces, which goes on to the "n".
    RenderRing ring;
    EXPECT_EQ(formatsUsedFor(ring, inlineRecord("%a and %d", 1).Double(1)),
              (Formats { "%a an", "[extra format arguments: d _d ]" }));
}

TEST(StringifyPieces, BlankIsAFlag)
{
    RenderRing ring;
    EXPECT_EQ(ring.Render(inlineRecord("100% done %d", 1).Int32(5)), "100 5[extra format arguments: one _d ]");
}

TEST(StringifyPieces, TextAfterTheLastConversionIsPrinted)
{
    RenderRing ring;
    EXPECT_EQ(ring.Render(inlineRecord("a=%d!", 1).Int32(1)), "a=1!");
}

TEST(StringifyPieces, SurplusValuesAreListed)
{
    RenderRing ring;
    EXPECT_EQ(ring.Render(inlineRecord("count %d", 3).Int32(1).Int32(2).Int32(3)), "count 1 (2, 3) ");
}

TEST(StringifyPieces, OneSurplusValueHasNoComma)
{
    RenderRing ring;
    EXPECT_EQ(ring.Render(inlineRecord("count %d", 2).Int32(1).Int32(2)), "count 1 (2) ");
}

TEST(StringifyPieces, FormatWithoutConversionsListsEverything)
{
    RenderRing ring;
    EXPECT_EQ(ring.Render(inlineRecord("hello", 1).Int32(7)), "hello (7) ");
    EXPECT_EQ(ring.Render(inlineRecord("hello", 3).Int32(7).String("x").Double(0.5)), "hello (7, x, 0.5) ");
}

TEST(StringifyPieces, TextAfterTheLastConversionComesBeforeTheList)
{
    RenderRing ring;
    EXPECT_EQ(ring.Render(inlineRecord("a=%d, done.", 2).Int32(1).Int32(2)), "a=1, done. (2) ");
}

TEST(StringifyPieces, EachPartOfTheListIsFormattedOnItsOwn)
{
    RenderRing ring;
    EXPECT_EQ(formatsUsedFor(ring, inlineRecord("a=%d, done.", 3).Int32(1).Int32(2).String("s")),
              (Formats { "a=%d", ", done.", " (", "%d", ", ", "%s", ") " }));
}

TEST(StringifyPieces, ListEndsWithABlankEvenWhenItsValuesAreEmpty)
{
    RenderRing ring;
    EXPECT_EQ(ring.Render(inlineRecord("h", 2).String("").String("")), "h (, ) ");
}

TEST(StringifyPieces, MissingValueIsReported)
{
    RenderRing ring;
    EXPECT_EQ(ring.Render(inlineRecord("a=%d b=%d", 1).Int32(1)), "a=1[extra format arguments:  b=_d ]");
}

TEST(StringifyPieces, SeveralMissingValuesAreReportedTogether)
{
    RenderRing ring;
    EXPECT_EQ(ring.Render(inlineRecord("%d, %s and %5.1f.", 1).Int32(1)),
              "1[extra format arguments: , _s and _5.1f. ]");
}

TEST(StringifyPieces, DoubledPercentAfterTheLastConversionIsReported)
{
    RenderRing ring;
    EXPECT_EQ(ring.Render(inlineRecord("%d%%", 1).Int32(5)), "5[extra format arguments: __ ]");
}

TEST(StringifyPieces, PercentAfterABackslashBehindTheLastValueIsReported)
{
    RenderRing ring;
    EXPECT_EQ(ring.Render(inlineRecord("%d \\%d", 1).Int32(5)), "5[extra format arguments:  \\_d ]");
}

TEST(StringifyPieces, LonePercentAfterTheLastConversionIsReported)
{
    RenderRing ring;
    EXPECT_EQ(ring.Render(inlineRecord("%d%", 1).Int32(5)), "5[extra format arguments: _ ]");
}

TEST(StringifyPieces, ReportIsHandedOverAsAFormatWithoutPercents)
{
    RenderRing ring;
    EXPECT_EQ(formatsUsedFor(ring, inlineRecord("%d%s%%", 1).Int32(5)),
              (Formats { "%d", "[extra format arguments: _s__ ]" }));
}

TEST(StringifyPieces, PercentWithoutALetterBehindItIsNoConversion)
{
    RenderRing ring;
    // Handed over as it stands; what becomes of it is the C library's business.
    EXPECT_EQ(formatsUsedFor(ring, inlineRecord("5%!", 1).Int32(5)), (Formats { "5%!", " (", "%d", ") " }));
    EXPECT_EQ(ring.Left(), 0u);
}

TEST(StringifyPieces, PercentAtTheVeryEndIsNoConversion)
{
    RenderRing ring;
    EXPECT_EQ(formatsUsedFor(ring, inlineRecord("5%", 2).Int32(5).Int32(6)),
              (Formats { "5%", " (", "%d", ", ", "%d", ") " }));
}

TEST(StringifyPieces, PercentAtTheStartHasNothingInFrontOfIt)
{
    RenderRing ring;
    EXPECT_EQ(ring.Render(inlineRecord("%d\\", 1).Int32(5)), "5\\");
}

TEST(StringifyPieces, BackslashElsewhereIsText)
{
    RenderRing ring;
    EXPECT_EQ(ring.Render(inlineRecord("C:\\dir\\ %d\\", 1).Int32(5)), "C:\\dir\\ 5\\");
}

TEST(StringifyPieces, SecondPercentInsideAConversionBelongsToIt)
{
    RenderRing ring;
    EXPECT_EQ(formatsUsedFor(ring, inlineRecord("%5%d", 1).Int32(5)), (Formats { "%5%d" }));
}

TEST(StringifyPieces, WithoutRenderingTheSameBytesAreTaken)
{
    RenderRing ring;
    EXPECT_EQ(ring.Render(inlineRecord("a=%d", 3).Int32(1).String("two").Double(3), false), "");
    EXPECT_EQ(ring.Left(), 0u);
    EXPECT_EQ(ring.Render(inlineRecord("a=%d b=%d", 1).Int32(1), false), "");
    EXPECT_EQ(ring.Left(), 0u);
}

TEST(StringifyPieces, WithoutRenderingNothingIsFormatted)
{
    RenderRing ring;
    EXPECT_EQ(formatsUsedFor(ring, inlineRecord("a=%d b", 3).Int32(1).String("two").Double(3), false),
              Formats {});
}
