// Writing UTF-8, one character or a block at a time.
#ifndef KXPL_KX_UNICODE_PUT_UTF8_H
#define KXPL_KX_UNICODE_PUT_UTF8_H

#include "KxUnicodeBlocks.h"
#include "KxUnicodeLanes.h"
#include "KxUnicodeScalar.h"

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace KXPL {

// Indexed by the number of bytes of a sequence.
constexpr UTF8 firstByteMark[7] = { 0x00, 0x00, 0xC0, 0xE0, 0xF0, 0xF8, 0xFC };

inline std::size_t lengthInUTF8(UTF32 value)
{
    if (value < 0x80) {
        return 1;
    }
    if (value < 0x800) {
        return 2;
    }
    return value < kFirstSupplementary ? 3 : 4;
}

// Writes a value of at most kLargestScalar. False, with nothing written, without room.
inline bool put(UTF32 value, UTF8*& target, const UTF8* targetEnd)
{
    const std::size_t length = lengthInUTF8(value);
    if (roomBetween<UTF8>(target, targetEnd) < length) {
        return false;
    }
    for (std::size_t i = length - 1; i > 0; --i) {
        target[i] = static_cast<UTF8>((value & 0x3F) | 0x80);
        value >>= 6;
    }
    target[0] = static_cast<UTF8>(value | firstByteMark[length]);
    target += length;
    return true;
}

// Writes a block of units below 800 but for its last two; a result is what two units give. Needs room for two
// bytes a unit of the block.
inline UTF8* putBlockBelow800(const UTF16* from, UTF8* to)
{
    UTF32 results[kBlock / 2];
    UTF32 lengths[kBlock / 2];
    for (std::size_t i = 0; i < kBlock; i += kLanes<UTF16>) {
        const Lanes16 units = loadLanes(from + i);
        const Lanes16 under80 = (Lanes16)((units & 0xFF80) == 0);
        const Lanes16 twoBytes = 0x80C0 | units >> 6 | (units & 0x3F) << 8;
        const Lanes32 bytes = (Lanes32)choose<Lanes16>(under80, units, twoBytes);
        const Lanes32 first = bytes & 0xFFFF;
        const Lanes32 second = bytes & 0xFFFF0000;
        const Lanes32 firstUnder80 = (Lanes32)((first & 0xFF80) == 0);
        storeLanes(first | choose<Lanes32>(firstUnder80, second >> 8, second), results + i / 2);
        const Lanes32 length = (Lanes32)(2 + under80);
        storeLanes((length & 0xFFFF) + (length >> 16), lengths + i / 2);
    }
    return storeOver<kBlock / 2 - 1>(results, lengths, to);
}

inline Lanes16 areUnder800(Lanes16 units)
{
    return (Lanes16)((units & 0xF800) == 0);
}

// What characters give: four bytes each, of which the first ones count.
struct BytesOfCharacters {
    Lanes16 firstTwo, lastTwo, lengths;

    // Characters below 10000.
    explicit BytesOfCharacters(Lanes16 values)
    {
        const Lanes16 under80 = (Lanes16)((values & 0xFF80) == 0);
        const Lanes16 under800 = areUnder800(values);
        lastTwo = 0x80 | (values & 0x3F);
        const Lanes16 two = 0xC0 | values >> 6 | lastTwo << 8;
        const Lanes16 three = 0x80E0 | values >> 12 | (values << 2 & 0x3F00);
        firstTwo = choose<Lanes16>(under80, values, choose<Lanes16>(under800, two, three));
        lengths = 3 + under80 + under800;
    }

    // Any characters, given by their lower 16 bits and by the bits above.
    BytesOfCharacters(Lanes16 lows, Lanes16 highs)
        : BytesOfCharacters(lows)
    {
        const Lanes16 supplementary = (Lanes16)(highs != 0);
        const Lanes16 four = 0x80F0 | highs >> 2 | (lows >> 4 & 0xF00) | (highs << 12 & 0x3000);
        const Lanes16 restOfFour = 0x80 | (lows >> 6 & 0x3F) | lastTwo << 8;
        firstTwo = choose<Lanes16>(supplementary, four, firstTwo);
        lastTwo = choose<Lanes16>(supplementary, restOfFour, lastTwo);
        lengths = choose<Lanes16>(supplementary, Lanes16 {} + 4, lengths);
    }
};

// What a run of kTaken units gives in UTF-8, up to four bytes each.
struct StagedUTF8 {
    UTF32 evens[kTaken / 2]; // of the units at even places
    UTF32 odds[kTaken / 2];
    UTF16 lengths[kTaken];

    // A group that begins there.
    void stage(std::size_t place, const BytesOfCharacters& bytes)
    {
        storeLanes(joinEven(bytes.firstTwo, bytes.lastTwo), evens + place / 2);
        storeLanes(joinOdd(bytes.firstTwo, bytes.lastTwo), odds + place / 2);
        storeLanes(bytes.lengths, lengths + place);
    }
};

// Stores them over one another. Not inlined for the same reason as storeOver.
[[gnu::noinline]] inline UTF8* storeStaged(const StagedUTF8& staged, UTF8* to)
{
    for (std::size_t group = 0; group < kTaken; group += kGroup) {
        for (std::size_t i = group; i < group + kGroup; i += 2) {
            std::memcpy(to, &staged.evens[i / 2], sizeof staged.evens[0]);
            to += staged.lengths[i];
            std::memcpy(to, &staged.odds[i / 2], sizeof staged.odds[0]);
            to += staged.lengths[i + 1];
        }
    }
    return to;
}

// A group of units that give three bytes each. Two of them are stored at once, with two bytes behind them.
inline UTF8* putThrees(Lanes16 units, UTF8* to)
{
    constexpr std::uint64_t kSecond = 0xFFFFFF000000;
    const Lanes16 firstTwo = 0x80E0 | units >> 12 | (units << 2 & 0x3F00);
    const Lanes16 third = 0x80 | (units & 0x3F);
    const Lanes64 evens = (Lanes64)joinEven(firstTwo, third);
    const Lanes64 odds = (Lanes64)joinOdd(firstTwo, third);
    const Lanes64 firstSixes = (evens & 0xFFFFFFFF) | (odds << 24 & kSecond);
    const Lanes64 secondSixes = evens >> 32 | (odds >> 8 & kSecond);
    for (int i = 0; i < 2; ++i) {
        const std::uint64_t sixes[] = { firstSixes[i], secondSixes[i] };
        std::memcpy(to, &sixes[0], sizeof sixes[0]);
        std::memcpy(to + 6, &sixes[1], sizeof sixes[1]);
        to += 12;
    }
    return to;
}

// Writes kTaken units that are no surrogates. Needs room for three bytes a unit and two more.
inline UTF8* putSingleUnits(const UTF16* from, UTF8* to)
{
    Lanes16 under800 {};
    for (std::size_t i = 0; i < kTaken; i += kGroup) {
        under800 |= areUnder800(loadLanes(from + i));
    }
    if (!anySet(under800)) {
        for (std::size_t i = 0; i < kTaken; i += kGroup) {
            to = putThrees(loadLanes(from + i), to);
        }
        return to;
    }
    StagedUTF8 staged;
    for (std::size_t i = 0; i < kTaken; i += kGroup) {
        staged.stage(i, BytesOfCharacters(loadLanes(from + i)));
    }
    return storeStaged(staged, to);
}

} // namespace KXPL

#endif
