// Writing UTF-8.
#ifndef KXPL_KX_UNICODE_PUT_UTF8_H
#define KXPL_KX_UNICODE_PUT_UTF8_H

#include "KxUnicodeScalar.h"

#include <cstddef>

namespace KXPL {

// Indexed by the number of bytes of a sequence.
constexpr UTF8 firstByteMark[7] = { 0x00, 0x00, 0xC0, 0xE0, 0xF0, 0xF8, 0xFC };

inline std::size_t lengthInUTF8(UTF32 value)
{
    if (value < 0x80) {
        return 1;
    }
    if (value < 0x800) {
        return 2;
    }
    return value < kFirstSupplementary ? 3 : 4;
}

// Writes a value of at most kLargestScalar. False, with nothing written, without room.
inline bool putUTF8(UTF32 value, UTF8*& target, const UTF8* targetEnd)
{
    const std::size_t length = lengthInUTF8(value);
    if (roomBetween<UTF8>(target, targetEnd) < length) {
        return false;
    }
    for (std::size_t i = length - 1; i > 0; --i) {
        target[i] = static_cast<UTF8>((value & 0x3F) | 0x80);
        value >>= 6;
    }
    target[0] = static_cast<UTF8>(value | firstByteMark[length]);
    target += length;
    return true;
}

} // namespace KXPL

#endif
