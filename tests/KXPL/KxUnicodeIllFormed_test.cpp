// Ill-formed source, which every converter treats in its own way.
#include "KxUnicode.h"

#include "UnicodeModel.h"

#include <gtest/gtest.h>

using namespace KXPL;

namespace {

constexpr UnicodeForm k8 = UnicodeForm::utf8;
constexpr UnicodeForm k16 = UnicodeForm::utf16;
constexpr UnicodeForm k32 = UnicodeForm::utf32;

constexpr std::uint32_t kSurrogates[] = { 0xD800, 0xDBFF, 0xDC00, 0xDFFF };
constexpr std::uint32_t kTooLarge[] = { 0x110000, 0x7FFFFFFF, 0x80000000, 0xFFFFFFFF };

} // namespace

TEST(KxUnicodeUTF32toUTF16, StrictStopsAtASurrogate)
{
    for (const std::uint32_t surrogate : kSurrogates) {
        EXPECT_EQ(strictly(k32, k16, { 0x41, surrogate, 0x42 }),
                  (UnicodeOutcome { sourceIllegal, 1, { 0x41 } }));
    }
}

TEST(KxUnicodeUTF32toUTF16, LenientReplacesASurrogate)
{
    for (const std::uint32_t surrogate : kSurrogates) {
        EXPECT_EQ(leniently(k32, k16, { 0x41, surrogate, 0x42 }),
                  (UnicodeOutcome { conversionOK, 3, { 0x41, 0xFFFD, 0x42 } }));
    }
}

TEST(KxUnicodeUTF32toUTF16, StrictSkipsATooLargeValueAndReportsItAtTheEnd)
{
    for (const std::uint32_t value : kTooLarge) {
        EXPECT_EQ(strictly(k32, k16, { 0x41, value, 0x42 }),
                  (UnicodeOutcome { sourceIllegal, 3, { 0x41, 0x42 } }));
        EXPECT_EQ(strictly(k32, k16, { value }), (UnicodeOutcome { sourceIllegal, 1, {} }));
    }
}

TEST(KxUnicodeUTF32toUTF16, LenientReplacesATooLargeValueAndForgetsIt)
{
    for (const std::uint32_t value : kTooLarge) {
        EXPECT_EQ(leniently(k32, k16, { 0x41, value, 0x42 }),
                  (UnicodeOutcome { conversionOK, 3, { 0x41, 0xFFFD, 0x42 } }));
    }
}

TEST(KxUnicodeUTF32toUTF16, SkippedValueNeedsNoRoom)
{
    EXPECT_EQ(strictly(k32, k16, { 0x41, 0x110000 }, 1), (UnicodeOutcome { sourceIllegal, 2, { 0x41 } }));
    EXPECT_EQ(strictly(k32, k16, { 0x110000 }, 0), (UnicodeOutcome { sourceIllegal, 1, {} }));
}

TEST(KxUnicodeUTF32toUTF16, ReplacementNeedsRoom)
{
    EXPECT_EQ(leniently(k32, k16, { 0x110000 }, 0), (UnicodeOutcome { targetExhausted, 0, {} }));
    EXPECT_EQ(leniently(k32, k16, { 0xD800 }, 0), (UnicodeOutcome { targetExhausted, 0, {} }));
}

TEST(KxUnicodeUTF32toUTF16, ExhaustedTargetReplacesARememberedValue)
{
    EXPECT_EQ(strictly(k32, k16, { 0x110000, 0x41, 0x42 }, 1),
              (UnicodeOutcome { targetExhausted, 2, { 0x41 } }));
}

TEST(KxUnicodeUTF32toUTF16, StopAfterARememberedValueLeavesTheSourceAtTheStop)
{
    EXPECT_EQ(strictly(k32, k16, { 0x110000, 0xD800, 0x41 }), (UnicodeOutcome { sourceIllegal, 1, {} }));
}

TEST(KxUnicodeUTF32toUTF8, StrictStopsAtASurrogate)
{
    for (const std::uint32_t surrogate : kSurrogates) {
        EXPECT_EQ(strictly(k32, k8, { 0x41, surrogate, 0x42 }),
                  (UnicodeOutcome { sourceIllegal, 1, { 0x41 } }));
    }
}

TEST(KxUnicodeUTF32toUTF8, LenientPassesASurrogateThrough)
{
    EXPECT_EQ(leniently(k32, k8, { 0xD800 }), (UnicodeOutcome { conversionOK, 1, { 0xED, 0xA0, 0x80 } }));
    EXPECT_EQ(leniently(k32, k8, { 0xDFFF }), (UnicodeOutcome { conversionOK, 1, { 0xED, 0xBF, 0xBF } }));
}

