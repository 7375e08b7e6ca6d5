// Texts long enough for the paths that take many units at once, with something odd at every place of them, at
// every size of source and target, compared with the model.
#include "KxUnicode.h"

#include "UnicodeModel.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <random>
#include <string>
#include <vector>

using namespace KXPL;

namespace {

// More than two blocks of every converter.
constexpr std::size_t kCharacters = 75;
constexpr std::size_t kPlenty = 400;
constexpr int kMixes = 400;

// What a text consists of apart from what is odd in it. The characters take turns.
const std::vector<UnicodeUnits> kAlphabets = {
    { 'a', 'b', 'c' },
    { 0x431, 0x7FF, 0x80 },
    { 'a', 0x431, ' ', 0x432, 0x433 },
    { 0x4E2D, 0x800, 0xFFFF, 0xD7FF, 0xE000 },
    { 0x1F600, 0x10000, 0x10FFFF },
    { 0x4E2D, 0x4E2E, 0x1F600, 0x3002 },
    { 'a', 0x431, 0x4E2D, 0x1F600 },
    { 'a', 0x4E2D, 'b', 'c', 0xE9, 0x800, 'd' },
    { 0x4E2D, 0x3002, 0xAC00, 0x4E2E, 0x3042, 0x4E2F, 0x30A2, 0xD55C, 0x4E30, ' ' },
};

// What may stand between characters: faults, cut sequences, and what only looks like a fault.
std::vector<UnicodeUnits> oddUnits(UnicodeForm form)
{
    if (form == UnicodeForm::utf8) {
        return { { 0x80 },
                 { 0xC3 },
                 { 0xC1, 0xBF },
                 { 0xE2, 0x82 },
                 { 0xE0, 0x9F, 0xBF },
                 { 0xED, 0xA0, 0x80 },
                 { 0xED, 0x41, 0x80 },
                 { 0xF0, 0x9F, 0x98 },
                 { 0xF0, 0x8F, 0xBF, 0xBF },
                 { 0xF4, 0x41, 0x80, 0x80 },
                 { 0xF4, 0x90, 0x80, 0x80 },
                 { 0xF8, 0x88, 0x80, 0x80, 0x80 },
                 { 0xFF } };
    }
    if (form == UnicodeForm::utf16) {
        return { { 0xD83D },         { 0xDE00 },         { 0xDE00, 0xD83D },         { 0xD83D, 0xD83D, 0xDE00 },
                 { 0xD83D, 0xDE00 }, { 0xDBFF, 0xDBFF }, { 0xD83D, 0xDE00, 0xDE00 }, { 'x' } };
    }
    return { { 0xD800 },     { 0xDFFF },     { 0xDC00, 0xD800 }, { 0x110000 }, { 0x7FFFFFFF },
             { 0x80000041 }, { 0xFFFFFFFF }, { 0x10FFFF },       { 'x' } };
}

// So many characters of an alphabet, with `odd` before the one at `place`.
UnicodeUnits makeText(UnicodeForm form, const UnicodeUnits& alphabet, std::size_t characters,
                      const UnicodeUnits& odd = {}, std::size_t place = 0)
{
    UnicodeUnits text;
    for (std::size_t i = 0; i < characters; ++i) {
        if (i == place) {
            text.insert(text.end(), odd.begin(), odd.end());
        }
        const UnicodeUnits units = modelEncode(form, alphabet[i % alphabet.size()]);
        text.insert(text.end(), units.begin(), units.end());
    }
    return text;
}

class Mixes {
public:
    explicit Mixes(unsigned int seed)
        : mRandom(seed)
    {
    }

    std::size_t below(std::size_t bound) { return mRandom() % bound; }

    // Runs of every length of every alphabet, with or without odd units between them.
    UnicodeUnits next(UnicodeForm form, bool withOdd)
    {
        const std::vector<UnicodeUnits> odd = oddUnits(form);
        UnicodeUnits text;
        for (std::size_t runs = 1 + below(12); runs > 0; --runs) {
            const UnicodeUnits& alphabet = kAlphabets[below(kAlphabets.size())];
            const UnicodeUnits run = makeText(form, alphabet, below(90),
                                              withOdd ? odd[below(odd.size())] : UnicodeUnits {}, below(90));
            text.insert(text.end(), run.begin(), run.end());
        }
        return text;
    }

private:
    std::mt19937 mRandom;
};

class KxUnicodeBlocks : public testing::TestWithParam<UnicodeConverter> {
protected:
    void compare(const UnicodeUnits& source, std::size_t room, bool strict, std::size_t offset = 0)
    {
        const auto [name, from, to] = GetParam();
        ASSERT_EQ(realConversion(from, to, source, room, strict ? strictConversion : lenientConversion, offset),
                  modelConversion(from, to, source, room, strict))
            << UnicodeText { source } << (strict ? " strictly" : " leniently") << " into " << room;
    }

    void compareAtEverySize(const UnicodeUnits& source, bool strict)
    {
        const auto [name, from, to] = GetParam();
        const std::size_t enough = modelConversion(from, to, source, kPlenty, strict).written.size();
        for (std::size_t room = 0; room <= enough + 1 && !HasFatalFailure(); ++room) {
            compare(source, room, strict);
        }
    }
};

std::string nameOf(const testing::TestParamInfo<UnicodeConverter>& info)
{
    return info.param.name;
}

} // namespace

