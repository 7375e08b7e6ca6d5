// Sixteen bytes of code units computed on at once, in the vector types that both gcc and clang offer on every
// processor. Comparing lanes gives a mask: in every lane all bits set, or none.
#ifndef KXPL_KX_UNICODE_LANES_H
#define KXPL_KX_UNICODE_LANES_H

#include "KxUnicode.h"

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <type_traits>

namespace KXPL {

// Lanes are taken apart and joined by shifts, and results of several units stored as one number.
static_assert(__BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__, "the first unit in the lowest bits");

using Lanes8 [[gnu::vector_size(16)]] = UTF8;
using Lanes16 [[gnu::vector_size(16)]] = UTF16;
using Lanes32 [[gnu::vector_size(16)]] = UTF32;
using Lanes64 [[gnu::vector_size(16)]] = std::uint64_t;

template <typename Unit>
using LanesOf =
    std::conditional_t<sizeof(Unit) == 1, Lanes8, std::conditional_t<sizeof(Unit) == 2, Lanes16, Lanes32>>;
template <typename Unit> constexpr std::size_t kLanes = sizeof(LanesOf<Unit>) / sizeof(Unit);

// Pointers into lanes need no alignment.
template <typename Unit> LanesOf<Unit> loadLanes(const Unit* from)
{
    LanesOf<Unit> lanes;
    std::memcpy(&lanes, from, sizeof lanes);
    return lanes;
}

template <typename Lanes, typename Unit> void storeLanes(Lanes lanes, Unit* to)
{
    std::memcpy(to, &lanes, sizeof lanes);
}

template <typename Lanes> Lanes choose(Lanes mask, Lanes whereSet, Lanes elsewhere)
{
    return (whereSet & mask) | (elsewhere & ~mask);
}

template <typename Lanes> bool anySet(Lanes lanes)
{
    std::uint64_t halves[2];
    std::memcpy(halves, &lanes, sizeof halves);
    return (halves[0] | halves[1]) != 0;
}

// The numbers that lows and highs make up in their even and in their odd lanes.
inline Lanes32 joinEven(Lanes16 lows, Lanes16 highs)
{
    return ((Lanes32)lows & 0xFFFF) | (Lanes32)highs << 16;
}

inline Lanes32 joinOdd(Lanes16 lows, Lanes16 highs)
{
    return (Lanes32)lows >> 16 | ((Lanes32)highs & 0xFFFF0000);
}

} // namespace KXPL

#endif
