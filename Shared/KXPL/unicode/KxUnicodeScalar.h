// Constants and tests of code points that all converters share.
#ifndef KXPL_KX_UNICODE_SCALAR_H
#define KXPL_KX_UNICODE_SCALAR_H

#include "KxUnicode.h"

#include <cstddef>

namespace KXPL {

constexpr UTF32 kReplacementCharacter = 0xFFFD;
constexpr UTF32 kLargestScalar = 0x10FFFF;
constexpr UTF32 kFirstSupplementary = 0x10000;
constexpr UTF32 kFirstHighSurrogate = 0xD800;
constexpr UTF32 kLastHighSurrogate = 0xDBFF;
constexpr UTF32 kFirstLowSurrogate = 0xDC00;
constexpr UTF32 kLastLowSurrogate = 0xDFFF;
constexpr int kSurrogateShift = 10;
constexpr UTF32 kSurrogateMask = 0x3FF;

constexpr bool isHighSurrogate(UTF32 value)
{
    return value >= kFirstHighSurrogate && value <= kLastHighSurrogate;
}

constexpr bool isLowSurrogate(UTF32 value)
{
    return value >= kFirstLowSurrogate && value <= kLastLowSurrogate;
}

constexpr bool isSurrogate(UTF32 value)
{
    return value >= kFirstHighSurrogate && value <= kLastLowSurrogate;
}

// Room between two pointers, in units.
template <typename Unit> std::size_t roomBetween(const Unit* from, const Unit* end)
{
    return from < end ? static_cast<std::size_t>(end - from) : 0;
}

// Writes a value of at most kLargestScalar as one or two units. False, with nothing written, without room.
inline bool put(UTF32 value, UTF16*& target, const UTF16* targetEnd)
{
    const std::size_t units = value < kFirstSupplementary ? 1 : 2;
    if (roomBetween<UTF16>(target, targetEnd) < units) {
        return false;
    }
    if (units == 1) {
        *target++ = static_cast<UTF16>(value);
    } else {
        *target++ =
            static_cast<UTF16>(((value - kFirstSupplementary) >> kSurrogateShift) + kFirstHighSurrogate);
        *target++ = static_cast<UTF16>((value & kSurrogateMask) | kFirstLowSurrogate);
    }
    return true;
}

inline bool put(UTF32 value, UTF32*& target, const UTF32* targetEnd)
{
    if (roomBetween<UTF32>(target, targetEnd) == 0) {
        return false;
    }
    *target++ = value;
    return true;
}

} // namespace KXPL

#endif