TEST(KxUnicodeUTF32toUTF8, LenientPassesAPairOfSurrogatesThroughAsTwoCharacters)
{
    EXPECT_EQ(leniently(k32, k8, { 0xD83D, 0xDE00 }),
              (UnicodeOutcome { conversionOK, 2, { 0xED, 0xA0, 0xBD, 0xED, 0xB8, 0x80 } }));
}

TEST(KxUnicodeUTF32toUTF8, TooLargeValueIsReplacedAndReportedAtTheEndInBothModes)
{
    for (const std::uint32_t value : kTooLarge) {
        const UnicodeOutcome expected { sourceIllegal, 3, { 0x41, 0xEF, 0xBF, 0xBD, 0x42 } };
        EXPECT_EQ(strictly(k32, k8, { 0x41, value, 0x42 }), expected);
        EXPECT_EQ(leniently(k32, k8, { 0x41, value, 0x42 }), expected);
    }
}

TEST(KxUnicodeUTF32toUTF8, ReplacementNeedsRoomForThreeBytes)
{
    EXPECT_EQ(strictly(k32, k8, { 0x110000 }, 2), (UnicodeOutcome { targetExhausted, 0, {} }));
    EXPECT_EQ(leniently(k32, k8, { 0x110000 }, 3), (UnicodeOutcome { sourceIllegal, 1, { 0xEF, 0xBF, 0xBD } }));
}

TEST(KxUnicodeUTF32toUTF8, ExhaustedTargetReplacesARememberedValue)
{
    const UnicodeOutcome expected { targetExhausted, 1, { 0xEF, 0xBF, 0xBD } };
    EXPECT_EQ(strictly(k32, k8, { 0x110000, 0x41 }, 3), expected);
    EXPECT_EQ(leniently(k32, k8, { 0x110000, 0x41 }, 3), expected);
}

TEST(KxUnicodeUTF16toUTF32, StrictStopsAtAnUnpairedSurrogate)
{
    EXPECT_EQ(strictly(k16, k32, { 0xDC00, 0x41 }), (UnicodeOutcome { sourceIllegal, 0, {} }));
    EXPECT_EQ(strictly(k16, k32, { 0x41, 0xD83D, 0x42 }), (UnicodeOutcome { sourceIllegal, 1, { 0x41 } }));
    EXPECT_EQ(strictly(k16, k32, { 0xD83D, 0xD83D, 0xDE00 }), (UnicodeOutcome { sourceIllegal, 0, {} }));
    EXPECT_EQ(strictly(k16, k32, { 0x41, 0xDC00 }), (UnicodeOutcome { sourceIllegal, 1, { 0x41 } }));
}

TEST(KxUnicodeUTF16toUTF32, LenientPassesAnUnpairedSurrogateThrough)
{
    EXPECT_EQ(leniently(k16, k32, { 0xDC00, 0x41 }), (UnicodeOutcome { conversionOK, 2, { 0xDC00, 0x41 } }));
    EXPECT_EQ(leniently(k16, k32, { 0xD83D, 0x42 }), (UnicodeOutcome { conversionOK, 2, { 0xD83D, 0x42 } }));
    EXPECT_EQ(leniently(k16, k32, { 0xD83D, 0xD83D, 0xDE00 }),
              (UnicodeOutcome { conversionOK, 3, { 0xD83D, 0x1F600 } }));
    EXPECT_EQ(leniently(k16, k32, { 0xDE00, 0xD83D, 0x41 }),
              (UnicodeOutcome { conversionOK, 3, { 0xDE00, 0xD83D, 0x41 } }));
}

TEST(KxUnicodeUTF16toUTF8, StrictStopsAtAnUnpairedSurrogate)
{
    EXPECT_EQ(strictly(k16, k8, { 0x41, 0xDC00 }), (UnicodeOutcome { sourceIllegal, 1, { 0x41 } }));
    EXPECT_EQ(strictly(k16, k8, { 0xD83D, 0x41 }), (UnicodeOutcome { sourceIllegal, 0, {} }));
}

TEST(KxUnicodeUTF16toUTF8, LenientEncodesAnUnpairedSurrogate)
{
    EXPECT_EQ(leniently(k16, k8, { 0xDC00, 0xD83D, 0x41 }),
              (UnicodeOutcome { conversionOK, 3, { 0xED, 0xB0, 0x80, 0xED, 0xA0, 0xBD, 0x41 } }));
}

