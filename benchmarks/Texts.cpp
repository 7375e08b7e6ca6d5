#include "Texts.h"

namespace bench {
namespace {

constexpr char kEnglish[] = "The quick brown fox jumps over the lazy dog while 42 files are opened. ";
constexpr char32_t kMixed[] = U"Größe und Maß über 7 Flüsse: съешь ещё этих мягких французских булок. ";
constexpr char32_t kWide[] = U"記録は別の糸で書かれる。日志由另一线程写入。\U0001F600\U0001F680기록\U0001F4C4";

constexpr std::size_t kBetweenIllFormed = 64;

char32_t characterAt(Text text, std::size_t index)
{
    switch (text) {
    case Text::ascii:
        return static_cast<char32_t>(kEnglish[index % (std::size(kEnglish) - 1)]);
    case Text::cjkEmoji:
        return kWide[index % (std::size(kWide) - 1)];
    case Text::illFormed:
        if (index % (kBetweenIllFormed + 1) == kBetweenIllFormed) {
            return kIllFormed;
        }
        break;
    case Text::latinCyrillic:
        break;
    }
    return kMixed[index % (std::size(kMixed) - 1)];
}

} // namespace

std::vector<char32_t> Characters(Text text, std::size_t count)
{
    std::vector<char32_t> characters(count);
    for (std::size_t i = 0; i < count; ++i) {
        characters[i] = characterAt(text, i);
    }
    return characters;
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
