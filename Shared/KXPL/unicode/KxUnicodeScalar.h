// Constants and tests of code points that all converters share, and the units of one character.
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

constexpr UTF32 valueOfPair(UTF32 high, UTF32 low)
{
    return ((high - kFirstHighSurrogate) << kSurrogateShift) + (low - kFirstLowSurrogate) + kFirstSupplementary;
}

// The following write a value of at most kLargestScalar. False, with nothing written, without room.
[[gnu::always_inline]] inline bool put(UTF32 value, UTF16*& target, const UTF16* targetEnd)
{
    if (value < kFirstSupplementary) {
        if (target >= targetEnd) {
            return false;
        }
        *target++ = static_cast<UTF16>(value);
        return true;
    }
    if (targetEnd - target < 2) {
        return false;
    }
    target[0] = static_cast<UTF16>(((value - kFirstSupplementary) >> kSurrogateShift) + kFirstHighSurrogate);
    target[1] = static_cast<UTF16>((value & kSurrogateMask) | kFirstLowSurrogate);
    target += 2;
    return true;
}

[[gnu::always_inline]] inline bool put(UTF32 value, UTF32*& target, const UTF32* targetEnd)
{
    if (target >= targetEnd) {
        return false;
    }
    *target++ = value;
    return true;
}

// Indexed by the number of bytes of a sequence.
constexpr UTF8 firstByteMark[7] = { 0x00, 0x00, 0xC0, 0xE0, 0xF0, 0xF8, 0xFC };

// Writes the bytes of a sequence of that length from the last to the first.
template <int length>
[[gnu::always_inline]] inline bool putSequence(UTF32 value, UTF8*& target, const UTF8* targetEnd)
{
    if (targetEnd - target < length) {
        return false;
    }
    for (int i = length - 1; i > 0; --i) {
        target[i] = static_cast<UTF8>((value & 0x3F) | 0x80);
        value >>= 6;
    }
    target[0] = static_cast<UTF8>(value | firstByteMark[length]);
    target += length;
    return true;
}

[[gnu::always_inline]] inline bool put(UTF32 value, UTF8*& target, const UTF8* targetEnd)
{
    if (value < 0x80) {
        return putSequence<1>(value, target, targetEnd);
    }
    if (value < 0x800) {
        return putSequence<2>(value, target, targetEnd);
    }
    return value < kFirstSupplementary ? putSequence<3>(value, target, targetEnd)
                                       : putSequence<4>(value, target, targetEnd);
}

} // namespace KXPL

#endif
