#include "Texts.h"

#include <random>
#include <string_view>

namespace bench {
namespace {

// Texts are made of words in a random order. A sentence that repeats itself would be learnt by the processor,
// and converters that branch at every character then look quicker than they are.
template <std::size_t count> using Words = const std::u32string_view[count];
constexpr Words<14> kEnglish = { U"The ",  U"quick ", U"brown ", U"fox ", U"jumps ", U"over ", U"the ",
                                 U"lazy ", U"dog ",   U"while ", U"42 ",  U"files ", U"are ",  U"opened. " };
constexpr Words<12> kMixed = { U"Größe ", U"und ", U"Maß ",  U"über ",   U"7 ",           U"Flüsse: ",
                               U"съешь ", U"ещё ", U"этих ", U"мягких ", U"французских ", U"булок. " };
constexpr Words<9> kWide = { U"記録は", U"別の", U"糸で",   U"書かれる。", U"日志",
                             U"由另一", U"线程", U"写入。", U"기록" };
constexpr Words<12> kWideAndEmoji = {
    U"記録は", U"別の",   U"糸で", U"書かれる。", U"日志",       U"由另一",
    U"线程",   U"写入。", U"기록", U"\U0001F600", U"\U0001F680", U"\U0001F4C4"
};
constexpr Words<12> kWideAndEnglish = { U"記録は", U"別の ",  U"thread ", U"で",    U"書かれる。", U"\n",
                                        U"日志",   U"由另一", U"线程",    U"写入 ", U"log ",       U"42" };

constexpr std::size_t kBetweenIllFormed = 64;

template <std::size_t count> std::vector<char32_t> textOf(Words<count>& words, std::size_t characters)
{
    std::mt19937 random;
    std::vector<char32_t> text;
    while (text.size() < characters) {
        const std::u32string_view word = words[random() % count];
        text.insert(text.end(), word.begin(), word.end());
    }
    text.resize(characters);
    return text;
}

std::vector<char32_t> withIllFormed(std::vector<char32_t> text)
{
    for (std::size_t i = kBetweenIllFormed; i < text.size(); i += kBetweenIllFormed + 1) {
        text[i] = kIllFormed;
    }
    return text;
}

} // namespace

std::vector<char32_t> Characters(Text text, std::size_t count)
{
    switch (text) {
    case Text::ascii:
    case Text::shortAscii:
        return textOf(kEnglish, count);
    case Text::cjk:
        return textOf(kWide, count);
    case Text::cjkEmoji:
        return textOf(kWideAndEmoji, count);
    case Text::cjkAscii:
        return textOf(kWideAndEnglish, count);
    case Text::illFormed:
        return withIllFormed(textOf(kMixed, count));
    case Text::latinCyrillic:
        break;
    }
    return textOf(kMixed, count);
}

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
