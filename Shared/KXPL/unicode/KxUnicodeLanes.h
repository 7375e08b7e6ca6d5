// Sixteen bytes of code units computed on at once: the vector types of gcc and clang, and where these have no
// operator, what SSE2 has. Comparing lanes gives a mask: in every lane all bits set, or none.
#ifndef KXPL_KX_UNICODE_LANES_H
#define KXPL_KX_UNICODE_LANES_H

#include "KxUnicode.h"
#include "KxUnicodeSSE2.h"

#include <cstddef>
#include <type_traits>

namespace KXPL {

using Lanes8 [[gnu::vector_size(16)]] = UTF8;
using Lanes16 [[gnu::vector_size(16)]] = UTF16;
using Lanes32 [[gnu::vector_size(16)]] = UTF32;

template <typename Unit>
using LanesOf =
    std::conditional_t<sizeof(Unit) == 1, Lanes8, std::conditional_t<sizeof(Unit) == 2, Lanes16, Lanes32>>;

// Pointers into lanes need no alignment. The compiler's own copy, since clang takes a fortified one through memory.
template <typename Unit> LanesOf<Unit> loadLanes(const Unit* from)
{
    LanesOf<Unit> lanes;
    __builtin_memcpy(&lanes, from, sizeof lanes);
    return lanes;
}

template <typename Lanes, typename Unit> void storeLanes(Lanes lanes, Unit* to)
{
    __builtin_memcpy(to, &lanes, sizeof lanes);
}

template <typename Lanes> Lanes choose(Lanes mask, Lanes whereSet, Lanes elsewhere)
{
    return (whereSet & mask) | (elsewhere & ~mask);
}

// A bit for each byte of a mask, the first one lowest.
template <typename Lanes> unsigned int bitsOf(Lanes mask)
{
    return static_cast<unsigned int>(_mm_movemask_epi8((__m128i)mask));
}

// A bit for each lane of a mask of units.
inline unsigned int bitsOfLanes(Lanes16 firstMask, Lanes16 secondMask)
{
    return bitsOf(_mm_packs_epi16((__m128i)firstMask, (__m128i)secondMask));
}

inline Lanes16 joinedMasks(Lanes32 first, Lanes32 second)
{
    return (Lanes16)_mm_packs_epi32((__m128i)first, (__m128i)second);
}

// The lower halves.
inline Lanes16 joined(Lanes32 first, Lanes32 second)
{
    using SignedLanes [[gnu::vector_size(16)]] = int;
    // Saturates nothing, since every lane becomes the sign extension of its lower half.
    return joinedMasks((Lanes32)((SignedLanes)(first << 16) >> 16),
                       (Lanes32)((SignedLanes)(second << 16) >> 16));
}

// The following store the values of all lanes, which the target's units can hold.
inline void storeUnits(Lanes16 units, UTF32* to)
{
    const __m128i zero {};
    storeLanes(_mm_unpacklo_epi16((__m128i)units, zero), to);
    storeLanes(_mm_unpackhi_epi16((__m128i)units, zero), to + 4);
}

inline void storeUnits(Lanes16 units, UTF8* to)
{
    const __m128i bytes = _mm_packus_epi16((__m128i)units, (__m128i)units);
    __builtin_memcpy(to, &bytes, 8);
}

inline void storeUnits(Lanes16 units, UTF16* to)
{
    storeLanes(units, to);
}

template <typename Target> void storeUnits(Lanes8 units, Target* to)
{
    const __m128i zero {};
    storeUnits((Lanes16)_mm_unpacklo_epi8((__m128i)units, zero), to);
    storeUnits((Lanes16)_mm_unpackhi_epi8((__m128i)units, zero), to + 8);
}

} // namespace KXPL

#endif
