// What the fast paths of all converters share.
//
// A fast path converts whole blocks of units without branches. It takes a block only if the source goes on
// behind it and the target has room for the most that it can give. It leaves everything else, every fault
// included, to the loop that converts one character at a time.
//
// Where characters differ in length, a block is converted in two steps. First the result of every unit is
// computed, all at once, and the number of target units that it really has. Then the results are stored one
// over the other, each at full width, while the target advances by those numbers: what a result leaves behind
// its end is overwritten by the next one. A block therefore ends before characters that are known to be
// converted next, and nothing behind the target's final position is changed.
#ifndef KXPL_KX_UNICODE_BLOCKS_H
#define KXPL_KX_UNICODE_BLOCKS_H

#include "KxUnicodeLanes.h"
#include "KxUnicodeScalar.h"

#include <cstddef>
#include <cstring>

namespace KXPL {

// In units of the source, of any width.
constexpr std::size_t kBlock = 32;
// Units converted one character at a time before blocks are tried again.
constexpr std::ptrdiff_t kStretch = 16;

// Results wider than a target unit are read lowest byte first.
static_assert(__BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__, "the byte order of all processors of this library");

template <typename Unit> using LanesOf = std::conditional_t<sizeof(Unit) == 1, Lanes8,
    std::conditional_t<sizeof(Unit) == 2, Lanes16, Lanes32>>;
template <typename Unit> constexpr std::size_t kLanes = 16 / sizeof(Unit);

// Whether there are so many units from a pointer to an end.
template <typename Unit> bool hasUnits(const Unit* from, const Unit* end, std::size_t units)
{
    return roomBetween<Unit>(from, end) >= units;
}

template <typename Unit> const Unit* endOfStretch(const Unit* from, const Unit* end)
{
    return end - from > kStretch ? from + kStretch : end;
}

// Whether any unit of a block has one of these bits.
template <typename Unit> bool anyHas(UTF32 bits, const Unit* from)
{
    LanesOf<Unit> all {};
    for (std::size_t i = 0; i < kBlock; i += kLanes<Unit>) {
        all |= loadLanes<LanesOf<Unit>>(from + i);
    }
    return anySet(all & static_cast<Unit>(bits));
}

// Converts a block whose units are the same in both forms.
template <typename Source, typename Target> void copyBlock(const Source*& from, Target*& to)
{
    Source block[kBlock];
    std::memcpy(block, from, sizeof block);
    for (std::size_t i = 0; i < kBlock; ++i) {
        to[i] = static_cast<Target>(block[i]);
    }
    from += kBlock;
    to += kBlock;
}

// Stores results of one target unit, or of several that are taken as one number.
template <std::size_t count, typename Result, typename Length, typename Target>
Target* storeOver(const Result* results, const Length* lengths, Target* to)
{
    for (std::size_t i = 0; i < count; ++i) {
        if constexpr (sizeof(Result) > sizeof(Target)) {
            std::memcpy(to, &results[i], sizeof(Result));
        } else {
            *to = results[i];
        }
        to += lengths[i];
    }
    return to;
}

} // namespace KXPL

#endif
