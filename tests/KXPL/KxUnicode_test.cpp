// Well-formed text, ends of source and target.
#include "KxUnicode.h"

#include "UnicodeModel.h"

#include <gtest/gtest.h>

#include <type_traits>

using namespace KXPL;

namespace {

static_assert(conversionOK == 0 && sourceExhausted == 1 && targetExhausted == 2 && sourceIllegal == 3);
static_assert(strictConversion == 0 && lenientConversion == 1);
static_assert(std::is_convertible_v<ConversionResult, int> && std::is_convertible_v<ConversionFlags, int>);
static_assert(sizeof(UTF32) == 4 && sizeof(UTF32) == sizeof(wchar_t) && std::is_unsigned_v<UTF32>);
static_assert(std::is_same_v<UTF32, std::conditional_t<sizeof(void*) == 8, unsigned int, unsigned long>>);
static_assert(std::is_same_v<UTF16, unsigned short> && std::is_same_v<UTF8, unsigned char>);

constexpr UnicodeForm k8 = UnicodeForm::utf8;
constexpr UnicodeForm k16 = UnicodeForm::utf16;
constexpr UnicodeForm k32 = UnicodeForm::utf32;

void expectInBothModes(UnicodeForm from, UnicodeForm to, const UnicodeUnits& source, std::size_t room,
                       const UnicodeOutcome& expected)
{
    EXPECT_EQ(strictly(from, to, source, room), expected);
    EXPECT_EQ(leniently(from, to, source, room), expected);
}

} // namespace

TEST(KxUnicode, EmptySourceIsConvertedAndMovesNothing)
{
    for (const UnicodeConverter& converter : kUnicodeConverters) {
        for (const std::size_t room : { 0u, 5u }) {
            SCOPED_TRACE(converter.name);
            expectInBothModes(converter.from, converter.to, {}, room, { conversionOK, 0, {} });
        }
    }
}

namespace {

template <typename Source, typename Target>
void expectNothingReadFor(ConversionResult (*convert)(const Source**, const Source*, Target**, Target*,
                                                      ConversionFlags))
{
    const Source unit = 0x41;
    const Source* source = &unit;
    EXPECT_EQ(convert(&source, &unit, nullptr, nullptr, strictConversion), conversionOK);
    EXPECT_EQ(convert(&source, &unit, nullptr, nullptr, lenientConversion), conversionOK);
    EXPECT_EQ(source, &unit);
}

} // namespace

TEST(KxUnicode, NothingIsReadThroughTheOtherArgumentsForAnEmptySource)
{
    expectNothingReadFor(ConvertUTF32toUTF16);
    expectNothingReadFor(ConvertUTF16toUTF32);
    expectNothingReadFor(ConvertUTF16toUTF8);
    expectNothingReadFor(ConvertUTF8toUTF16);
    expectNothingReadFor(ConvertUTF32toUTF8);
    expectNothingReadFor(ConvertUTF8toUTF32);
}

TEST(KxUnicode, SourceBehindItsEndIsTakenForEmpty)
{
    const UTF16 text[] = { 0x41, 0x42 };
    UTF32 room[2] = { 7, 7 };
    const UTF16* source = text + 1;
    UTF32* target = room;
    EXPECT_EQ(ConvertUTF16toUTF32(&source, text, &target, room + 2, strictConversion), conversionOK);
    EXPECT_EQ(source, text + 1);
    EXPECT_EQ(target, room);
    EXPECT_EQ(room[0], 7u);
}

