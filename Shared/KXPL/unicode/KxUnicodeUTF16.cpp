// The converters that read UTF-16.
#include "KxUnicode.h"

#include "KxUnicodeBlocks.h"
#include "KxUnicodeLanes.h"
#include "KxUnicodePutUTF8.h"
#include "KxUnicodeScalar.h"

#include <cstddef>
#include <cstdint>

namespace KXPL {
namespace {

// Takes one character off a UTF-16 source that is not empty. On any result but conversionOK the source stays
// where it is.
ConversionResult takeUTF16(const UTF16*& source, const UTF16* sourceEnd, bool strict, UTF32& value)
{
    value = *source;
    if (isHighSurrogate(value)) {
        if (sourceEnd - source < 2) {
            return sourceExhausted;
        }
        const UTF32 low = source[1];
        if (isLowSurrogate(low)) {
            value = ((value - kFirstHighSurrogate) << kSurrogateShift) + (low - kFirstLowSurrogate)
                + kFirstSupplementary;
            source += 2;
            return conversionOK;
        }
    }
    if (strict && isSurrogate(value)) {
        return sourceIllegal;
    }
    ++source;
    return conversionOK;
}

// Converts the characters that begin before stretchEnd, one at a time.
template <typename Target>
ConversionResult convertSingly(Place<UTF16, Target>& at, const UTF16* stretchEnd,
                               const Bounds<UTF16, Target>& bounds)
{
    while (at.from < stretchEnd) {
        const UTF16* next = at.from;
        UTF32 value = 0;
        const ConversionResult result = takeUTF16(next, bounds.end, bounds.strict, value);
        if (result != conversionOK) {
            return result;
        }
        if (!put(value, at.to, bounds.room)) {
            return targetExhausted;
        }
        at.from = next;
    }
    return conversionOK;
}

Lanes16 isSurrogate(Lanes16 units)
{
    return (Lanes16)((units & 0xF800) == 0xD800);
}

Lanes16 isHigh(Lanes16 units)
{
    return (Lanes16)((units & 0xFC00) == 0xD800);
}

Lanes16 isLow(Lanes16 units)
{
    return (Lanes16)((units & 0xFC00) == 0xDC00);
}

// A group of units, with those before and after each of them. A pair is the result of its last unit.
struct Neighbours {
    Lanes16 previous, units, next;

    explicit Neighbours(const UTF16* from)
        : previous(loadLanes(from - 1))
        , units(loadLanes(from))
        , next(loadLanes(from + 1))
    {
    }

