// How numbers are widened for the formatter, and argument tags that mean nothing.
#include "hslog/HSL.h"

#include "RenderRing.h"

#include <gtest/gtest.h>

#include <limits>

namespace {

constexpr char kBadArg[] = "<BAD ARG> I'm horribly confused";

} // namespace

TEST(StringifyValues, Int8IsSignExtended)
{
    RenderRing ring;
    EXPECT_EQ(ring.Render(inlineRecord("%u", 1).Int8(-1)), "4294967295");
    EXPECT_EQ(ring.Render(inlineRecord("%d", 1).Int8(-128)), "-128");
}

TEST(StringifyValues, Int16IsSignExtended)
{
    RenderRing ring;
    EXPECT_EQ(ring.Render(inlineRecord("%x", 1).Int16(-2)), "fffffffe");
    EXPECT_EQ(ring.Render(inlineRecord("%d", 1).Int16(-32768)), "-32768");
}

TEST(StringifyValues, UInt8IsZeroExtended)
{
    RenderRing ring;
    EXPECT_EQ(ring.Render(inlineRecord("%d", 1).UInt8(255)), "255");
}

TEST(StringifyValues, UInt16IsZeroExtended)
{
    RenderRing ring;
    EXPECT_EQ(ring.Render(inlineRecord("%d", 1).UInt16(65535)), "65535");
}

TEST(StringifyValues, Int64KeepsAllItsBits)
{
    RenderRing ring;
    EXPECT_EQ(ring.Render(inlineRecord("", 1).Int64(std::numeric_limits<long long>::min())),
              " (-9223372036854775808) ");
}

TEST(StringifyValues, FloatIsPromotedUnrounded)
{
    RenderRing ring;
    EXPECT_EQ(ring.Render(inlineRecord("%.17g", 1).Float(0.1f)), "0.10000000149011612");
}

TEST(StringifyValues, FloatAndDoubleDifferInTheList)
{
    RenderRing ring;
    EXPECT_EQ(ring.Render(inlineRecord("", 2).Float(2.5f).Double(2.5)), " (2.500000, 2.5) ");
}

TEST(StringifyValues, LongShowsOnlyItsLow32BitsInTheList)
{
    RenderRing ring;
    EXPECT_EQ(ring.Render(inlineRecord("", 1).Long(static_cast<long>(0x7FFFFFFF00000005LL))), " (5) ");
    EXPECT_EQ(ring.Render(inlineRecord("", 1).Long(static_cast<long>(0x00000001FFFFFFFFLL))), " (-1) ");
}

TEST(StringifyValues, PointerShowsOnlyItsLow32BitsInTheList)
{
    RenderRing ring;
    EXPECT_EQ(ring.Render(inlineRecord("", 1).Pointer(static_cast<std::uintptr_t>(0x7FFF00000000BEEFULL))),
              " (0xbeef) ");
}

TEST(StringifyValues, NullPointerIsZeroInTheList)
{
    RenderRing ring;
    EXPECT_EQ(ring.Render(inlineRecord("", 1).Pointer(0)), " (0x0) ");
}

TEST(StringifyValues, LongAndPointerHaveTheirNativeWidth)
{
    RenderRing ring;
    EXPECT_EQ(ring.Render(inlineRecord("%ld %d", 2).Long(-7).Int32(8)), "-7 8");
    EXPECT_EQ(ring.Render(inlineRecord("%p %d", 2).Pointer(16).Int32(8)), "0x10 8");
    EXPECT_EQ(inlineRecord("", 1).Long(0).Size(), 5 + sizeof(void*));
    EXPECT_EQ(ring.Left(), 0u);
}

TEST(StringifyValues, ZeroCharacterEndsItsPieceOnly)
{
    RenderRing ring;
    EXPECT_EQ(ring.Render(inlineRecord("a%cb%d", 2).Int32(0).Int32(5)), "ab5");
}

TEST(StringifyValues, ZeroCharacterInFrontOfTheRestLeavesTheRest)
{
    RenderRing ring;
    EXPECT_EQ(ring.Render(inlineRecord("a%cb", 1).Int32(0)), "ab");
}

TEST(StringifyValues, UnknownTagIsAMarker)
{
    RenderRing ring;
    for (int tag : { 0, 1, 2, 3, 19, 20, 127, 128, 254, 255 }) {
        EXPECT_EQ(ring.Render(inlineRecord("%d", 1).Byte(static_cast<unsigned char>(tag))), kBadArg) << tag;
    }
    EXPECT_EQ(ring.Left(), 0u);
}

TEST(StringifyValues, UnknownTagSwallowsItsPiece)
{
    RenderRing ring;
    EXPECT_EQ(ring.Render(inlineRecord("x=%d y=%d.", 2).Byte(19).Int32(6)), std::string(kBadArg) + " y=6.");
}

TEST(StringifyValues, UnknownTagIsRenderedEvenWithoutRendering)
{
    RenderRing ring;
    EXPECT_EQ(ring.Render(inlineRecord("x=%d y=%d.", 2).Byte(19).Int32(6), false), kBadArg);
    EXPECT_EQ(ring.Left(), 0u);
}

TEST(StringifyValues, EveryUnknownTagIsRenderedEvenWithoutRendering)
{
    RenderRing ring;
    EXPECT_EQ(ring.Render(inlineRecord("", 3).Byte(0).Int32(6).Byte(99), false),
              std::string(kBadArg) + kBadArg);
    EXPECT_EQ(ring.Left(), 0u);
}

TEST(StringifyValues, PayloadOfAnUnknownTagIsReadAsTheNextTag)
{
    RenderRing ring;
    // Tag 19 with a "payload" that looks like an 8-bit integer.
    EXPECT_EQ(ring.Render(inlineRecord("%d %d", 2).Byte(19).Byte(4).Byte(7)), std::string(kBadArg) + " 7");
    EXPECT_EQ(ring.Left(), 0u);
}

TEST(StringifyValues, LoopGoesOnWithTheNextIndexAfterAnUnknownTag)
{
    RenderRing ring;
    EXPECT_EQ(ring.Render(inlineRecord("%d", 3).Byte(0).Byte(0).Byte(0)),
              std::string(kBadArg) + " (" + kBadArg + ", " + kBadArg + ") ");
    EXPECT_EQ(ring.Left(), 0u);
}

TEST(StringifyValues, UnknownTagInAList)
{
    RenderRing ring;
    EXPECT_EQ(ring.Render(inlineRecord("h", 3).Int32(1).Byte(200).Int32(3)),
              std::string("h (1, ") + kBadArg + ", 3) ");
}

TEST(StringifyValues, UnknownTagInAListWithoutRenderingStandsAlone)
{
    RenderRing ring;
    EXPECT_EQ(ring.Render(inlineRecord("h", 3).Int32(1).Byte(200).Int32(3), false), kBadArg);
    EXPECT_EQ(ring.Left(), 0u);
}

TEST(StringifyValues, MarkerIsTheOnlyTextFormattedWithoutRendering)
{
    RenderRing ring;
    EXPECT_EQ(formatsUsedFor(ring, inlineRecord("h%d!", 2).Byte(0).Int32(1), false),
              (std::vector<std::string> { kBadArg }));
}
