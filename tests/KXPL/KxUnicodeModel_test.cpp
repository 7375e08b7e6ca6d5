// Random texts through every converter, at every size of the target, compared with the model.
#include "KxUnicode.h"

#include "UnicodeModel.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <random>
#include <string>

using namespace KXPL;

namespace {

constexpr int kTexts = 10000;
constexpr int kTextsInPieces = 3000;
constexpr std::size_t kPlenty = 200;

class Texts {
public:
    explicit Texts(unsigned int seed)
        : mRandom(seed)
    {
    }

    std::uint32_t below(std::uint32_t bound) { return static_cast<std::uint32_t>(mRandom() % bound); }

    // A text with up to `illFormed` of ten characters ill-formed.
    UnicodeUnits next(UnicodeForm form, std::uint32_t illFormed)
    {
        UnicodeUnits text;
        for (std::uint32_t i = below(9); i > 0; --i) {
            const UnicodeUnits units =
                below(10) < illFormed ? illFormedUnits(form) : modelEncode(form, scalar());
            text.insert(text.end(), units.begin(), units.end());
        }
        return text;
    }

private:
    // Values of every length, their limits more often than the rest.
    std::uint32_t scalar()
    {
        const std::uint32_t limits[] = { 0,      0x7F,   0x80,   0x7FF,   0x800,   0xD7FF,
                                         0xE000, 0xFFFD, 0xFFFF, 0x10000, 0x10FFFF };
        switch (below(5)) {
        case 0:
            return limits[below(11)];
        case 1:
            return below(0x80);
        case 2:
            return 0x80 + below(0x780);
        case 3:
            return 0xE000 + below(0x2000) - (below(2) == 0 ? 0xB000 : 0);
        default:
            return 0x10000 + below(0x100000);
        }
    }

    UnicodeUnits illFormedUnits(UnicodeForm form)
    {
        if (form == UnicodeForm::utf8) {
            return illFormedBytes();
        }
        if (form == UnicodeForm::utf16 || below(2) == 0) {
            return { 0xD800 + below(0x800) };
        }
        return { below(3) == 0 ? 0xFFFFFFFF - below(3) : 0x110000 + below(0x7FFFFFFF) };
    }

    // Any bytes, or a sequence with one byte changed, missing or added.
    UnicodeUnits illFormedBytes()
    {
        UnicodeUnits bytes = modelEncode(UnicodeForm::utf8, below(4) == 0 ? 0xD800 + below(0x800) : scalar());
        switch (below(4)) {
        case 0:
            bytes[below(static_cast<std::uint32_t>(bytes.size()))] = below(0x100);
            break;
        case 1:
            bytes.pop_back();
            break;
        case 2:
            bytes.push_back(0x80 + below(0x40));
            break;
        default:
            bytes = { below(0x100), below(0x100), below(0x100) };
        }
        return bytes;
    }

    std::mt19937 mRandom;
};

class KxUnicodeModel : public testing::TestWithParam<UnicodeConverter> {
protected:
    void compareAtEverySize(const UnicodeUnits& source)
    {
        const auto [name, from, to] = GetParam();
        for (const bool strict : { true, false }) {
            const std::size_t enough = modelConversion(from, to, source, kPlenty, strict).written.size();
            for (std::size_t room = 0; room <= enough + 1; ++room) {
                const UnicodeOutcome expected = modelConversion(from, to, source, room, strict);
                ASSERT_EQ(realConversion(from, to, source, room, strict ? strictConversion : lenientConversion),
                          expected)
                    << UnicodeText { source } << (strict ? " strictly" : " leniently") << " into " << room;
            }
        }
    }

    // Converts with a fresh target of random size after every targetExhausted.
    UnicodeOutcome convertInPieces(const UnicodeUnits& source, ConversionFlags flags, Texts& random)
    {
        UnicodeOutcome whole { targetExhausted, 0, {} };
        while (whole.result == targetExhausted) {
            const UnicodeUnits rest(source.begin() + static_cast<std::ptrdiff_t>(whole.consumed), source.end());
            // At least the longest character, so that every piece gets on.
            const UnicodeOutcome piece =
                realConversion(GetParam().from, GetParam().to, rest, 4 + random.below(4), flags);
            whole.result = piece.result;
            whole.consumed += piece.consumed;
            whole.written.insert(whole.written.end(), piece.written.begin(), piece.written.end());
        }
        return whole;
    }
};

std::string nameOf(const testing::TestParamInfo<UnicodeConverter>& info)
{
    return info.param.name;
}

} // namespace

TEST_P(KxUnicodeModel, TextsAgreeAtEverySizeOfTheTarget)
{
    constexpr unsigned int kSeed = 351;
    SCOPED_TRACE("seed " + std::to_string(kSeed));
    Texts texts(kSeed);
    for (int i = 0; i < kTexts && !HasFatalFailure(); ++i) {
        compareAtEverySize(texts.next(GetParam().from, static_cast<std::uint32_t>(i % 4)));
    }
}

TEST_P(KxUnicodeModel, TextInPiecesIsTheWholeText)
{
    constexpr unsigned int kSeed = 352;
    Texts texts(kSeed);
    for (int i = 0; i < kTextsInPieces; ++i) {
        const UnicodeUnits source = texts.next(GetParam().from, static_cast<std::uint32_t>(i % 3));
        for (const ConversionFlags flags : { strictConversion, lenientConversion }) {
            const UnicodeOutcome whole = realConversion(GetParam().from, GetParam().to, source, kPlenty, flags);
            const UnicodeOutcome pieces = convertInPieces(source, flags, texts);
            ASSERT_EQ(pieces.written, whole.written) << UnicodeText { source } << ", seed " << kSeed;
            ASSERT_EQ(pieces.consumed, whole.consumed) << UnicodeText { source } << ", seed " << kSeed;
        }
    }
}

TEST_P(KxUnicodeModel, SourceInPiecesIsTheWholeText)
{
    constexpr unsigned int kSeed = 353;
    const auto [name, from, to] = GetParam();
    Texts texts(kSeed);
    for (int i = 0; i < kTextsInPieces; ++i) {
        const UnicodeUnits source = texts.next(from, 0);
        const auto cut = source.begin()
            + static_cast<std::ptrdiff_t>(texts.below(static_cast<std::uint32_t>(source.size() + 1)));
        UnicodeOutcome first =
            realConversion(from, to, UnicodeUnits(source.begin(), cut), kPlenty, strictConversion);
        const UnicodeUnits rest(source.begin() + static_cast<std::ptrdiff_t>(first.consumed), source.end());
        const UnicodeOutcome second = realConversion(from, to, rest, kPlenty, strictConversion);
        first.written.insert(first.written.end(), second.written.begin(), second.written.end());
        ASSERT_TRUE(first.result == conversionOK || first.result == sourceExhausted) << first;
        ASSERT_EQ(second.result, conversionOK) << UnicodeText { source } << ", seed " << kSeed;
        ASSERT_EQ(first.written, realConversion(from, to, source, kPlenty, strictConversion).written)
            << UnicodeText { source } << ", seed " << kSeed;
    }
}

INSTANTIATE_TEST_SUITE_P(Converters, KxUnicodeModel, testing::ValuesIn(kUnicodeConverters), nameOf);