TEST(KxUnicode, SurrogatePairIsOneCharacter)
{
    expectInBothModes(k16, k32, { 0xD83D, 0xDE00 }, 1, { conversionOK, 2, { 0x1F600 } });
    expectInBothModes(k16, k8, { 0xD83D, 0xDE00 }, 4, { conversionOK, 2, { 0xF0, 0x9F, 0x98, 0x80 } });
    expectInBothModes(k32, k16, { 0x1F600 }, 2, { conversionOK, 1, { 0xD83D, 0xDE00 } });
    expectInBothModes(k8, k16, { 0xF0, 0x9F, 0x98, 0x80 }, 2, { conversionOK, 4, { 0xD83D, 0xDE00 } });
    expectInBothModes(k8, k32, { 0xF0, 0x9F, 0x98, 0x80 }, 1, { conversionOK, 4, { 0x1F600 } });
    expectInBothModes(k32, k8, { 0x1F600 }, 4, { conversionOK, 1, { 0xF0, 0x9F, 0x98, 0x80 } });
}

TEST(KxUnicode, FirstAndLastValueOfEveryLengthInUTF8)
{
    const struct {
        std::uint32_t value;
        UnicodeUnits bytes;
    } cases[] = {
        { 0x0, { 0x00 } },
        { 0x7F, { 0x7F } },
        { 0x80, { 0xC2, 0x80 } },
        { 0x7FF, { 0xDF, 0xBF } },
        { 0x800, { 0xE0, 0xA0, 0x80 } },
        { 0xD7FF, { 0xED, 0x9F, 0xBF } },
        { 0xE000, { 0xEE, 0x80, 0x80 } },
        { 0xFFFF, { 0xEF, 0xBF, 0xBF } },
        { 0x10000, { 0xF0, 0x90, 0x80, 0x80 } },
        { 0x10FFFF, { 0xF4, 0x8F, 0xBF, 0xBF } },
    };
    for (const auto& [value, bytes] : cases) {
        expectInBothModes(k32, k8, { value }, bytes.size(), { conversionOK, 1, bytes });
        expectInBothModes(k8, k32, bytes, 1, { conversionOK, bytes.size(), { value } });
    }
}

TEST(KxUnicode, FirstAndLastValueOfEveryLengthInUTF16)
{
    const struct {
        std::uint32_t value;
        UnicodeUnits units;
    } cases[] = {
        { 0x0, { 0x0000 } },    { 0xD7FF, { 0xD7FF } },          { 0xE000, { 0xE000 } },
        { 0xFFFF, { 0xFFFF } }, { 0x10000, { 0xD800, 0xDC00 } }, { 0x10FFFF, { 0xDBFF, 0xDFFF } },
    };
    for (const auto& [value, units] : cases) {
        expectInBothModes(k32, k16, { value }, units.size(), { conversionOK, 1, units });
        expectInBothModes(k16, k32, units, 1, { conversionOK, units.size(), { value } });
    }
}

TEST(KxUnicode, ZeroIsACharacterLikeAnyOther)
{
    expectInBothModes(k16, k32, { 0x41, 0x0, 0x42 }, 3, { conversionOK, 3, { 0x41, 0x0, 0x42 } });
}

TEST(KxUnicode, HighSurrogateAtTheEndOfTheSourceIsExhaustedInBothModes)
{
    expectInBothModes(k16, k32, { 0xD83D }, 9, { sourceExhausted, 0, {} });
    expectInBothModes(k16, k32, { 0x41, 0xD83D }, 9, { sourceExhausted, 1, { 0x41 } });
    expectInBothModes(k16, k8, { 0x41, 0xD83D }, 9, { sourceExhausted, 1, { 0x41 } });
}

TEST(KxUnicode, CutSequenceIsExhaustedInBothModes)
{
    for (const UnicodeForm to : { k16, k32 }) {
        expectInBothModes(k8, to, { 0xE2, 0x82 }, 9, { sourceExhausted, 0, {} });
        expectInBothModes(k8, to, { 0x41, 0xC3 }, 9, { sourceExhausted, 1, { 0x41 } });
        expectInBothModes(k8, to, { 0x41, 0xF0, 0x9F, 0x98 }, 9, { sourceExhausted, 1, { 0x41 } });
    }
}