    Lanes16 areFirstOfPair() const { return isHigh(units) & isLow(next); }
    Lanes16 areLastOfPair() const { return isHigh(previous) & isLow(units); }
    Lanes16 areUnpaired() const { return (isHigh(units) ^ isLow(next)) | (isHigh(previous) ^ isLow(units)); }
    // Of a pair, at its last unit: all of its value but the lowest ten bits, which the last unit has.
    Lanes16 topOfPair() const { return previous - 0xD7C0; }
};

bool hasSurrogate(const UTF16* from)
{
    Lanes16 found {};
    for (std::size_t i = 0; i < kBlock; i += kGroup) {
        found |= isSurrogate(loadLanes(from + i));
    }
    return anySet(found);
}

bool hasUnpaired(const UTF16* from)
{
    Lanes16 found {};
    for (std::size_t i = 0; i < kBlock; i += kGroup) {
        found |= Neighbours(from + i).areUnpaired();
    }
    return anySet(found);
}

// Stores a group's values, each pair's over what its first unit gave. `steps` is -1 at the last unit of a pair,
// elsewhere 0.
[[gnu::noinline]] UTF32* storeValues(const UTF32* evens, const UTF32* odds, const std::int16_t* steps,
                                     UTF32* to)
{
    for (std::size_t i = 0; i < kGroup; i += 2) {
        to += steps[i];
        to[i] = evens[i / 2];
        to += steps[i + 1];
        to[i + 1] = odds[i / 2];
    }
    return to + kGroup;
}

UTF32* putGroup(const UTF16* from, UTF32* to)
{
    if (!anySet(isSurrogate(loadLanes(from)))) {
        return copyUnits<kGroup>(from, to);
    }
    const Neighbours here(from);
    const Lanes16 paired = here.areLastOfPair();
    const Lanes16 top = here.topOfPair();
    const Lanes16 lows =
        choose<Lanes16>(paired, top << kSurrogateShift | (here.units & kSurrogateMask), here.units);
    const Lanes16 highs = paired & top >> (16 - kSurrogateShift);
    UTF32 evens[kGroup / 2];
    UTF32 odds[kGroup / 2];
    std::int16_t steps[kGroup];
    storeLanes(joinEven(lows, highs), evens);
    storeLanes(joinOdd(lows, highs), odds);
    storeLanes(paired, steps);
    return storeValues(evens, odds, steps, to);
}

// Writes kTaken units, of which some are surrogates.
UTF8* putWithPairs(const UTF16* from, UTF8* to)
{
    StagedUTF8 staged;
    for (std::size_t i = 0; i < kTaken; i += kGroup) {
        const Neighbours here(from + i);
        const Lanes16 paired = here.areLastOfPair();
        const Lanes16 top = here.topOfPair();
        BytesOfCharacters bytes(here.units);
        const Lanes16 four = 0x80F0 | top >> 8 | (top << 6 & 0x3F00);
        const Lanes16 restOfFour = 0x80 | (top << 4 & 0x30) | (here.units >> 6 & 0xF) | bytes.lastTwo << 8;
        bytes.firstTwo = choose<Lanes16>(paired, four, bytes.firstTwo);
        bytes.lastTwo = choose<Lanes16>(paired, restOfFour, bytes.lastTwo);
        bytes.lengths = (bytes.lengths - paired) & ~here.areFirstOfPair();
        staged.stage(i, bytes);
    }
    return storeStaged(staged, to);
}

// A block, unless in strict mode a surrogate in it is unpaired. Looks at the unit before it.
Place<UTF16, UTF32> convertMixed(Place<UTF16, UTF32> at, bool strict)
{
    if (strict && hasUnpaired(at.from)) {
        return at;
    }
    for (std::size_t i = 0; i < kBlock; i += kGroup) {
        at.to = putGroup(at.from + i, at.to);
    }
    // A pair that the block's end cuts has left the value of its first unit.
    const std::size_t cut = isHighSurrogate(at.from[kBlock - 1]) ? 1 : 0;
    return { at.from + kBlock - cut, at.to - cut };
}

// The same but for the block's last group.
Place<UTF16, UTF8> convertMixed(Place<UTF16, UTF8> at, bool strict)
{
    if (strict && hasUnpaired(at.from)) {
        return at;
    }
    UTF8* const to = putWithPairs(at.from, at.to);
    const bool isCut = isHighSurrogate(at.from[kTaken - 1]) && isLowSurrogate(at.from[kTaken]);
    return { at.from + kTaken - isCut, to };
}

Place<UTF16, UTF32> convertBlock(Place<UTF16, UTF32> at, const Bounds<UTF16, UTF32>& bounds)
{
    if (!has(at, bounds, kBlock + 1, kBlock)) {
        return at;
    }
    if (!hasSurrogate(at.from)) {
        return copyBlock(at);
    }
    return at.from != bounds.begin ? convertMixed(at, bounds.strict) : at;
}

Place<UTF16, UTF8> convertBlock(Place<UTF16, UTF8> at, const Bounds<UTF16, UTF8>& bounds)
{
    // A pair whose last unit is the one behind the block takes a byte more than two units without pairs.
    if (!has(at, bounds, kBlock + 1, 3 * kBlock + 1)) {
        return at;
    }
    if (!anyHas(0xFF80, at.from)) {
        return copyBlock(at);
    }
    if (!anyHas(0xF800, at.from)) {
        return { at.from + kBlock - 2, putBlockBelow800(at.from, at.to) };
    }
    if (!hasSurrogate(at.from)) {
        return { at.from + kTaken, putSingleUnits(at.from, at.to) };
    }
    return at.from != bounds.begin ? convertMixed(at, bounds.strict) : at;
}

template <typename Target>
ConversionResult convert(const UTF16** source, const UTF16* sourceEnd, Target** target, const Target* targetEnd,
                         ConversionFlags flags)
{
    if (*source >= sourceEnd) {
        return conversionOK;
    }
    const Bounds<UTF16, Target> bounds { *source, sourceEnd, targetEnd, flags == strictConversion };
    Place<UTF16, Target> at { *source, *target };
    ConversionResult result = conversionOK;
    convertByBlocks(
        at, sourceEnd, [&](Place<UTF16, Target> here) { return convertBlock(here, bounds); },
        [&](Place<UTF16, Target>& here, const UTF16* stretchEnd) {
            result = convertSingly(here, stretchEnd, bounds);
            return result == conversionOK;
        });
    *source = at.from;
    *target = at.to;
    return result;
}

} // namespace

ConversionResult ConvertUTF16toUTF32(const UTF16** source, const UTF16* sourceEnd, UTF32** target,
                                     UTF32* targetEnd, ConversionFlags flags)
{
    return convert<UTF32>(source, sourceEnd, target, targetEnd, flags);
}

ConversionResult ConvertUTF16toUTF8(const UTF16** source, const UTF16* sourceEnd, UTF8** target,
                                    UTF8* targetEnd, ConversionFlags flags)
{
    return convert<UTF8>(source, sourceEnd, target, targetEnd, flags);
}

} // namespace KXPL
