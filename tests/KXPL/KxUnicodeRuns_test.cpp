// Texts made of runs of characters of one kind, of any lengths: whatever is converted many units at a time
// begins and ends anywhere in them. Compared with the model, into targets of any size.
#include "KxUnicode.h"

#include "UnicodeModel.h"
#include "UnicodePlainLoop.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <random>
#include <string>

using namespace KXPL;

namespace {

constexpr int kTexts = 20000;
constexpr unsigned int kSeed = 354;

class Runs {
public:
    std::uint32_t below(std::uint32_t bound) { return static_cast<std::uint32_t>(mRandom() % bound); }

    // Up to twelve runs, most of them short; ill-formed units in one text of three.
    UnicodeUnits next(UnicodeForm form)
    {
        UnicodeUnits text;
        const std::uint32_t kinds = below(3) == 0 ? 6 : 5;
        for (std::uint32_t runs = 1 + below(12); runs > 0; --runs) {
            const std::uint32_t kind = below(kinds);
            for (std::uint32_t length = 1 + below(below(4) == 0 ? 50 : 9); length > 0; --length) {
                const UnicodeUnits units = kind == 5 ? illFormed(form) : modelEncode(form, character(kind));
                text.insert(text.end(), units.begin(), units.end());
                if (kind == 5 && below(4) != 0) {
                    break;
                }
            }
        }
        return text;
    }

private:
    std::uint32_t character(std::uint32_t kind)
    {
        switch (kind) {
        case 0:
            return below(0x80);
        case 1:
            return 0x80 + below(0x780);
        case 2:
            return 0x800 + below(0xD000);
        case 3:
            return 0xE000 + below(0x2000);
        default:
            return 0x10000 + below(0x100000);
        }
    }

    UnicodeUnits illFormed(UnicodeForm form)
    {
        const std::uint32_t surrogate = 0xD800 + below(0x800);
        if (form == UnicodeForm::utf16) {
            return { surrogate };
        }
        if (form == UnicodeForm::utf32) {
            return { below(2) == 0 ? surrogate : 0x110000 + below(0x7FFFFFFF) };
        }
        const UnicodeUnits some[] = { { 0x80 },
                                      { 0xC0, 0x80 },
                                      { 0xC3 },
                                      { 0xE2, 0x82 },
                                      { 0xED, 0x41, 0x80 },
                                      { 0xED, 0xA0, 0x80 },
                                      { 0xF0, 0x8F, 0xBF, 0xBF },
                                      { 0xF4, 0x41, 0x80, 0x80 },
                                      { 0xF4, 0x90, 0x80, 0x80 },
                                      { 0xF8, 0x88, 0x80, 0x80, 0x80 } };
        return some[below(10)];
    }

    std::mt19937 mRandom { kSeed };
};

class KxUnicodeRuns : public testing::TestWithParam<UnicodeConverter> {
protected:
    using Conversion = UnicodeOutcome (*)(UnicodeForm, UnicodeForm, const UnicodeUnits&, std::size_t,
                                          ConversionFlags, std::size_t);

    void compareWithModel(Conversion convert)
    {
        const auto [name, from, to] = GetParam();
        Runs runs;
        for (int i = 0; i < kTexts; ++i) {
            const UnicodeUnits source = runs.next(from);
            const bool strict = i % 2 == 0;
            // A target for all of the text, or one that ends anywhere.
            const std::size_t most = 4 * source.size();
            const std::size_t room = i % 3 == 0 ? most : runs.below(static_cast<std::uint32_t>(most + 1));
            const std::size_t offset = runs.below(17);
            ASSERT_EQ(convert(from, to, source, room, strict ? strictConversion : lenientConversion, offset),
                      modelConversion(from, to, source, room, strict))
                << UnicodeText { source } << (strict ? " strictly" : " leniently") << " into " << room
                << ", seed " << kSeed;
        }
    }
};

std::string nameOf(const testing::TestParamInfo<UnicodeConverter>& info)
{
    return info.param.name;
}

} // namespace

TEST_P(KxUnicodeRuns, RunsOfAnyLengthAgree)
{
    compareWithModel(realConversion);
}

// It is what the converters' speed is held against.
TEST_P(KxUnicodeRuns, PlainLoopAgrees)
{
    compareWithModel([](UnicodeForm from, UnicodeForm to, const UnicodeUnits& source, std::size_t room,
                        ConversionFlags flags, std::size_t offset) {
        constexpr UnicodeRoutines kPlain { plain::ConvertUTF8toUTF16, plain::ConvertUTF8toUTF32,
                                           plain::ConvertUTF16toUTF8, plain::ConvertUTF16toUTF32,
                                           plain::ConvertUTF32toUTF8, plain::ConvertUTF32toUTF16 };
        return conversionBy(kPlain, from, to, source, room, flags, offset);
    });
}

INSTANTIATE_TEST_SUITE_P(Converters, KxUnicodeRuns, testing::ValuesIn(kUnicodeConverters), nameOf);
