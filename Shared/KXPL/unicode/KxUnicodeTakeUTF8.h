// Reading UTF-8 that is legal, with less ado than the test of a sequence makes, or many bytes at a time.
//
// These take what the Unicode Standard calls well-formed and leave the rest, together with everything that ends
// a conversion, to the loop that converts one character at a time.
#ifndef KXPL_KX_UNICODE_TAKE_UTF8_H
#define KXPL_KX_UNICODE_TAKE_UTF8_H

#include "KxUnicodeBlocks.h"
#include "KxUnicodeLanes.h"
#include "KxUnicodeScalar.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace KXPL {

// What the marker bits of a sequence of two and of three bytes add up to, modulo 10000.
constexpr UTF16 kMarksOfTwo = 0x3080;
constexpr UTF16 kMarksOfThree = 0x2080;

// The bytes of a character that begins there, and of what follows it.
inline UTF32 fourBytes(const UTF8* from)
{
    UTF32 bytes;
    std::memcpy(&bytes, from, sizeof bytes);
    return bytes;
}

// At most so many characters of any length, none of which can end the conversion: there are four bytes and two
// units for each of them. It takes what the Unicode Standard calls well-formed and leaves the rest to the
// legality test.
template <typename Target>
[[gnu::noinline]] Place<UTF8, Target> convertLegal(Place<UTF8, Target> at, const Bounds<UTF8, Target>& bounds,
                                                   std::size_t most)
{
    std::size_t characters =
        std::min(roomBetween(at.from, bounds.end) / 4, roomBetween<Target>(at.to, bounds.room) / 2);
    for (characters = std::min(characters, most); characters > 0; --characters) {
        const UTF32 bytes = fourBytes(at.from);
        if ((bytes & 0x00C0C0F0) == 0x008080E0) {
            const UTF32 value = (bytes & 0x0F) << 12 | (bytes >> 2 & 0xFC0) | (bytes >> 16 & 0x3F);
            if (value < 0x800 || isSurrogate(value)) {
                break;
            }
            *at.to++ = static_cast<Target>(value);
            at.from += 3;
        } else if ((bytes & 0x80) == 0) {
            *at.to++ = static_cast<Target>(bytes & 0x7F);
            at.from += 1;
        } else if ((bytes & 0xC0E0) == 0x80C0) {
            const UTF32 value = (bytes & 0x1F) << 6 | (bytes >> 8 & 0x3F);
            if (value < 0x80) {
                break;
            }
            *at.to++ = static_cast<Target>(value);
            at.from += 2;
        } else if ((bytes & 0xC0C0C0F8) == 0x808080F0) {
            const UTF32 value =
                (bytes & 0x07) << 18 | (bytes << 4 & 0x3F000) | (bytes >> 10 & 0xFC0) | (bytes >> 24 & 0x3F);
            if (value < kFirstSupplementary || value > kLargestScalar) {
                break;
            }
            put(value, at.to, at.to + 2);
            at.from += 4;
        } else {
            break;
        }
    }
    return at;
}

// The values of characters of at most two bytes, given at their last bytes.
inline Lanes16 valuesBelow800(Lanes16 previous, Lanes16 bytes)
{
    const Lanes16 previousLead = (Lanes16)((previous & 0xC0) == 0xC0);
    return bytes + (((previous << 6) - kMarksOfTwo) & previousLead);
}

// What each two bytes of a block give: up to two units, which a wider target keeps apart.
struct StagedPairs {
    UTF16 firsts[kBlock / 2];
    UTF16 seconds[kBlock / 2];
    UTF16 lengths[kBlock / 2];

    // Those of the bytes that begin there.
    void stage(std::size_t place, Lanes16 first, Lanes16 second, Lanes16 length)
    {
        storeLanes(first, firsts + place / 2);
        storeLanes(second, seconds + place / 2);
        storeLanes(length, lengths + place / 2);
    }
};