TEST(KxUnicode, CutSequenceIsExhaustedEvenIfItCouldNotBecomeLegal)
{
    for (const UnicodeForm to : { k16, k32 }) {
        expectInBothModes(k8, to, { 0xE2, 0x41 }, 9, { sourceExhausted, 0, {} });
        expectInBothModes(k8, to, { 0xC0 }, 9, { sourceExhausted, 0, {} });
        expectInBothModes(k8, to, { 0xF8, 0x88, 0x80, 0x80 }, 9, { sourceExhausted, 0, {} });
        expectInBothModes(k8, to, { 0xFF, 0x41, 0x41, 0x41, 0x41 }, 9, { sourceExhausted, 0, {} });
    }
}

TEST(KxUnicode, CharacterThatDoesNotFitIsNotConsumed)
{
    expectInBothModes(k32, k16, { 0x10000 }, 1, { targetExhausted, 0, {} });
    expectInBothModes(k32, k16, { 0x41, 0x10000 }, 2, { targetExhausted, 1, { 0x41 } });
    expectInBothModes(k8, k16, { 0xF0, 0x90, 0x80, 0x80 }, 1, { targetExhausted, 0, {} });
    expectInBothModes(k16, k32, { 0xD800, 0xDC00 }, 0, { targetExhausted, 0, {} });
    expectInBothModes(k16, k8, { 0x41, 0xD800, 0xDC00 }, 4, { targetExhausted, 1, { 0x41 } });
    expectInBothModes(k8, k32, { 0x41, 0xC3, 0xA9 }, 1, { targetExhausted, 1, { 0x41 } });
    expectInBothModes(k32, k8, { 0x41, 0x800 }, 3, { targetExhausted, 1, { 0x41 } });
}

TEST(KxUnicode, ShorterCharacterBehindOneThatDoesNotFitWaitsToo)
{
    expectInBothModes(k32, k8, { 0x800, 0x41 }, 2, { targetExhausted, 0, {} });
}

TEST(KxUnicode, TargetThatIsJustLargeEnoughIsNoError)
{
    expectInBothModes(k32, k8, { 0x41, 0x7FF, 0xFFFD, 0x10FFFF }, 10,
                      { conversionOK, 4, { 0x41, 0xDF, 0xBF, 0xEF, 0xBF, 0xBD, 0xF4, 0x8F, 0xBF, 0xBF } });
}

TEST(KxUnicode, TargetBehindItsEndHasNoRoom)
{
    const UTF32 text[] = { 0x41 };
    UTF8 room[2] = { 7, 7 };
    const UTF32* source = text;
    UTF8* target = room + 1;
    EXPECT_EQ(ConvertUTF32toUTF8(&source, text + 1, &target, room, lenientConversion), targetExhausted);
    EXPECT_EQ(source, text);
    EXPECT_EQ(target, room + 1);
    EXPECT_EQ(room[1], 7);
}

TEST(KxUnicode, NothingIsWrittenBehindTheText)
{
    UTF32 room[3] = { 7, 7, 7 };
    const UTF16 text[] = { 0x41 };
    const UTF16* source = text;
    UTF32* target = room;
    EXPECT_EQ(ConvertUTF16toUTF32(&source, text + 1, &target, room + 3, lenientConversion), conversionOK);
    EXPECT_EQ(target, room + 1);
    EXPECT_EQ(room[1], 7u);
}

TEST(KxUnicode, EveryScalarValueSurvivesEveryRoundTrip)
{
    UnicodeUnits values;
    for (std::uint32_t value = 0; value <= 0x10FFFF; ++value) {
        if (value < 0xD800 || value > 0xDFFF) {
            values.push_back(value);
        }
    }
    const std::size_t room = 4 * values.size();
    const UnicodeUnits utf8 = strictly(k32, k8, values, room).written;
    const UnicodeUnits utf16 = strictly(k8, k16, utf8, room).written;
    EXPECT_EQ(strictly(k16, k32, utf16, room).written == values, true);
    EXPECT_EQ(strictly(k32, k16, values, room).written == utf16, true);
    EXPECT_EQ(strictly(k16, k8, utf16, room).written == utf8, true);
    EXPECT_EQ(strictly(k8, k32, utf8, room).written == values, true);
}
