// What the fast paths of all converters share.
//
// A fast path converts whole blocks of units. It takes a block only if the target has room for the most that
// the block can give, and leaves everything else, every stop included, to the loop that converts one character
// at a time.
//
// Where characters differ in length, the units of a group are converted in two steps. First the results of all
// of them are computed at once, and how many target units each result really has. Then the results are stored
// one over the other, each at full width, while the target advances by those numbers: what a result leaves
// behind its end is overwritten by the next one. So the last units of such a block are only looked at. They are
// whole characters which are sure to be converted next, and so overwrite what the last result left: nothing
// behind the target's final position is changed.
#ifndef KXPL_KX_UNICODE_BLOCKS_H
#define KXPL_KX_UNICODE_BLOCKS_H

#include "KxUnicodeLanes.h"
#include "KxUnicodeScalar.h"

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace KXPL {

// In units of the source, of any width.
constexpr std::size_t kBlock = 32;
// Units of a block that are converted together where characters differ in length.
constexpr std::size_t kGroup = kLanes<UTF16>;
// Of a block whose last group is only looked at, the units that are converted.
constexpr std::size_t kTaken = kBlock - kGroup;
// Units converted one character at a time before blocks are tried again.
constexpr std::ptrdiff_t kStretch = 16;

// How far a conversion has got. Passed by value where it matters that the pointers stay in registers; a fast
// path that can do nothing returns what it was given.
template <typename Source, typename Target> struct Place {
    const Source* from;
    Target* to;
};

// What a conversion was given.
template <typename Source, typename Target> struct Bounds {
    const Source* begin;
    const Source* end;
    const Target* room; // the target's end
    bool strict;
};

template <typename Source, typename Target>
bool has(Place<Source, Target> at, const Bounds<Source, Target>& bounds, std::size_t units, std::size_t room)
{
    return roomBetween<Source>(at.from, bounds.end) >= units && roomBetween<Target>(at.to, bounds.room) >= room;
}

// Converts blocks as long as they are worth it, then some characters one at a time, and so on until `singly`,
// which is given how far it should come, returns false.
template <typename Source, typename Target, typename Block, typename Singly>
void convertByBlocks(Place<Source, Target>& at, const Source* end, Block&& block, Singly&& singly)
{
    bool goesOn = true;
    while (goesOn && at.from < end) {
        const Source* before;
        do {
            before = at.from;
            at = block(at);
        } while (at.from - before >= kStretch);
        goesOn = singly(at, end - at.from > kStretch ? at.from + kStretch : end);
    }
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

// Has the cache fetch what a block's results will soon be stored to: the processor, left alone, does not look
// beyond the page that is being filled. Nothing is read, so the memory need not even exist.
template <typename Target> void fetchAhead(const Target* to)
{
    constexpr std::uintptr_t kAhead = 2048;
    constexpr std::uintptr_t kCacheLine = 64;
    const std::uintptr_t first = reinterpret_cast<std::uintptr_t>(to) + kAhead;
    for (std::uintptr_t line = 0; line < kBlock * sizeof(Target); line += kCacheLine) {
        __builtin_prefetch(reinterpret_cast<const void*>(first + line), 1);
    }
}

// Units that are the same in both forms.
template <std::size_t count, typename Source, typename Target> Target* copyUnits(const Source* from, Target* to)
{
    Source units[count];
    std::memcpy(units, from, sizeof units);
    for (std::size_t i = 0; i < count; ++i) {
        to[i] = static_cast<Target>(units[i]);
    }
    return to + count;
}

template <typename Source, typename Target> Place<Source, Target> copyBlock(Place<Source, Target> at)
{
    if (sizeof(Target) > sizeof(Source)) {
        fetchAhead(at.to);
    }
    return { at.from + kBlock, copyUnits<kBlock>(at.from, at.to) };
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

} // namespace KXPL

#endif
