// Which UTF-8 sequences are legal, tried out in full.
#include "KxUnicode.h"

#include "UnicodeModel.h"

#include <gtest/gtest.h>

#include <vector>

using namespace KXPL;

namespace {

bool isLegal(const UnicodeUnits& units)
{
    // A block of its own, so that AddressSanitizer sees a look behind the end.
    std::vector<UTF8> bytes;
    bytes.reserve(units.size());
    for (const std::uint32_t unit : units) {
        bytes.push_back(static_cast<UTF8>(unit));
    }
    return isLegalUTF8Sequence(bytes.data(), bytes.data() + bytes.size());
}

// Compares the validator and both readers of UTF-8 with the model.
::testing::AssertionResult agrees(const UnicodeUnits& bytes)
{
    if (isLegal(bytes) != modelIsLegalSequence(bytes)) {
        return testing::AssertionFailure() << "legality of " << UnicodeText { bytes };
    }
    for (const UnicodeForm to : { UnicodeForm::utf16, UnicodeForm::utf32 }) {
        for (std::size_t room = 0; room <= 2; ++room) {
            const UnicodeOutcome expected = modelConversion(UnicodeForm::utf8, to, bytes, room, true);
            const UnicodeOutcome real = realConversion(UnicodeForm::utf8, to, bytes, room, strictConversion);
            if (!(real == expected)) {
                return testing::AssertionFailure()
                    << UnicodeText { bytes } << ": " << real << "; not " << expected;
            }
        }
        // The legality test leaves nothing for which the mode would matter.
        if (!(realConversion(UnicodeForm::utf8, to, bytes, 2, lenientConversion)
              == realConversion(UnicodeForm::utf8, to, bytes, 2, strictConversion))) {
            return testing::AssertionFailure() << "lenient " << UnicodeText { bytes };
        }
    }
    return testing::AssertionSuccess();
}

} // namespace

TEST(KxUnicodeLegality, NoBytesAreNotLookedAt)
{
    EXPECT_FALSE(isLegalUTF8Sequence(nullptr, nullptr));
}

TEST(KxUnicodeLegality, OneByte)
{
    EXPECT_TRUE(isLegal({ 0x41 }));
    EXPECT_TRUE(isLegal({ 0x00 }));
    EXPECT_TRUE(isLegal({ 0x7F }));
    EXPECT_FALSE(isLegal({ 0x80 }));
    EXPECT_FALSE(isLegal({ 0xBF }));
}

TEST(KxUnicodeLegality, EndRightBehindALeadByteIsIllegal)
{
    EXPECT_FALSE(isLegal({ 0xC3 }));
    EXPECT_FALSE(isLegal({ 0xE2, 0x82 }));
    EXPECT_FALSE(isLegal({ 0xF0, 0x9F, 0x98 }));
    EXPECT_FALSE(isLegal({ 0xF8, 0x88, 0x80, 0x80 }));
}

TEST(KxUnicodeLegality, BytesBehindTheSequenceDoNotMatter)
{
    EXPECT_TRUE(isLegal({ 0x41, 0xFF }));
    EXPECT_TRUE(isLegal({ 0xC3, 0xA9, 0xFF }));
    EXPECT_FALSE(isLegal({ 0xC3, 0x41, 0x41 }));
}

TEST(KxUnicodeLegality, EmptyRangeIsIllegal)
{
    const UTF8 byte = 0x41;
    EXPECT_FALSE(isLegalUTF8Sequence(&byte, &byte));
}

TEST(KxUnicodeLegality, FormsOfFiveAndSixBytesAreIllegal)
{
    EXPECT_FALSE(isLegal({ 0xF8, 0x88, 0x80, 0x80, 0x80 }));
    EXPECT_FALSE(isLegal({ 0xFB, 0xBF, 0xBF, 0xBF, 0xBF }));
    EXPECT_FALSE(isLegal({ 0xFC, 0x84, 0x80, 0x80, 0x80, 0x80 }));
    EXPECT_FALSE(isLegal({ 0xFF, 0xBF, 0xBF, 0xBF, 0xBF, 0xBF }));
}

