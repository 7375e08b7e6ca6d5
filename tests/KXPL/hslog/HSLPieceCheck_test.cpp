// Which pieces of a format may meet the C library with which values.
#include "hslog/render/HSLPieceCheck.h"

#include "hslog/HSLValue.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using namespace HSL;
using FormatCheck::Problem;

Problem problem(const std::string& format, unsigned char tag)
{
    FormatPieces pieces(format.data(), format.size());
    Piece piece;
    EXPECT_EQ(pieces.Seek(piece), FormatPieces::kPiece) << format;
    return problemOf(piece, tag);
}

Problem literal(const std::string& text)
{
    return problemOfLiteral(text.data(), text.size());
}

const std::vector<unsigned char> kEveryTag = { kInt8,   kInt16,   kInt32,  kInt64,   kUInt8,
                                               kUInt16, kUInt32,  kUInt64, kFloat,   kDouble,
                                               kLong,   kPointer, kString, kWString, kUTF16String };

} // namespace

TEST(PieceCheck, ConversionsThatSuitMayBeTried)
{
    EXPECT_EQ(problem("at %d", kInt32), FormatCheck::kNone);
    EXPECT_EQ(problem("%-8.3hhd", kInt8), FormatCheck::kNone);
    EXPECT_EQ(problem("%lld", kInt64), FormatCheck::kNone);
    EXPECT_EQ(problem("%ld", kLong), FormatCheck::kNone);
    EXPECT_EQ(problem("%.3f", kFloat), FormatCheck::kNone);
    EXPECT_EQ(problem("%s", kString), FormatCheck::kNone);
    EXPECT_EQ(problem("%S", kWString), FormatCheck::kNone);
    EXPECT_EQ(problem("%ls", kUTF16String), FormatCheck::kNone);
    EXPECT_EQ(problem("%p", kPointer), FormatCheck::kNone);
}

TEST(PieceCheck, ConversionsMayReadLessOfAnIntegerThanItHas)
{
    EXPECT_EQ(problem("%d", kLong), FormatCheck::kNone) << "a long's own conversion";
    EXPECT_EQ(problem("0x%x", kPointer), FormatCheck::kNone) << "a pointer's own conversion";
    EXPECT_EQ(problem("%hd", kInt64), FormatCheck::kNone);
    EXPECT_EQ(problem("%ld", kInt64), FormatCheck::kNone);
    EXPECT_EQ(problem("%c", kUInt64), FormatCheck::kNone);
}

TEST(PieceCheck, ConversionsMustNotReadMoreThanWasHandedOver)
{
    EXPECT_EQ(problem("%lld", kInt32), FormatCheck::kUnsuitable);
    EXPECT_EQ(problem("%jd", kUInt8), FormatCheck::kUnsuitable);
    EXPECT_EQ(problem("%Lf", kDouble), FormatCheck::kUnsuitable);
    EXPECT_EQ(problem("%f", kInt64), FormatCheck::kUnsuitable);
    EXPECT_EQ(problem("%d", kDouble), FormatCheck::kUnsuitable);
    if (sizeof(long) > sizeof(int)) {
        EXPECT_EQ(problem("%p", kInt32), FormatCheck::kUnsuitable);
        EXPECT_EQ(problem("%zu", kUInt32), FormatCheck::kUnsuitable);
    }
}

TEST(PieceCheck, NothingButATextIsFollowedAsOne)
{
    for (const unsigned char tag : kEveryTag) {
        const bool isNarrow = tag == kString;
        const bool isWide = tag == kWString || tag == kUTF16String;
        EXPECT_EQ(problem("%s", tag) == FormatCheck::kNone, isNarrow) << static_cast<int>(tag);
        EXPECT_EQ(problem("%S", tag) == FormatCheck::kNone, isWide) << static_cast<int>(tag);
        EXPECT_EQ(problem("%ls", tag) == FormatCheck::kNone, isWide) << static_cast<int>(tag);
    }
}

TEST(PieceCheck, NoValueMakesAWritingConversionOrAStarHarmless)
{
    for (const unsigned char tag : kEveryTag) {
        EXPECT_EQ(problem("%n", tag), FormatCheck::kWrites);
        EXPECT_EQ(problem("%hhn", tag), FormatCheck::kWrites);
        EXPECT_EQ(problem("%*d", tag), FormatCheck::kWidthFromValue);
        EXPECT_EQ(problem("%.*s", tag), FormatCheck::kWidthFromValue);
    }
}

TEST(PieceCheck, WidthAndPrecisionAreBounded)
{
    EXPECT_EQ(problem("%65535d", kInt32), FormatCheck::kNone);
    EXPECT_EQ(problem("%65536d", kInt32), FormatCheck::kTooWide);
    EXPECT_EQ(problem("%.65535s", kString), FormatCheck::kNone);
    EXPECT_EQ(problem("%.999999999e", kDouble), FormatCheck::kTooWide);
    EXPECT_EQ(problem("%99999999999999999999d", kInt32), FormatCheck::kTooWide) << "beyond any integer";
}

TEST(PieceCheck, WhatIsNoConversionIsNotTried)
{
    EXPECT_EQ(problem("% %d", kInt32), FormatCheck::kMalformed);
    EXPECT_EQ(problem("%1$s", kString), FormatCheck::kMalformed);
    EXPECT_EQ(problem(std::string("%\0d", 3), kInt32), FormatCheck::kMalformed);
    EXPECT_EQ(problem("%a and d", kDouble), FormatCheck::kMalformed) << "the renderer takes up to the n";
}

TEST(PieceCheck, SearchesThatNeverEndAreFoundBeforeTheyBegin)
{
    for (const std::string format : { "100%% of %s", "\\%d", "%%" }) {
        FormatPieces pieces(format.data(), format.size());
        Piece piece;
        EXPECT_EQ(pieces.Seek(piece), FormatPieces::kEndless) << format;
    }
    FormatPieces pieces("no conversion %", 15);
    Piece piece;
    EXPECT_EQ(pieces.Seek(piece), FormatPieces::kNoMore);
}

TEST(PieceCheck, LiteralsMayHoldOnlyPercentSignsThatStandForThemselves)
{
    EXPECT_EQ(literal("50%% done"), FormatCheck::kNone);
    EXPECT_EQ(literal("%%%%"), FormatCheck::kNone);
    EXPECT_EQ(literal("100%"), FormatCheck::kNone) << "takes no value, whatever becomes of it";
    EXPECT_EQ(literal("100% done"), FormatCheck::kTooFewValues);
    EXPECT_EQ(literal("%s"), FormatCheck::kTooFewValues);
    EXPECT_EQ(literal("%%%n"), FormatCheck::kTooFewValues);
    EXPECT_EQ(literal(std::string("seen\0%s", 7)), FormatCheck::kNone) << "the formatter ends at the zero byte";
}
