// The converters that read UTF-32.
#include "KxUnicode.h"

#include "KxUnicodeBlocks.h"
#include "KxUnicodeLanes.h"
#include "KxUnicodePutUTF8.h"
#include "KxUnicodeScalar.h"

#include <cstddef>

namespace KXPL {
namespace {

// Converts the units up to stretchEnd one at a time. False when the conversion stops before; `result` then
// tells why. Otherwise `result` is changed only by a value that is remembered.
bool convertSingly(Place<UTF32, UTF16>& at, const UTF32* stretchEnd, const UTF16* targetEnd, bool strict,
                   ConversionResult& result)
{
    for (; at.from < stretchEnd; ++at.from) {
        UTF32 value = *at.from;
        if (strict && isSurrogate(value)) {
            result = sourceIllegal;
            return false;
        }
        if (strict && value > kLargestScalar) {
            result = sourceIllegal;
            continue;
        }
        if (isSurrogate(value) || value > kLargestScalar) {
            value = kReplacementCharacter;
        }
        if (!put(value, at.to, targetEnd)) {
            result = targetExhausted;
            return false;
        }
    }
    return true;
}

bool convertSingly(Place<UTF32, UTF8>& at, const UTF32* stretchEnd, const UTF8* targetEnd, bool strict,
                   ConversionResult& result)
{
    for (; at.from < stretchEnd; ++at.from) {
        UTF32 value = *at.from;
        if (strict && isSurrogate(value)) {
            result = sourceIllegal;
            return false;
        }
        const bool tooLarge = value > kLargestScalar;
        if (tooLarge) {
            value = kReplacementCharacter;
        }
        if (!put(value, at.to, targetEnd)) {
            result = targetExhausted;
            return false;
        }
        if (tooLarge) {
            result = sourceIllegal;
        }
    }
    return true;
}

Lanes32 areSurrogates(Lanes32 values)
{
    return (Lanes32)((values & 0xFFFFF800) == kFirstHighSurrogate);
}

Lanes32 areTooLarge(Lanes32 values)
{
    return (Lanes32)(values >> 16 > kLargestScalar >> 16);
}

// Whether a block has values that are not the same in UTF-16.
bool hasNoSingleUnit(const UTF32* from)
{
    Lanes32 found {};
    for (std::size_t i = 0; i < kBlock; i += kLanes<UTF32>) {
        const Lanes32 values = loadLanes(from + i);
        found |= areSurrogates(values) | values >> 16;
    }
    return anySet(found);
}

// Any block but for its last value, unless in strict mode it has ill-formed values.
Place<UTF32, UTF16> convertMixed(Place<UTF32, UTF16> at, bool strict)
{
    UTF32 results[kBlock];
    UTF32 lengths[kBlock];
    Lanes32 illFormed {};
    for (std::size_t i = 0; i < kBlock; i += kLanes<UTF32>) {
        const Lanes32 source = loadLanes(at.from + i);
        const Lanes32 replaced = areSurrogates(source) | areTooLarge(source);
        illFormed |= replaced;
        const Lanes32 values = choose<Lanes32>(replaced, Lanes32 {} + kReplacementCharacter, source);
        const Lanes32 single = (Lanes32)(values >> 16 == 0);
        const Lanes32 high = 0xD7C0 + (values >> kSurrogateShift);
        const Lanes32 low = kFirstLowSurrogate | (values & kSurrogateMask);
        storeLanes(choose<Lanes32>(single, values, high | low << 16), results + i);
        storeLanes(2 + single, lengths + i);
    }
    if (strict && anySet(illFormed)) {
        return at;
    }
    return { at.from + kBlock - 1, storeOver<kBlock - 1>(results, lengths, at.to) };
}

Place<UTF32, UTF16> convertBlock(Place<UTF32, UTF16> at, Ends<UTF32, UTF16> ends, bool strict)
{
    if (!has(at, ends, kBlock, 2 * kBlock)) {
        return at;
    }
    return hasNoSingleUnit(at.from) ? convertMixed(at, strict) : copyBlock(at);
}

// Any block but for its last three values, unless it has values that are remembered or, in strict mode,
// surrogates.
Place<UTF32, UTF8> convertMixed(Place<UTF32, UTF8> at, bool strict)
{
    UTF32 results[kBlock];
    UTF32 lengths[kBlock];
    Lanes32 tooLarge {};
    Lanes32 surrogates {};
    for (std::size_t i = 0; i < kBlock; i += kLanes<UTF32>) {
        const Lanes32 values = loadLanes(at.from + i);
        tooLarge |= areTooLarge(values);
        surrogates |= areSurrogates(values);
        const Lanes32 under80 = (Lanes32)(values >> 7 == 0);
        const Lanes32 under800 = (Lanes32)(values >> 11 == 0);
        const Lanes32 under10000 = (Lanes32)(values >> 16 == 0);
        const Lanes32 last = 0x80 | (values & 0x3F);
        const Lanes32 secondLast = 0x80 | (values >> 6 & 0x3F);
        const Lanes32 thirdLast = 0x80 | (values >> 12 & 0x3F);
        const Lanes32 two = 0xC0 | values >> 6 | last << 8;
        const Lanes32 three = 0xE0 | values >> 12 | secondLast << 8 | last << 16;
        const Lanes32 four = 0xF0 | values >> 18 | thirdLast << 8 | secondLast << 16 | last << 24;
        const Lanes32 upToTwo = choose<Lanes32>(under80, values, two);
        const Lanes32 aboveTwo = choose<Lanes32>(under10000, three, four);
        storeLanes(choose<Lanes32>(under800, upToTwo, aboveTwo), results + i);
        storeLanes(4 + under80 + under800 + under10000, lengths + i);
    }
    if (anySet(tooLarge) || (strict && anySet(surrogates))) {
        return at;
    }
    return { at.from + kBlock - 3, storeOver<kBlock - 3>(results, lengths, at.to) };
}

Place<UTF32, UTF8> convertBlock(Place<UTF32, UTF8> at, Ends<UTF32, UTF8> ends, bool strict)
{
    if (!has(at, ends, kBlock, 4 * kBlock)) {
        return at;
    }
    if (!anyHas(0xFFFFFF80, at.from)) {
        return copyBlock(at);
    }
    if (hasNoSingleUnit(at.from)) {
        return convertMixed(at, strict);
    }
    UTF16 units[kBlock];
    copyBlock<UTF32, UTF16>({ at.from, units });
    if (!anyHas(0xF800, units)) {
        return { at.from + kBlock - 2, putBlockBelow800(units, at.to) };
    }
    return { at.from + kBlock - 4, putBlockOfSingleUnits(units, at.to) };
}

template <typename Target>
Place<UTF32, Target> convertBlocks(Place<UTF32, Target> at, Ends<UTF32, Target> ends, bool strict)
{
    for (;;) {
        const Place<UTF32, Target> next = convertBlock(at, ends, strict);
        if (next.from == at.from) {
            return at;
        }
        at = next;
    }
}

template <typename Target>
ConversionResult convert(const UTF32** source, const UTF32* sourceEnd, Target** target, const Target* targetEnd,
                         ConversionFlags flags)
{
    const bool strict = flags == strictConversion;
    Place<UTF32, Target> at { *source, *target };
    ConversionResult result = conversionOK;
    bool goesOn = true;
    while (goesOn && at.from < sourceEnd) {
        at = convertBlocks<Target>(at, { sourceEnd, targetEnd }, strict);
        goesOn = convertSingly(at, endOfStretch(at.from, sourceEnd), targetEnd, strict, result);
    }
    *source = at.from;
    *target = at.to;
    return result;
}

} // namespace

ConversionResult ConvertUTF32toUTF16(const UTF32** source, const UTF32* sourceEnd, UTF16** target,
                                     UTF16* targetEnd, ConversionFlags flags)
{
    return convert<UTF16>(source, sourceEnd, target, targetEnd, flags);
}

ConversionResult ConvertUTF32toUTF8(const UTF32** source, const UTF32* sourceEnd, UTF8** target,
                                    UTF8* targetEnd, ConversionFlags flags)
{
    return convert<UTF8>(source, sourceEnd, target, targetEnd, flags);
}

} // namespace KXPL
