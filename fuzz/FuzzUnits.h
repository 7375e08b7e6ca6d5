// Bytes of an input as code units.
#ifndef FALLCATCH_FUZZ_UNITS_H
#define FALLCATCH_FUZZ_UNITS_H

#include "UnicodeModel.h"

#include <cstddef>
#include <cstdint>
#include <string>

// One, two or four bytes a unit, the lowest first. Where the fourth byte is below F0 only 21 bits count, else
// hardly a unit of UTF-32 would be a character.
inline UnicodeUnits fuzzUnits(const std::string& bytes, UnicodeForm form)
{
    const std::size_t width = form == UnicodeForm::utf8 ? 1 : (form == UnicodeForm::utf16 ? 2 : 4);
    UnicodeUnits units;
    for (std::size_t at = 0; at + width <= bytes.size(); at += width) {
        std::uint32_t unit = 0;
        for (std::size_t i = width; i > 0; --i) {
            unit = unit << 8 | static_cast<unsigned char>(bytes[at + i - 1]);
        }
        units.push_back(width == 4 && unit < 0xF0000000 ? unit & 0x1FFFFF : unit);
    }
    return units;
}

#endif
