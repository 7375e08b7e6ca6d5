// Texts to be converted, in every encoding.
#ifndef FALLCATCH_BENCHMARKS_TEXTS_H
#define FALLCATCH_BENCHMARKS_TEXTS_H

#include <KxUnicode.h>

#include <cstddef>
#include <vector>

namespace bench {

struct Text {
    const char* mName;
    // So many characters, always the same ones.
    std::vector<char32_t> (*mCharacters)(std::size_t count);
};

constexpr std::size_t kTexts = 11;
// The last one is the ill-formed one: Cyrillic with an ill-formed unit after every 64 characters.
extern const Text kText[kTexts];
constexpr std::size_t kIllFormedText = kTexts - 1;

// Ends up as a unit that no well-formed text has: FF in UTF-8, an unpaired surrogate in UTF-16, 0x110000 in
// UTF-32.
constexpr char32_t kIllFormed = 0xFFFFFFFF;

void Encode(char32_t character, std::vector<KXPL::UTF8>& to);
void Encode(char32_t character, std::vector<KXPL::UTF16>& to);
void Encode(char32_t character, std::vector<KXPL::UTF32>& to);

template <typename Unit> std::vector<Unit> Encoded(const std::vector<char32_t>& characters)
{
    std::vector<Unit> units;
    for (const char32_t character : characters) {
        Encode(character, units);
    }
    return units;
}

} // namespace bench

#endif
