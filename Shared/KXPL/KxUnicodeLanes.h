// Sixteen bytes of code units computed on at once, in the vector types that both gcc and clang offer on every
// processor. Comparing lanes gives a mask: in every lane all bits set, or none.
#ifndef KXPL_KX_UNICODE_LANES_H
#define KXPL_KX_UNICODE_LANES_H

#include "KxUnicode.h"

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace KXPL {

using Lanes8 [[gnu::vector_size(16)]] = UTF8;
using Lanes16 [[gnu::vector_size(16)]] = UTF16;
using Lanes32 [[gnu::vector_size(16)]] = UTF32;

template <typename Lanes> Lanes loadLanes(const void* from)
{
    Lanes lanes;
    std::memcpy(&lanes, from, sizeof lanes);
    return lanes;
}

template <typename Lanes> void storeLanes(Lanes lanes, void* to)
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

} // namespace KXPL

#endif