TEST(KxUnicodeLegality, SecondByteHasOnlyAnUpperBoundAfterTwoLeadBytes)
{
    EXPECT_TRUE(isLegal({ 0xED, 0x41, 0x80 }));
    EXPECT_TRUE(isLegal({ 0xED, 0x00, 0x80 }));
    EXPECT_TRUE(isLegal({ 0xF4, 0x41, 0x80, 0x80 }));
    EXPECT_TRUE(isLegal({ 0xF4, 0x00, 0xBF, 0xBF }));
    EXPECT_FALSE(isLegal({ 0xEC, 0x41, 0x80 }));
    EXPECT_FALSE(isLegal({ 0xEE, 0x41, 0x80 }));
    EXPECT_FALSE(isLegal({ 0xF3, 0x41, 0x80, 0x80 }));
}

TEST(KxUnicodeLegality, WhatThatBoundLetsThroughIsDecodedByTheSameSum)
{
    EXPECT_EQ(realConversion(UnicodeForm::utf8, UnicodeForm::utf32, { 0xED, 0x41, 0x80 }, 9, strictConversion),
              (UnicodeOutcome { conversionOK, 3, { 0xC040 } }));
    EXPECT_EQ(realConversion(UnicodeForm::utf8, UnicodeForm::utf16, { 0xED, 0x41, 0x80 }, 9, strictConversion),
              (UnicodeOutcome { conversionOK, 3, { 0xC040 } }));
    EXPECT_EQ(
        realConversion(UnicodeForm::utf8, UnicodeForm::utf32, { 0xF4, 0x00, 0x80, 0x80 }, 9, strictConversion),
        (UnicodeOutcome { conversionOK, 4, { 0x80000 } }));
}

TEST(KxUnicodeLegality, EverySingleByteAgreesWithTheModel)
{
    for (std::uint32_t lead = 0; lead < 0x100; ++lead) {
        ASSERT_TRUE(agrees({ lead }));
    }
}

TEST(KxUnicodeLegality, EveryPairOfBytesAgreesWithTheModel)
{
    for (std::uint32_t lead = 0; lead < 0x100; ++lead) {
        for (std::uint32_t second = 0; second < 0x100; ++second) {
            ASSERT_TRUE(agrees({ lead, second }));
        }
    }
}

TEST(KxUnicodeLegality, EveryLeadAndSecondByteOfThreeAgreeWithTheModel)
{
    for (std::uint32_t lead = 0xDF; lead < 0x100; ++lead) {
        for (std::uint32_t second = 0; second < 0x100; ++second) {
            for (const std::uint32_t third : UnicodeUnits { 0x00, 0x41, 0x7F, 0x80, 0x9F, 0xBF, 0xC0, 0xFF }) {
                ASSERT_TRUE(agrees({ lead, second, third }));
            }
        }
    }
}

TEST(KxUnicodeLegality, EveryLeadAndSecondByteOfFourAgreeWithTheModel)
{
    for (std::uint32_t lead = 0xEF; lead < 0x100; ++lead) {
        for (std::uint32_t second = 0; second < 0x100; ++second) {
            for (const std::uint32_t third : UnicodeUnits { 0x7F, 0x80, 0xBF, 0xC0 }) {
                for (const std::uint32_t fourth : UnicodeUnits { 0x7F, 0x80, 0xBF, 0xC0 }) {
                    ASSERT_TRUE(agrees({ lead, second, third, fourth }));
                }
            }
        }
    }
}

TEST(KxUnicodeLegality, EveryLeadByteOfFiveAndSixAgreesWithTheModel)
{
    for (std::uint32_t lead = 0xF0; lead < 0x100; ++lead) {
        for (const std::uint32_t second : UnicodeUnits { 0x7F, 0x80, 0x84, 0x88, 0x90, 0xBF, 0xC0 }) {
            ASSERT_TRUE(agrees({ lead, second, 0x80, 0x80, 0x80 }));
            ASSERT_TRUE(agrees({ lead, second, 0x80, 0x80, 0x80, 0x80 }));
            ASSERT_TRUE(agrees({ lead, second, 0x80, 0x80, 0x80, 0x80, 0x80 }));
        }
    }
}
