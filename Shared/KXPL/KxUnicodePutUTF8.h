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

// What every unit gives that is no part of a pair: three bytes, of which the first ones count.
struct BytesOfSingleUnits {
    Lanes16 firstTwo, third, under800, lengths;

    explicit BytesOfSingleUnits(Lanes16 units)
    {
        const Lanes16 under80 = (Lanes16)((units & 0xFF80) == 0);
        under800 = (Lanes16)((units & 0xF800) == 0);
        third = 0x80 | (units & 0x3F);
        const Lanes16 two = 0xC0 | units >> 6 | third << 8;
        const Lanes16 three = 0x80E0 | units >> 12 | (units << 2 & 0x3F00);
        firstTwo = choose<Lanes16>(under80, units, choose<Lanes16>(under800, two, three));
        lengths = 3 + under80 + under800;
    }
};

// storeOver for a group of results that have three bytes each. Two of them are stored at once.
[[gnu::noinline]] inline UTF8* storeThrees(const UTF32* evens, const UTF32* odds, UTF8* to)
{
    for (std::size_t i = 0; i < kGroup / 2; ++i) {
        const std::uint64_t six = evens[i] | static_cast<std::uint64_t>(odds[i]) << 24;
        std::memcpy(to + 6 * i, &six, sizeof six);
    }
    return to + 3 * kGroup;
}

// Writes a group of units that are no surrogates. Needs room for three bytes a unit and two more.
inline UTF8* putSingleUnits(Lanes16 units, UTF8* to)
{
    const BytesOfSingleUnits bytes(units);
    UTF32 evens[kGroup / 2];
    UTF32 odds[kGroup / 2];
    storeLanes(joinEven(bytes.firstTwo, bytes.third), evens);
    storeLanes(joinOdd(bytes.firstTwo, bytes.third), odds);
    if (!anySet(bytes.under800)) {
        return storeThrees(evens, odds, to);
    }
    UTF16 lengths[kGroup];
    storeLanes(bytes.lengths, lengths);
    return storeOver(evens, odds, lengths, to);
}

} // namespace KXPL

#endif
