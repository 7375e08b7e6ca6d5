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
bool convertSingly(Place<UTF32, UTF16>& at, const UTF32* stretchEnd, const Bounds<UTF32, UTF16>& bounds,
                   ConversionResult& result)
{
    for (; at.from < stretchEnd; ++at.from) {
        UTF32 value = *at.from;
        if (bounds.strict && isSurrogate(value)) {
            result = sourceIllegal;
            return false;
        }
        if (bounds.strict && value > kLargestScalar) {
            result = sourceIllegal;
            continue;
        }
        if (isSurrogate(value) || value > kLargestScalar) {
            value = kReplacementCharacter;
        }
        if (!put(value, at.to, bounds.room)) {
            result = targetExhausted;
            return false;
        }
    }
    return true;
}

bool convertSingly(Place<UTF32, UTF8>& at, const UTF32* stretchEnd, const Bounds<UTF32, UTF8>& bounds,
                   ConversionResult& result)
{
    for (; at.from < stretchEnd; ++at.from) {
        UTF32 value = *at.from;
        if (bounds.strict && isSurrogate(value)) {
            result = sourceIllegal;
            return false;
        }
        const bool tooLarge = value > kLargestScalar;
        if (tooLarge) {
            value = kReplacementCharacter;
        }
        if (!put(value, at.to, bounds.room)) {
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

// The values that have another form in UTF-16, or none.
Lanes32 areNoSingleUnits(Lanes32 values)
{
    return areSurrogates(values) | values >> 16;
}

// Whether the test gives anything but zeros for so many values.
template <std::size_t count, typename Test> bool any(const UTF32* from, Test&& test)
{
    Lanes32 found {};
    for (std::size_t i = 0; i < count; i += kLanes<UTF32>) {
        found |= test(loadLanes(from + i));
    }
    return anySet(found);
}

Lanes32 replaced(Lanes32 areReplaced, Lanes32 values)
{
    return choose<Lanes32>(areReplaced, Lanes32 {} + kReplacementCharacter, values);
}

UTF16* putGroup(const UTF32* from, UTF16* to)
{
    if (!any<kGroup>(from, areNoSingleUnits)) {
        return copyUnits<kGroup>(from, to);
    }
    UTF32 results[kGroup];
    UTF32 lengths[kGroup];
    for (std::size_t i = 0; i < kGroup; i += kLanes<UTF32>) {
        const Lanes32 source = loadLanes(from + i);
        const Lanes32 values = replaced(areSurrogates(source) | areTooLarge(source), source);
        const Lanes32 single = (Lanes32)(values >> 16 == 0);
        const Lanes32 high = 0xD7C0 + (values >> kSurrogateShift);
        const Lanes32 low = kFirstLowSurrogate | (values & kSurrogateMask);
        storeLanes(choose<Lanes32>(single, values, high | low << 16), results + i);
        storeLanes(2 + single, lengths + i);
    }
    return storeOver<kGroup>(results, lengths, to);
}

// A block but for its last group, unless in strict mode it has ill-formed values.
Place<UTF32, UTF16> convertMixed(Place<UTF32, UTF16> at, bool strict)
{
    const auto areIllFormed = [](Lanes32 values) { return areSurrogates(values) | areTooLarge(values); };
    if (strict && any<kBlock>(at.from, areIllFormed)) {
        return at;
    }
    for (std::size_t i = 0; i < kTaken; i += kGroup) {
        at.to = putGroup(at.from + i, at.to);
    }
    return { at.from + kTaken, at.to };
}

Place<UTF32, UTF16> convertBlock(Place<UTF32, UTF16> at, const Bounds<UTF32, UTF16>& bounds, ConversionResult&)
{
    if (!has(at, bounds, kBlock, 2 * kBlock)) {
        return at;
    }
    return any<kBlock>(at.from, areNoSingleUnits) ? convertMixed(at, bounds.strict) : copyBlock(at);
}

// Writes kTaken characters.
UTF8* putOfAnyLength(const UTF32* from, UTF8* to)
{
    UTF16 lows[kTaken];
    UTF16 highs[kTaken];
    for (std::size_t i = 0; i < kTaken; ++i) {
        lows[i] = static_cast<UTF16>(from[i]);
        highs[i] = static_cast<UTF16>(from[i] >> 16);
    }
    StagedUTF8 staged;
    for (std::size_t i = 0; i < kTaken; i += kGroup) {
        staged.stage(i, BytesOfCharacters(loadLanes(lows + i), loadLanes(highs + i)));
    }
    return storeStaged(staged, to);
}

// A block but for its last group, unless in strict mode it has surrogates. Remembers values that are too large.
Place<UTF32, UTF8> convertMixed(Place<UTF32, UTF8> at, bool strict, ConversionResult& result)
{
    if (strict && any<kBlock>(at.from, areSurrogates)) {
        return at;
    }
    const UTF32* const next = at.from + kTaken;
    if (!any<kTaken>(at.from, areTooLarge)) {
        return { next, putOfAnyLength(at.from, at.to) };
    }
    result = sourceIllegal;
    UTF32 values[kTaken];
    for (std::size_t i = 0; i < kTaken; i += kLanes<UTF32>) {
        const Lanes32 source = loadLanes(at.from + i);
        storeLanes(replaced(areTooLarge(source), source), values + i);
    }
    return { next, putOfAnyLength(values, at.to) };
}

Place<UTF32, UTF8> convertBlock(Place<UTF32, UTF8> at, const Bounds<UTF32, UTF8>& bounds,
                                ConversionResult& result)
{
    if (!has(at, bounds, kBlock, 4 * kBlock)) {
        return at;
    }
    if (!anyHas(0xFFFFFF80, at.from)) {
        return copyBlock(at);
    }
    if (!anyHas(0xFFFFF800, at.from)) {
        UTF16 units[kBlock];
        copyUnits<kBlock>(at.from, units);
        return { at.from + kBlock - 2, putBlockBelow800(units, at.to) };
    }
    if (!any<kBlock>(at.from, areNoSingleUnits)) {
        UTF16 units[kTaken];
        copyUnits<kTaken>(at.from, units);
        return { at.from + kTaken, putSingleUnits(units, at.to) };
    }
    return convertMixed(at, bounds.strict, result);
}

template <typename Target>
ConversionResult convert(const UTF32** source, const UTF32* sourceEnd, Target** target, const Target* targetEnd,
                         ConversionFlags flags)
{
    if (*source >= sourceEnd) {
        return conversionOK;
    }
    const Bounds<UTF32, Target> bounds { *source, sourceEnd, targetEnd, flags == strictConversion };
    Place<UTF32, Target> at { *source, *target };
    ConversionResult result = conversionOK;
    convertByBlocks(
        at, sourceEnd, [&](Place<UTF32, Target> here) { return convertBlock(here, bounds, result); },
        [&](Place<UTF32, Target>& here, const UTF32* stretchEnd) {
            return convertSingly(here, stretchEnd, bounds, result);
        });
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
