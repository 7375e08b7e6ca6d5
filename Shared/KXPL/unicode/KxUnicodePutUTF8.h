// Writing UTF-8, eight characters at a time.
#ifndef KXPL_KX_UNICODE_PUT_UTF8_H
#define KXPL_KX_UNICODE_PUT_UTF8_H

#include "KxUnicodeLanes.h"
#include "KxUnicodeScalar.h"

#include <cstddef>

namespace KXPL {

// Units that putEight reads beyond those that it converts.
constexpr std::ptrdiff_t kAheadOfEight = 3;
// Bytes that all of these may take.
constexpr std::ptrdiff_t kRoomOfEight = (8 + kAheadOfEight) * 3;

// Writes eight values below 0x10000. Every sequence is stored with four bytes, of which the next ones overwrite
// what is too much. So at least kAheadOfEight values must follow that are sure to be converted next, and the
// target must have room for them, too: nothing behind its final position is changed then.
//
// At least 1.3 times as quick as the plain loop of the benchmarks: all texts but emoji and English with emoji, from
// 100 units on.
inline UTF8* putEight(Lanes16 values, UTF8* to)
{
    const Lanes16 over7F = (Lanes16)((values & 0xFF80) != 0);
    const Lanes16 over7FF = (Lanes16)((values & 0xF800) != 0);
    const Lanes16 last = 0x80 | (values & 0x3F);
    const Lanes16 two = 0xC0 | values >> 6 | last << 8;
    const Lanes16 three = 0x80E0 | values >> 12 | (values << 2 & 0x3F00);
    const __m128i firstTwo = (__m128i)choose<Lanes16>(over7FF, three, choose<Lanes16>(over7F, two, values));
    UTF32 sequences[8];
    storeLanes(_mm_unpacklo_epi16(firstTwo, (__m128i)last), sequences);
    storeLanes(_mm_unpackhi_epi16(firstTwo, (__m128i)last), sequences + 4);
    UTF16 lengths[8];
    storeLanes(1 - over7F - over7FF, lengths);
    for (int i = 0; i < 8; ++i) {
        __builtin_memcpy(to, &sequences[i], sizeof sequences[i]);
        to += lengths[i];
    }
    return to;
}

} // namespace KXPL

#endif
