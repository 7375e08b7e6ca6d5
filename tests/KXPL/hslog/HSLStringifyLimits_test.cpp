// Pieces that are too long, formatting that fails, and records with fewer bytes than they announce.
#include "hslog/HSL.h"

#include "RenderRing.h"

#include <gtest/gtest.h>

#include <cstring>

TEST(StringifyLimits, PieceIsCutAt65535Bytes)
{
    RenderRing ring;
    EXPECT_EQ(ring.Render(inlineRecord("%70000d", 1).Int32(5)), std::string(65535, ' '));
}

TEST(StringifyLimits, EachPieceIsCutOnItsOwn)
{
    RenderRing ring;
    const std::string blanks(65535, ' ');
    EXPECT_EQ(ring.Render(inlineRecord("%70000d%65535d%d end", 3).Int32(5).Int32(6).Int32(7)),
              blanks + std::string(65534, ' ') + "67 end");
}

TEST(StringifyLimits, TextInFrontOfALongStringCountsToThePiece)
{
    RenderRing ring;
    EXPECT_EQ(ring.Render(inlineRecord("ten bytes:%s", 1).String(std::string(65535, 's'))),
              "ten bytes:" + std::string(65525, 's'));
}

TEST(StringifyLimits, ReportOfMissingValuesIsCutToo)
{
    RenderRing ring;
    const std::string format = "%d" + std::string(65530, 'x') + "%d";
    const std::string report = "[extra format arguments: " + std::string(65530, 'x') + "_d ]";
    EXPECT_EQ(ring.Render(inlineRecord(format, 1).Int32(5)), "5" + report.substr(0, 65535));
}

TEST(StringifyLimits, FormatterIsToldTheSizeOfItsOutput)
{
    RenderRing ring;
    std::vector<std::size_t> sizes;
    {
        const WithoutShortcuts everyPiece;
        Interposed hooks;
        hooks.vsnprintfHook = [&sizes](char* output, std::size_t size, const char* format, va_list values) {
            sizes.push_back(size);
            return __real_vsnprintf(output, size, format, values);
        };
        ring.Render(inlineRecord("%d!", 1).Int32(5));
    }
    EXPECT_EQ(sizes, (std::vector<std::size_t> { 65536, 65536 }));
}

TEST(StringifyLimits, ValueThatCannotBeEncodedNeverShowsAnEarlierText)
{
    RenderRing ring;
    ring.Render(inlineRecord("an earlier and longer text", 0));
    EXPECT_EQ(ring.Render(inlineRecord("%S", 1).WString(L"\u20AC")), "");
    EXPECT_EQ(ring.Render(inlineRecord("", 1).WString(L"\u20AC")), " () ");
}

TEST(StringifyLimits, TextInFrontOfAValueThatCannotBeEncodedStays)
{
    RenderRing ring;
    EXPECT_EQ(ring.Render(inlineRecord("opened %S, %d left", 2).WString(L"\u20AC").Int32(5)),
              "opened , 5 left");
}

TEST(StringifyLimits, TextInFrontOfALonePercentStays)
{
    RenderRing ring;
    EXPECT_EQ(ring.Render(inlineRecord("progress 100%", 0)), "progress 100");
    EXPECT_EQ(ring.Render(inlineRecord("progress 100%", 1).Int32(5)), "progress 100 (5) ");
}

TEST(StringifyLimits, WidthThatNoResultCanTellFillsThePiece)
{
    RenderRing ring;
    EXPECT_EQ(ring.Render(inlineRecord("%2147483647d", 1).Int32(5)), std::string(65535, ' '));
}

TEST(StringifyLimits, WhatTheFormatterWroteBeforeItFailedStays)
{
    RenderRing ring;
    Interposed hooks;
    hooks.vsnprintfHook = [](char* output, std::size_t size, const char* format, va_list values) {
        __real_vsnprintf(output, size, format, values);
        return -1;
    };
    EXPECT_EQ(ring.Render(inlineRecord("a=%1d", 1).Int32(1)), "a=1");
}

TEST(StringifyLimits, FormatterThatFailsWithoutATerminatorIsReadUpToTheLimit)
{
    RenderRing ring;
    Interposed hooks;
    hooks.vsnprintfHook = [](char* output, std::size_t size, const char*, va_list) {
        std::memset(output, 'x', size);
        return -1;
    };
    EXPECT_EQ(ring.Render(inlineRecord("a=%1d", 1).Int32(1)), std::string(65535, 'x'));
}