TEST(KxUnicodeUTF8, IllegalSequencesStopInBothModesAtTheirLeadByte)
{
    const UnicodeUnits sequences[] = {
        { 0xC0, 0x80 },                         // overlong
        { 0xC1, 0xBF },                         //
        { 0xE0, 0x80, 0x80 },                   //
        { 0xF0, 0x80, 0x80, 0x80 },             //
        { 0xED, 0xA0, 0x80 },                   // a surrogate
        { 0xED, 0xBF, 0xBF },                   //
        { 0xF4, 0x90, 0x80, 0x80 },             // above 10FFFF
        { 0xF5, 0x80, 0x80, 0x80 },             //
        { 0xF8, 0x88, 0x80, 0x80, 0x80 },       // five bytes
        { 0xFC, 0x84, 0x80, 0x80, 0x80, 0x80 }, // six bytes
        { 0xFF, 0xBF, 0xBF, 0xBF, 0xBF, 0xBF }, //
        { 0x80 },                               // a trailing byte alone
        { 0xBF },                               //
        { 0xC3, 0x41 },                         // a wrong trailing byte
        { 0xE2, 0x82, 0x41 },                   //
        { 0xF0, 0x9F, 0xC0, 0x80 },             //
    };
    for (UnicodeUnits source : sequences) {
        source.insert(source.begin(), 0x41);
        source.push_back(0x42);
        for (const UnicodeForm to : { k16, k32 }) {
            EXPECT_EQ(strictly(k8, to, source), (UnicodeOutcome { sourceIllegal, 1, { 0x41 } }))
                << UnicodeText { source };
            EXPECT_EQ(leniently(k8, to, source), (UnicodeOutcome { sourceIllegal, 1, { 0x41 } }))
                << UnicodeText { source };
        }
    }
}

TEST(KxUnicode, IllegalUnitIsFoundWithoutRoom)
{
    EXPECT_EQ(strictly(k32, k16, { 0xD800 }, 0), (UnicodeOutcome { sourceIllegal, 0, {} }));
    EXPECT_EQ(strictly(k32, k8, { 0xD800 }, 0), (UnicodeOutcome { sourceIllegal, 0, {} }));
    EXPECT_EQ(strictly(k16, k32, { 0xDC00 }, 0), (UnicodeOutcome { sourceIllegal, 0, {} }));
    EXPECT_EQ(strictly(k16, k8, { 0xDC00 }, 0), (UnicodeOutcome { sourceIllegal, 0, {} }));
    EXPECT_EQ(leniently(k8, k16, { 0xC0, 0x80 }, 0), (UnicodeOutcome { sourceIllegal, 0, {} }));
    EXPECT_EQ(leniently(k8, k32, { 0xC0, 0x80 }, 0), (UnicodeOutcome { sourceIllegal, 0, {} }));
}

TEST(KxUnicode, ExhaustedSourceIsFoundWithoutRoom)
{
    EXPECT_EQ(leniently(k16, k32, { 0xD800 }, 0), (UnicodeOutcome { sourceExhausted, 0, {} }));
    EXPECT_EQ(leniently(k16, k8, { 0xD800 }, 0), (UnicodeOutcome { sourceExhausted, 0, {} }));
    EXPECT_EQ(leniently(k8, k16, { 0xC3 }, 0), (UnicodeOutcome { sourceExhausted, 0, {} }));
    EXPECT_EQ(leniently(k8, k32, { 0xC3 }, 0), (UnicodeOutcome { sourceExhausted, 0, {} }));
}

TEST(KxUnicode, FlagsOfAnyOtherValueActAsLenient)
{
    for (const int number : { 1, 2, 7, -1 }) {
        const ConversionFlags flags = static_cast<ConversionFlags>(number);
        EXPECT_EQ(realConversion(k16, k32, { 0xDC00 }, 9, flags), leniently(k16, k32, { 0xDC00 })) << number;
        EXPECT_EQ(realConversion(k16, k8, { 0xDC00 }, 9, flags), leniently(k16, k8, { 0xDC00 })) << number;
        EXPECT_EQ(realConversion(k32, k16, { 0xD800 }, 9, flags), leniently(k32, k16, { 0xD800 })) << number;
        EXPECT_EQ(realConversion(k32, k16, { 0x110000 }, 9, flags), leniently(k32, k16, { 0x110000 }))
            << number;
        EXPECT_EQ(realConversion(k32, k8, { 0xD800 }, 9, flags), leniently(k32, k8, { 0xD800 })) << number;
    }
}