TEST_P(KxUnicodeBlocks, OddUnitsAreTreatedAlikeAtEveryPlace)
{
    for (const UnicodeUnits& alphabet : kAlphabets) {
        for (const UnicodeUnits& odd : oddUnits(GetParam().from)) {
            for (std::size_t place = 0; place < kCharacters && !HasFatalFailure(); ++place) {
                const UnicodeUnits text = makeText(GetParam().from, alphabet, kCharacters, odd, place);
                compare(text, kPlenty, true);
                compare(text, kPlenty, false);
            }
        }
    }
}

TEST_P(KxUnicodeBlocks, TargetMayEndAnywhere)
{
    const std::vector<UnicodeUnits> odd = oddUnits(GetParam().from);
    for (const UnicodeUnits& alphabet : kAlphabets) {
        for (std::size_t i = 0; i < odd.size() && !HasFatalFailure(); ++i) {
            const UnicodeUnits text =
                makeText(GetParam().from, alphabet, kCharacters, odd[i], kCharacters - 4 - 3 * i);
            compareAtEverySize(text, i % 2 == 0);
        }
        compareAtEverySize(makeText(GetParam().from, alphabet, kCharacters), false);
    }
}

TEST_P(KxUnicodeBlocks, SourceMayEndAnywhere)
{
    for (const UnicodeUnits& alphabet : kAlphabets) {
        UnicodeUnits text = makeText(GetParam().from, alphabet, 100);
        for (; !text.empty() && !HasFatalFailure(); text.pop_back()) {
            compare(text, kPlenty, true);
            compare(text, kPlenty, false);
        }
    }
}

TEST_P(KxUnicodeBlocks, SourceAndTargetMayBeginAnywhere)
{
    for (const UnicodeUnits& alphabet : kAlphabets) {
        for (std::size_t offset = 0; offset < 64 && !HasFatalFailure(); ++offset) {
            compare(makeText(GetParam().from, alphabet, kCharacters), kPlenty, true, offset);
        }
    }
}

TEST_P(KxUnicodeBlocks, LongMixesAgree)
{
    constexpr unsigned int kSeed = 354;
    SCOPED_TRACE("seed " + std::to_string(kSeed));
    Mixes mixes(kSeed);
    for (int i = 0; i < kMixes && !HasFatalFailure(); ++i) {
        const UnicodeUnits text = mixes.next(GetParam().from, i % 2 == 0);
        compare(text, 4 * text.size(), true, mixes.below(16));
        compare(text, 4 * text.size(), false, mixes.below(16));
        compare(text, mixes.below(2 * text.size() + 1), i % 3 == 0, mixes.below(16));
    }
}

TEST_P(KxUnicodeBlocks, LongMixInPiecesIsTheWholeMix)
{
    constexpr unsigned int kSeed = 355;
    const auto [name, from, to] = GetParam();
    Mixes mixes(kSeed);
    for (int i = 0; i < kMixes / 4; ++i) {
        const UnicodeUnits text = mixes.next(from, false);
        UnicodeUnits written;
        std::size_t consumed = 0;
        std::size_t available = 0;
        // Source and target grow by pieces of their own.
        while (consumed < text.size()) {
            available = std::min(text.size(), available + mixes.below(150));
            const UnicodeUnits piece(text.begin() + static_cast<std::ptrdiff_t>(consumed),
                                     text.begin() + static_cast<std::ptrdiff_t>(available));
            const UnicodeOutcome outcome =
                realConversion(from, to, piece, 4 + mixes.below(200), strictConversion, mixes.below(4));
            ASSERT_NE(outcome.result, sourceIllegal) << UnicodeText { text } << ", seed " << kSeed;
            ASSERT_FALSE(outcome.wroteBeyond) << UnicodeText { text } << ", seed " << kSeed;
            consumed += outcome.consumed;
            written.insert(written.end(), outcome.written.begin(), outcome.written.end());
        }
        ASSERT_EQ(written, modelConversion(from, to, text, 4 * text.size(), true).written)
            << UnicodeText { text } << ", seed " << kSeed;
    }
}

INSTANTIATE_TEST_SUITE_P(Converters, KxUnicodeBlocks, testing::ValuesIn(kUnicodeConverters), nameOf);

TEST(KxUnicodeUTF8toUTF32, AByteInFrontOfTheTextChangesNothing)
{
    const std::string starts[] = { "abcd", "\xD0\xB1", "\xE4\xB8\xAD", "\xF0\x9F\x98\x80", "\x80", "\xBF\xBF" };
    for (const std::string& start : starts) {
        for (const int before : { 0x00, 0x41, 0x80, 0xC3, 0xE2, 0xED, 0xF0, 0xF4, 0xFF }) {
            std::vector<UTF8> bytes(1, static_cast<UTF8>(before));
            for (std::size_t i = 0; i < kCharacters; ++i) {
                bytes.insert(bytes.end(), start.begin(), start.end());
            }
            const std::vector<UTF8> alone(bytes.begin() + 1, bytes.end());
            std::vector<UTF32> expected(kPlenty);
            std::vector<UTF32> actual(kPlenty);
            const UTF8* from = alone.data();
            UTF32* to = expected.data();
            const ConversionResult wanted =
                ConvertUTF8toUTF32(&from, from + alone.size(), &to, to + kPlenty, strictConversion);
            const std::ptrdiff_t taken = from - alone.data();
            const std::ptrdiff_t made = to - expected.data();
            from = bytes.data() + 1;
            to = actual.data();
            ASSERT_EQ(ConvertUTF8toUTF32(&from, from + alone.size(), &to, to + kPlenty, strictConversion),
                      wanted);
            ASSERT_EQ(from - bytes.data() - 1, taken) << before << " " << start;
            ASSERT_EQ(to - actual.data(), made) << before << " " << start;
            ASSERT_EQ(actual, expected) << before << " " << start;
        }
    }
}
