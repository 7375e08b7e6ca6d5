// Every unit among characters of other forms, compared with the model: what takes many units at once must take
// each of them apart.
#include "KxUnicode.h"

#include "UnicodeModel.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <random>
#include <string>

using namespace KXPL;

namespace {

constexpr std::uint32_t kWide = 0x4E2D; // three bytes in UTF-8

// Every unit of UTF-16, every character in UTF-8; in UTF-32 every value of every kind but for most of the
// supplementary ones.
std::vector<UnicodeUnits> everyUnit(UnicodeForm form)
{
    constexpr std::uint32_t kSome = 37;
    std::vector<UnicodeUnits> all;
    const std::uint32_t end = form == UnicodeForm::utf16 ? 0x10000 : 0x110100;
    for (std::uint32_t value = 0; value < end; value += value < 0x10000 ? 1 : kSome) {
        const bool isCharacter = (value < 0xD800 || value > 0xDFFF) && value < 0x110000;
        if (form != UnicodeForm::utf8) {
            all.push_back({ value });
        } else if (isCharacter) {
            all.push_back(modelEncode(form, value));
        }
    }
    return all;
}

class KxUnicodeEveryUnit : public testing::TestWithParam<UnicodeConverter> {
protected:
    // All of them in a random order, each behind so many wide characters.
    void compareBehind(std::size_t wideCharacters)
    {
        constexpr unsigned int kSeed = 356;
        const auto [name, from, to] = GetParam();
        std::vector<UnicodeUnits> all = everyUnit(from);
        std::shuffle(all.begin(), all.end(), std::mt19937(kSeed));
        const UnicodeUnits wide = modelEncode(from, kWide);
        UnicodeUnits text;
        for (const UnicodeUnits& units : all) {
            for (std::size_t i = 0; i < wideCharacters; ++i) {
                text.insert(text.end(), wide.begin(), wide.end());
            }
            text.insert(text.end(), units.begin(), units.end());
        }
        const std::size_t room = 4 * text.size();
        const UnicodeOutcome expected = modelConversion(from, to, text, room, false);
        const UnicodeOutcome actual = leniently(from, to, text, room);
        EXPECT_EQ(actual.result, expected.result);
        EXPECT_EQ(actual.consumed, expected.consumed);
        EXPECT_FALSE(actual.wroteBeyond);
        ASSERT_EQ(actual.written.size(), expected.written.size());
        const auto difference =
            std::mismatch(actual.written.begin(), actual.written.end(), expected.written.begin()).first;
        EXPECT_EQ(difference - actual.written.begin(), actual.written.end() - actual.written.begin())
            << "is the first unit that differs, seed " << kSeed;
    }
};

std::string nameOf(const testing::TestParamInfo<UnicodeConverter>& info)
{
    return info.param.name;
}

} // namespace

TEST_P(KxUnicodeEveryUnit, IsConvertedAmongAllOthers)
{
    compareBehind(0);
}

TEST_P(KxUnicodeEveryUnit, IsConvertedBehindAWideCharacter)
{
    compareBehind(1);
}

TEST_P(KxUnicodeEveryUnit, IsConvertedBehindManyWideCharacters)
{
    compareBehind(9);
}

INSTANTIATE_TEST_SUITE_P(Converters, KxUnicodeEveryUnit, testing::ValuesIn(kUnicodeConverters), nameOf);

TEST(KxUnicodeUTF8toUTF16, EveryTwoBytesAreTreatedAlikeAmongOthers)
{
    const std::string wide = "\xE4\xB8\xAD";
    const std::string fronts[] = { "abcdefg" + wide + "hijk", wide + wide + wide + wide };
    const std::string back = "x" + wide + wide + "yz 0123456789 0123456789 0123456789";
    for (const std::string& front : fronts) {
        for (std::uint32_t first = 0x80; first < 0x100; ++first) {
            for (std::uint32_t second = 0; second < 0x100 && !HasFatalFailure(); ++second) {
                UnicodeUnits text;
                const auto append = [&text](const std::string& bytes) {
                    for (const char byte : bytes) {
                        text.push_back(static_cast<unsigned char>(byte));
                    }
                };
                append(front);
                text.insert(text.end(), { first, second, 0x80 });
                append(back);
                ASSERT_EQ(leniently(UnicodeForm::utf8, UnicodeForm::utf16, text),
                          modelConversion(UnicodeForm::utf8, UnicodeForm::utf16, text, 100, false))
                    << UnicodeText { text };
            }
        }
    }
}