// storeOver for the first ones of these.
template <typename Target>
[[gnu::noinline]] Target* storePairs(const StagedPairs& pairs, std::size_t count, Target* to)
{
    for (std::size_t i = 0; i < count; ++i) {
        to[0] = pairs.firsts[i];
        to[1] = pairs.seconds[i];
        to += pairs.lengths[i];
    }
    return to;
}

// The bytes in front of the first that is refused.
inline std::size_t acceptedBytes(const Lanes8 (&refused)[kBlock / kLanes<UTF8>])
{
    std::uint64_t words[kBlock / sizeof(std::uint64_t)];
    std::memcpy(words, refused, sizeof words);
    std::size_t bytes = 0;
    for (const std::uint64_t word : words) {
        if (word != 0) {
            return bytes + static_cast<std::size_t>(__builtin_ctzll(word)) / 8;
        }
        bytes += sizeof word;
    }
    return bytes;
}

// A block that has only legal sequences of at most two bytes, but for what ends in its last two bytes. A result
// is what two bytes give; a character is given by its last byte. Looks at the byte before the block.
template <typename Target> Place<UTF8, Target> convertBelow800(Place<UTF8, Target> at)
{
    StagedPairs pairs;
    Lanes8 refused {};
    for (std::size_t i = 0; i < kBlock; i += kLanes<UTF8>) {
        const Lanes8 previous = loadLanes(at.from + i - 1);
        const Lanes8 bytes = loadLanes(at.from + i);
        const Lanes8 areDue = (Lanes8)((previous & 0xC0) == 0xC0);
        const Lanes8 areTrailing = (Lanes8)((bytes & 0xC0) == 0x80);
        refused |= (areDue ^ areTrailing) | (Lanes8)((bytes & 0xFE) == 0xC0) | (Lanes8)((bytes & 0xE0) == 0xE0);
        const Lanes16 before = (Lanes16)previous & 0xFF;
        const Lanes16 first = (Lanes16)bytes & 0xFF;
        const Lanes16 second = (Lanes16)bytes >> 8;
        const Lanes16 firstLeads = (Lanes16)((first & 0xC0) == 0xC0);
        const Lanes16 secondLeads = (Lanes16)((second & 0xC0) == 0xC0);
        const Lanes16 value = valuesBelow800(first, second);
        pairs.stage(i, choose<Lanes16>(firstLeads, value, valuesBelow800(before, first)), value,
                    2 + firstLeads + secondLeads);
    }
    if (anySet(refused)) {
        return at;
    }
    constexpr std::size_t kPairs = kBlock / 2 - 1;
    const bool isCut = at.from[2 * kPairs - 1] >= 0xC0;
    return { at.from + 2 * kPairs - isCut, storePairs(pairs, kPairs, at.to) };
}

// The values of characters of at most three bytes, given at their last bytes.
struct EndingCharacters {
    Lanes16 values, ends;

    EndingCharacters(Lanes16 secondLast, Lanes16 last, Lanes16 bytes)
    {
        const Lanes16 ofTwo = (Lanes16)((last & 0xE0) == 0xC0);
        const Lanes16 ofThree = (Lanes16)((secondLast & 0xF0) == 0xE0);
        const Lanes16 shifted = last << 6;
        values = bytes + ((shifted - kMarksOfTwo) & ofTwo)
            + (((secondLast << 12) + shifted - kMarksOfThree) & ofThree);
        ends = ofTwo | ofThree | (Lanes16)(bytes < 0x80);
    }
};

// The bytes that are no part of a legal sequence of at most three bytes.
inline Lanes8 refusedBelow10000(Lanes8 secondLast, Lanes8 last, Lanes8 bytes)
{
    const Lanes8 areDue = (Lanes8)((last & 0xC0) == 0xC0) | (Lanes8)((secondLast & 0xE0) == 0xE0);
    const Lanes8 areTrailing = (Lanes8)((bytes & 0xC0) == 0x80);
    const Lanes8 top = bytes & 0xE0;
    const Lanes8 areOverlong = (Lanes8)((bytes & 0xFE) == 0xC0) | (Lanes8)((last == 0xE0) & (top == 0x80));
    const Lanes8 areSurrogates = (Lanes8)((last == 0xED) & (top == 0xA0));
    return (areDue ^ areTrailing) | areOverlong | areSurrogates | (Lanes8)((bytes & 0xF0) == 0xF0);
}

