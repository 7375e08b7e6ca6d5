// Reading UTF-16 and UTF-32 in runs: of units that are the same in both forms, eight at a time; towards UTF-8 of
// values below 0x10000, eight at a time; of supplementary characters.
#ifndef KXPL_KX_UNICODE_TAKE_RUNS_H
#define KXPL_KX_UNICODE_TAKE_RUNS_H

#include "KxUnicodeConvert.h"
#include "KxUnicodeLanes.h"
#include "KxUnicodePutUTF8.h"
#include "KxUnicodeScalar.h"

#include <algorithm>
#include <cstddef>

namespace KXPL {

template <typename Target> constexpr bool kToUTF8 = sizeof(Target) == sizeof(UTF8);

inline Lanes16 areSurrogates(Lanes16 units)
{
    return (Lanes16)((units & 0xF800) == 0xD800);
}

inline Lanes32 areSurrogates(Lanes32 values)
{
    return (Lanes32)((values & 0xFFFFF800) == kFirstHighSurrogate);
}

// Eight units, of UTF-32 the lower halves, with a bit for each that is not the same in the target's form.
struct EightUnits {
    Lanes16 units;
    unsigned int others;
};

template <typename Target> EightUnits loadEight(const UTF16* from)
{
    const Lanes16 units = loadLanes(from);
    const Lanes16 others = kToUTF8<Target> ? (Lanes16)((units & 0xFF80) != 0) : areSurrogates(units);
    return { units, bitsOfLanes(others, Lanes16 {}) };
}

template <typename Target> EightUnits loadEight(const UTF32* from)
{
    const Lanes32 first = loadLanes(from);
    const Lanes32 second = loadLanes(from + 4);
    const auto others = [](Lanes32 values) {
        return (Lanes32)((kToUTF8<Target> ? values >> 7 : values >> 16 | areSurrogates(values)) != 0);
    };
    return { joined(first, second), bitsOfLanes(joinedMasks(others(first), others(second)), Lanes16 {}) };
}

// A bit for each of the units from a place on that putEight must not meet, among eight and the kAheadOfEight behind
// them: parts of a pair, values above 0xFFFF, and what ends a conversion.
constexpr unsigned int kBitsOfEight = (1U << (8 + kAheadOfEight)) - 1;

inline unsigned int bitsApart(const UTF16* from, bool)
{
    return kBitsOfEight & bitsOfLanes(areSurrogates(loadLanes(from)), areSurrogates(loadLanes(from + 8)));
}

inline unsigned int bitsApart(const UTF32* from, bool strict)
{
    const auto apart = [=](const UTF32* values) {
        const Lanes32 lanes = loadLanes(values);
        const Lanes32 over = (Lanes32)(lanes >> 16 != 0);
        return strict ? over | areSurrogates(lanes) : over;
    };
    return kBitsOfEight
        & bitsOfLanes(joinedMasks(apart(from), apart(from + 4)), joinedMasks(apart(from + 8), Lanes32 {}));
}

// Supplementary characters that stand one after the other, if any.
template <typename Target> void takeSupplementary(Place<UTF16, Target>& at, const Bounds<UTF16, Target>& bounds)
{
    std::ptrdiff_t pairs = std::min((bounds.end - at.from) / 2, (bounds.room - at.to) / 4);
    for (; pairs > 0 && isHighSurrogate(at.from[0]) && isLowSurrogate(at.from[1]); --pairs) {
        put(valueOfPair(at.from[0], at.from[1]), at.to, at.to + 4);
        at.from += 2;
    }
}

template <typename Target> void takeSupplementary(Place<UTF32, Target>& at, const Bounds<UTF32, Target>& bounds)
{
    std::ptrdiff_t count = std::min(bounds.end - at.from, (bounds.room - at.to) / 4);
    for (; count > 0 && *at.from - kFirstSupplementary <= kLargestScalar - kFirstSupplementary; --count) {
        put(*at.from++, at.to, at.to + 4);
    }
}

// Units that are the same in both forms, as many at a time: long ASCII is 1.3 to 2 times as quick as by eights.
constexpr std::ptrdiff_t kLongRun = 32;

template <typename Source, typename Target>
void takeSame(Place<Source, Target>& at, const Bounds<Source, Target>& bounds)
{
    while (bounds.have(at, kLongRun, kLongRun)) {
        const EightUnits eights[] = { loadEight<Target>(at.from), loadEight<Target>(at.from + 8),
                                      loadEight<Target>(at.from + 16), loadEight<Target>(at.from + 24) };
        if ((eights[0].others | eights[1].others | eights[2].others | eights[3].others) != 0) {
            break;
        }
        for (int i = 0; i < 4; ++i) {
            storeUnits(eights[i].units, at.to + 8 * i);
        }
        at = { at.from + kLongRun, at.to + kLongRun };
    }
}

template <typename Source, typename Target> struct TakingRuns {
    // Of UTF-16 sixteen and one more, so that none of them can be the last one and end the conversion.
    static constexpr std::ptrdiff_t kUnits = sizeof(Source) == sizeof(UTF16) ? 17 : kToUTF8<Target> ? 12 : 8;
    // Of UTF-16 one more than eight, so that eight stores ahead cannot reach what a pair without room leaves free.
    static constexpr std::ptrdiff_t kRoom = kToUTF8<Target> ? kRoomOfEight : 9;

    [[gnu::always_inline]] static const Source* takeMany(Place<Source, Target>& at,
                                                         const Bounds<Source, Target>& bounds)
    {
        const Source* begin = at.from; // of a run
        while (bounds.have(at, kUnits, kRoom)) {
            const EightUnits eight = loadEight<Target>(at.from);
            if (eight.others == 0) {
                storeUnits(eight.units, at.to);
                at = { at.from + 8, at.to + 8 };
                if (at.from - begin >= kLongRun) {
                    takeSame(at, bounds);
                }
                continue;
            }
            begin = at.from;
            const std::ptrdiff_t count = __builtin_ctz(eight.others);
            if (count == 0) {
                takeSupplementary(at, bounds);
                if (at.from != begin) {
                    begin = at.from;
                    continue;
                }
            }
            const Source* until = at.from + count + 1;
            if constexpr (kToUTF8<Target>) {
                const unsigned int apart = bitsApart(at.from, bounds.strict);
                if (apart == 0) {
                    begin += 8;
                    at = { begin, putEight(eight.units, at.to) };
                    continue;
                }
                until = at.from + __builtin_ctz(apart) + 1;
            }
            // A lenient conversion goes on, so what is stored behind the run is sure to be stored over.
            if (!bounds.strict) {
                storeUnits(eight.units, at.to);
                at = { at.from + count, at.to + count };
            }
            return until;
        }
        return at.from;
    }
};

} // namespace KXPL

#endif