TEST(StringifyLimits, FormatterThatFailsWithoutWritingGivesNoText)
{
    RenderRing ring;
    ring.Render(inlineRecord("an earlier text", 0));
    std::string text;
    {
        Interposed hooks;
        hooks.vsnprintfHook = [](char* output, std::size_t size, const char* format, va_list values) {
            return std::strcmp(format, ",b=%1d") == 0 ? -1 : __real_vsnprintf(output, size, format, values);
        };
        text = ring.Render(inlineRecord("a=%d,b=%1d,c=%d", 3).Int32(1).Int32(2).Int32(3));
    }
    EXPECT_EQ(text, "a=1,c=3");
    EXPECT_EQ(ring.Left(), 0u);
}

TEST(StringifyLimits, MissingFormatTextReadsAsNoText)
{
    RenderRing ring;
    ring.Render(inlineRecord("an earlier format", 0));
    EXPECT_EQ(ring.Render(HandMadeRecord().Byte(1).Raw(static_cast<unsigned short>(10)).Bytes("cut", 3)),
              "cut");
    EXPECT_EQ(ring.Left(), 0u);
}

TEST(StringifyLimits, MissingStringBytesReadAsZeros)
{
    RenderRing ring;
    ring.Render(inlineRecord("%s", 1).String("an earlier string"));
    EXPECT_EQ(
        ring.Render(inlineRecord("<%s>", 1).Byte(16).Raw(static_cast<unsigned short>(10)).Bytes("cut", 3)),
        "<cut>");
}

TEST(StringifyLimits, MissingWideCharactersReadAsZeros)
{
    RenderRing ring;
    ring.Render(inlineRecord("%S", 1).WString(L"an earlier string"));
    EXPECT_EQ(ring.Render(inlineRecord("<%S>", 1).Byte(17).Raw(static_cast<unsigned short>(10)).Raw(L'c')),
              "<c>");
}

TEST(StringifyLimits, MissingUTF16UnitsReadAsZeros)
{
    RenderRing ring;
    ring.Render(inlineRecord("%S", 1).UTF16String(u"an earlier string"));
    EXPECT_EQ(ring.Render(inlineRecord("<%S>", 1).Byte(18).Raw(static_cast<unsigned short>(10)).Raw(u'c')),
              "<c>");
}

TEST(StringifyLimits, MissingBytesOfANumberReadAsZeros)
{
    RenderRing ring;
    EXPECT_EQ(ring.Render(inlineRecord("%x", 1).Byte(6).Byte(0x34).Byte(0x12)), "1234");
}

TEST(StringifyLimits, MissingValueReadsAsAnUnknownTag)
{
    RenderRing ring;
    EXPECT_EQ(ring.Render(inlineRecord("%d", 1)), "<BAD ARG> I'm horribly confused");
}

TEST(StringifyLimits, MissingCountReadsAsNone)
{
    RenderRing ring;
    EXPECT_EQ(ring.Render(HandMadeRecord().Inline("text")), "text");
}

TEST(StringifyLimits, EmptyRingReadsAsAnUnknownKind)
{
    RenderRing ring;
    EXPECT_EQ(ring.Render(HandMadeRecord()), "<BAD FORMAT STRING>");
    EXPECT_EQ(ring.Render(HandMadeRecord(), false), "");
}

TEST(StringifyLimits, RingThatCouldNotBeAllocatedReadsAsEmpty)
{
    RenderRing ring;
    ring.Render(inlineRecord("%s", 1).String("an earlier string"));
    CCircularBuffer broken(
        1, 4096, [](int) -> void* { return nullptr; }, CCircularBuffer::FreeFunc, CCircularBuffer::CopyFunc);
    EXPECT_EQ(ring.Manager().StringifyFormatArgs(true, broken), "<BAD FORMAT STRING>");
    EXPECT_EQ(ring.Manager().StringifyFormatArgs(false, broken), "");
}

TEST(StringifyLimits, EntryWithAZeroByteIsCutBeforePercentsAreLookedFor)
{
    RenderRing ring;
    ring.Manager().mFormatStrings.push_back({ true, std::string("%d a\0 %d", 8), std::wstring() });
    EXPECT_EQ(ring.Render(HandMadeRecord().Id(0).Count(1).Int32(5)), "5 a");
}