// The legal sequences of at most three bytes that a block begins with, but for what ends in the last six or
// seven bytes of them. Of these at most two belong to a sequence that may yet turn out ill-formed. The others
// are sure to be converted next, and give as many characters as the last result may leave behind its end: one
// where it is one character, two where it is none. Looks at two bytes before the block.
template <typename Target> [[gnu::noinline]] Place<UTF8, Target> convertBelow10000(Place<UTF8, Target> at)
{
    StagedPairs pairs;
    Lanes8 refused[kBlock / kLanes<UTF8>];
    for (std::size_t i = 0; i < kBlock; i += kLanes<UTF8>) {
        const Lanes8 before = loadLanes(at.from + i - 2);
        const Lanes8 bytes = loadLanes(at.from + i);
        refused[i / kLanes<UTF8>] = refusedBelow10000(before, loadLanes(at.from + i - 1), bytes);
        const Lanes16 secondLast = (Lanes16)before & 0xFF;
        const Lanes16 last = (Lanes16)before >> 8;
        const Lanes16 first = (Lanes16)bytes & 0xFF;
        const Lanes16 second = (Lanes16)bytes >> 8;
        const EndingCharacters evens(secondLast, last, first);
        const EndingCharacters odds(last, first, second);
        pairs.stage(i, choose<Lanes16>(evens.ends, evens.values, odds.values), odds.values,
                    -(evens.ends + odds.ends));
    }
    constexpr std::size_t kLeft = 3;
    const std::size_t accepted = acceptedBytes(refused) / 2;
    if (accepted <= kLeft) {
        return at;
    }
    const std::size_t taken = accepted - kLeft;
    const UTF8* const end = at.from + 2 * taken;
    const std::size_t cut = end[-1] >= 0xC0 ? 1 : end[-2] >= 0xE0 ? 2 : 0;
    return { end - cut, storePairs(pairs, taken, at.to) };
}

// Four characters of three bytes each, the first of which begins there; `refused` has zeros where they are
// legal.
struct FourOfThreeBytes {
    Lanes32 values, refused;

    explicit FourOfThreeBytes(const UTF8* from)
    {
        const Lanes32 bytes { fourBytes(from), fourBytes(from + 3), fourBytes(from + 6), fourBytes(from + 9) };
        values = (bytes & 0x0F) << 12 | (bytes >> 2 & 0xFC0) | (bytes >> 16 & 0x3F);
        const Lanes32 top = values & 0xF800;
        refused =
            ((bytes & 0x00C0C0F0) ^ 0x008080E0) | (Lanes32)(top == 0) | (Lanes32)(top == kFirstHighSurrogate);
    }
};

// Groups of characters of three bytes each, as long as there are any.
template <typename Target>
[[gnu::noinline]] Place<UTF8, Target> convertThrees(Place<UTF8, Target> at, const Bounds<UTF8, Target>& bounds)
{
    constexpr std::size_t kBytes = 3 * kGroup;
    // The last character is read with the byte behind it.
    while (has(at, bounds, kBytes + 1, kGroup)) {
        const FourOfThreeBytes first(at.from);
        const FourOfThreeBytes second(at.from + kBytes / 2);
        if (anySet(first.refused | second.refused)) {
            break;
        }
        UTF32 values[kGroup];
        storeLanes(first.values, values);
        storeLanes(second.values, values + kGroup / 2);
        at = { at.from + kBytes, copyUnits<kGroup>(values, at.to) };
    }
    return at;
}

} // namespace KXPL

#endif
