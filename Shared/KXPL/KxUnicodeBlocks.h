// What the fast paths of all converters share.
//
// A fast path converts whole blocks of units without branches. It takes a block only if the target has room for
// the most that the block can give, and leaves everything else, every fault included, to the loop that converts
// one character at a time.
//
// Where characters differ in length, a block is converted in two steps. First the results of all units are
// computed at once, and how many target units each result really has. Then the results are stored one over the
// other, each at full width, while the target advances by those numbers: what a result leaves behind its end is
// overwritten by the next one. The last units of such a block are only looked at. They are whole characters
// which are sure to be converted next, and so overwrite what the last result left: nothing behind the target's
// final position is changed.
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

// How far a conversion has got. Passed by value where it matters that the pointers stay in registers; a fast
// path that can do nothing returns what it was given.
template <typename Source, typename Target> struct Place {
    const Source* from;
    Target* to;
};

template <typename Source, typename Target> struct Ends {
    const Source* source;
    const Target* target;
};

template <typename Source, typename Target>
bool has(Place<Source, Target> at, Ends<Source, Target> ends, std::size_t units, std::size_t room)
{
    return roomBetween<Source>(at.from, ends.source) >= units
        && roomBetween<Target>(at.to, ends.target) >= room;
}

template <typename Unit> const Unit* endOfStretch(const Unit* from, const Unit* end)
{
    return end - from > kStretch ? from + kStretch : end;
}

// Whether any unit of a block has any of these bits.
template <typename Unit> bool anyHas(UTF32 bits, const Unit* from)
{
    LanesOf<Unit> all {};
    for (std::size_t i = 0; i < kBlock; i += kLanes<Unit>) {
        all |= loadLanes(from + i);
    }
    return anySet(all & static_cast<Unit>(bits));
}

// A block of units that are the same in both forms.
template <typename Source, typename Target> Place<Source, Target> copyBlock(Place<Source, Target> at)
{
    Source block[kBlock];
    std::memcpy(block, at.from, sizeof block);
    for (std::size_t i = 0; i < kBlock; ++i) {
        at.to[i] = static_cast<Target>(block[i]);
    }
    return { at.from + kBlock, at.to + kBlock };
}

// Stores `count` results over one another. Not inlined, because the compilers would then take the results out
// of vector registers one by one, which lasts longer than loading them.
template <std::size_t count, typename Result, typename Target>
[[gnu::noinline]] Target* storeOver(const Result* results, const Result* lengths, Target* to)
{
    for (std::size_t i = 0; i < count; ++i) {
        std::memcpy(to, &results[i], sizeof results[i]);
        to += lengths[i];
    }
    return to;
}

// The same for results that were computed apart from one another at even and at odd places.
template <std::size_t count, typename Result, typename Target>
[[gnu::noinline]] Target* storeOver(const Result* evens, const Result* odds, const UTF16* lengths, Target* to)
{
    static_assert(count % 2 == 0);
    for (std::size_t i = 0; i < count; i += 2) {
        std::memcpy(to, &evens[i / 2], sizeof evens[i / 2]);
        to += lengths[i];
        std::memcpy(to, &odds[i / 2], sizeof odds[i / 2]);
        to += lengths[i + 1];
    }
    return to;
}

} // namespace KXPL

#endif
