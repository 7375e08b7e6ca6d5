// The converters that read UTF-16.
#include "KxUnicode.h"

#include "KxUnicodeBlocks.h"
#include "KxUnicodeLanes.h"
#include "KxUnicodePutUTF8.h"
#include "KxUnicodeScalar.h"

#include <cstddef>

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
ConversionResult convertSingly(Place<UTF16, Target>& at, const UTF16* stretchEnd, Ends<UTF16, Target> ends,
                               bool strict)
{
    while (at.from < stretchEnd) {
        const UTF16* next = at.from;
        UTF32 value = 0;
        const ConversionResult result = takeUTF16(next, ends.source, strict, value);
        if (result != conversionOK) {
            return result;
        }
        if (!put(value, at.to, ends.target)) {
            return targetExhausted;
        }
        at.from = next;
    }
    return conversionOK;
}

Lanes16 isHigh(Lanes16 units)
{
    return (Lanes16)((units & 0xFC00) == 0xD800);
}

Lanes16 isLow(Lanes16 units)
{
    return (Lanes16)((units & 0xFC00) == 0xDC00);
}

// Some units of a block, with those before and after each of them.
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
    for (std::size_t i = 0; i < kBlock; i += kLanes<UTF16>) {
        found |= (Lanes16)((loadLanes(from + i) & 0xF800) == 0xD800);
    }
    return anySet(found);
}

// Any block, unless in strict mode a surrogate in it is unpaired. A pair is the result of its last unit; the
// first one has the length 0.
Place<UTF16, UTF32> convertMixed(Place<UTF16, UTF32> at, bool strict)
{
    UTF32 evens[kBlock / 2];
    UTF32 odds[kBlock / 2];
    UTF16 lengths[kBlock];
    Lanes16 unpaired {};
    for (std::size_t i = 0; i < kBlock; i += kLanes<UTF16>) {
        const Neighbours here(at.from + i);
        unpaired |= here.areUnpaired();
        const Lanes16 paired = here.areLastOfPair();
        const Lanes16 top = here.topOfPair();
        const Lanes16 lows =
            choose<Lanes16>(paired, top << kSurrogateShift | (here.units & kSurrogateMask), here.units);
        const Lanes16 highs = paired & top >> (16 - kSurrogateShift);
        storeLanes(joinEven(lows, highs), evens + i / 2);
        storeLanes(joinOdd(lows, highs), odds + i / 2);
        storeLanes(1 + here.areFirstOfPair(), lengths + i);
    }
    if (strict && anySet(unpaired)) {
        return at;
    }
    at.to = storeOver<kBlock>(evens, odds, lengths, at.to);
    at.from += kBlock - 1 + lengths[kBlock - 1];
    return at;
}

Place<UTF16, UTF32> convertBlock(Place<UTF16, UTF32> at, Ends<UTF16, UTF32> ends, bool strict)
{
    if (!has(at, ends, kBlock + 1, kBlock)) {
        return at;
    }
    return hasSurrogate(at.from) ? convertMixed(at, strict) : copyBlock(at);
}

// Any block but for its last four units, unless in strict mode a surrogate in it is unpaired.
Place<UTF16, UTF8> convertMixed(Place<UTF16, UTF8> at, bool strict)
{
    UTF32 evens[kBlock / 2];
    UTF32 odds[kBlock / 2];
    UTF16 lengths[kBlock];
    Lanes16 unpaired {};
    for (std::size_t i = 0; i < kBlock; i += kLanes<UTF16>) {
        const Neighbours here(at.from + i);
        unpaired |= here.areUnpaired();
        const BytesOfSingleUnits bytes(here.units);
        const Lanes16 paired = here.areLastOfPair();
        const Lanes16 top = here.topOfPair();
        const Lanes16 four = 0x80F0 | top >> 8 | (top << 6 & 0x3F00);
        const Lanes16 restOfFour = 0x80 | (top << 4 & 0x30) | (here.units >> 6 & 0xF) | bytes.third << 8;
        const Lanes16 lows = choose<Lanes16>(paired, four, bytes.firstTwo);
        const Lanes16 highs = choose<Lanes16>(paired, restOfFour, bytes.third);
        storeLanes(joinEven(lows, highs), evens + i / 2);
        storeLanes(joinOdd(lows, highs), odds + i / 2);
        storeLanes((bytes.lengths - paired) & ~here.areFirstOfPair(), lengths + i);
    }
    if (strict && anySet(unpaired)) {
        return at;
    }
    constexpr std::size_t count = kBlock - 4;
    at.to = storeOver<count>(evens, odds, lengths, at.to);
    at.from += count - (lengths[count - 1] == 0);
    return at;
}

Place<UTF16, UTF8> convertBlock(Place<UTF16, UTF8> at, Ends<UTF16, UTF8> ends, bool strict)
{
    // A pair whose last unit is the one behind the block takes a byte more than two units without pairs.
    if (!has(at, ends, kBlock + 1, 3 * kBlock + 1)) {
        return at;
    }
    if (!anyHas(0xFF80, at.from)) {
        return copyBlock(at);
    }
    if (!anyHas(0xF800, at.from)) {
        return { at.from + kBlock - 2, putBlockBelow800(at.from, at.to) };
    }
    if (!hasSurrogate(at.from)) {
        return { at.from + kBlock - 4, putBlockOfSingleUnits(at.from, at.to) };
    }
    return convertMixed(at, strict);
}

template <typename Target>
Place<UTF16, Target> convertBlocks(Place<UTF16, Target> at, Ends<UTF16, Target> ends, bool strict)
{
    for (;;) {
        const Place<UTF16, Target> next = convertBlock(at, ends, strict);
        if (next.from == at.from) {
            return at;
        }
        at = next;
    }
}

template <typename Target>
ConversionResult convert(const UTF16** source, const UTF16* sourceEnd, Target** target, const Target* targetEnd,
                         ConversionFlags flags)
{
    const bool strict = flags == strictConversion;
    const Ends<UTF16, Target> ends { sourceEnd, targetEnd };
    Place<UTF16, Target> at { *source, *target };
    if (at.from >= sourceEnd) {
        return conversionOK;
    }
    // Blocks look at the unit before them.
    ConversionResult result = convertSingly(at, at.from + 1, ends, strict);
    while (result == conversionOK && at.from < sourceEnd) {
        at = convertBlocks(at, ends, strict);
        result = convertSingly(at, endOfStretch(at.from, sourceEnd), ends, strict);
    }
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
