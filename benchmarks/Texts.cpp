#include "Texts.h"

#include <iterator>
#include <random>
#include <string_view>

namespace bench {
namespace {

// Texts are made of words in a random order. A sentence that repeats itself would be learnt by the processor,
// and converters that branch at every character then look quicker than they are.
template <std::size_t count> using Words = const std::u32string_view[count];
constexpr Words<14> kEnglish = { U"The ",  U"quick ", U"brown ", U"fox ", U"jumps ", U"over ", U"the ",
                                 U"lazy ", U"dog ",   U"while ", U"42 ",  U"files ", U"are ",  U"opened. " };
constexpr Words<13> kLatin = { U"Größe ", U"und ",     U"Maß ", U"über ", U"7 ",      U"Flüsse: ", U"der ",
                               U"été ",   U"naïveté ", U"les ", U"dans ", U"façons ", U"señor " };
constexpr Words<11> kCyrillic = { U"съешь ", U"ещё ", U"этих ", U"мягких ", U"французских ", U"булок, ",
                                  U"да ",    U"же ",  U"выпей", U" чаю. ",  U"Привет! " };
constexpr Words<9> kCjk = { U"記録は", U"別の", U"糸で",   U"書かれる。", U"日志",
                            U"由另一", U"线程", U"写入。", U"기록" };
constexpr Words<12> kCjkAndAscii = { U"記録は", U"別の ",  U"thread ", U"で",    U"書かれる。", U"\n",
                                     U"日志",   U"由另一", U"线程",    U"写入 ", U"log ",       U"42" };
constexpr Words<6> kEmoji = { U"\U0001F600",           U"\U0001F680", U"\U0001F4C4",
                              U"\U0001F44D\U0001F3FD", U"\U0001F389", U"\U0001F4A9" };
// A quotation mark in 20 characters.
constexpr Words<14> kQuotes = { U"The ",  U"“quick ", U"brown” ", U"fox ", U"jumps ", U"over ", U"the ",
                                U"lazy ", U"dog’s ",  U"while ",  U"42 ",  U"files ", U"are ",  U"opened. " };
// An emoji in 16 characters.
constexpr Words<14> kEnglishAndEmoji = { U"The ",
                                         U"quick \U0001F600 ",
                                         U"brown ",
                                         U"fox ",
                                         U"jumps ",
                                         U"over \U0001F680 ",
                                         U"the ",
                                         U"lazy ",
                                         U"dog\U0001F436 ",
                                         U"while ",
                                         U"42 ",
                                         U"files ",
                                         U"are ",
                                         U"opened. \U0001F4C4" };
constexpr Words<9> kSource = { U"    if (length == 0) {\n",
                               U"        return false; // здесь больше нечего делать\n",
                               U"    }\n",
                               U"// Проверяет длину.\n",
                               U"    for (int i = 0; i < count; ++i) {\n",
                               U"        total += values[i];\n",
                               U"    // сумма всех значений\n",
                               U"    return total;\n}\n",
                               U"\nint sumOf(const int* values, int count)\n{\n" };
constexpr Words<8> kJson = { U"{\"id\": 42, \"name\": \"記録は別の\"},\n",
                             U"{\"id\": 7, \"name\": \"日志\"},\n",
                             U"\"thread\": \"main\", ",
                             U"\"状態\": \"完了\",\n",
                             U"\"count\": 1024, ",
                             U"\"title\": \"由另一线程写入。\"",
                             U"], \"items\": [\n",
                             U"\"기록\": null, " };

constexpr std::size_t kBetweenIllFormed = 64;

template <const auto& words> std::vector<char32_t> textOf(std::size_t characters)
{
    std::mt19937 random;
    std::vector<char32_t> text;
    while (text.size() < characters) {
        const std::u32string_view word = words[random() % std::size(words)];
        text.insert(text.end(), word.begin(), word.end());
    }
    text.resize(characters);
    return text;
}

std::vector<char32_t> withIllFormed(std::size_t characters)
{
    std::vector<char32_t> text = textOf<kCyrillic>(characters);
    for (std::size_t i = kBetweenIllFormed; i < text.size(); i += kBetweenIllFormed + 1) {
        text[i] = kIllFormed;
    }
    return text;
}

} // namespace

const Text kText[kTexts] = {
    { "ASCII", textOf<kEnglish> },
    { "Latin", textOf<kLatin> },
    { "Cyrillic", textOf<kCyrillic> },
    { "CJK", textOf<kCjk> },
    { "CJK and ASCII", textOf<kCjkAndAscii> },
    { "emoji", textOf<kEmoji> },
    { "English with typographic quotes", textOf<kQuotes> },
    { "English with emoji", textOf<kEnglishAndEmoji> },
    { "source code with Cyrillic comments", textOf<kSource> },
    { "JSON with CJK values", textOf<kJson> },
    { "ill-formed", withIllFormed },
};

void Encode(char32_t character, std::vector<KXPL::UTF8>& to)
{
    const auto put = [&to](char32_t unit) { to.push_back(static_cast<KXPL::UTF8>(unit)); };
    if (character == kIllFormed) {
        put(0xFF);
    } else if (character < 0x80) {
        put(character);
    } else if (character < 0x800) {
        put(0xC0 + character / 0x40);
        put(0x80 + character % 0x40);
    } else if (character < 0x10000) {
        put(0xE0 + character / 0x1000);
        put(0x80 + character / 0x40 % 0x40);
        put(0x80 + character % 0x40);
    } else {
        put(0xF0 + character / 0x40000);
        put(0x80 + character / 0x1000 % 0x40);
        put(0x80 + character / 0x40 % 0x40);
        put(0x80 + character % 0x40);
    }
}

void Encode(char32_t character, std::vector<KXPL::UTF16>& to)
{
    if (character == kIllFormed) {
        to.push_back(0xDC00);
    } else if (character < 0x10000) {
        to.push_back(static_cast<KXPL::UTF16>(character));
    } else {
        to.push_back(static_cast<KXPL::UTF16>(0xD800 + (character - 0x10000) / 0x400));
        to.push_back(static_cast<KXPL::UTF16>(0xDC00 + character % 0x400));
    }
}

void Encode(char32_t character, std::vector<KXPL::UTF32>& to)
{
    to.push_back(character == kIllFormed ? 0x110000 : static_cast<KXPL::UTF32>(character));
}

} // namespace bench
