// The converters that read UTF-32.
#include "KxUnicode.h"

#include "KxUnicodeBlocks.h"
#include "KxUnicodePutUTF8.h"
#include "KxUnicodeScalar.h"

namespace KXPL {
namespace {

// Converts the units up to stretchEnd one at a time. False when the conversion ends before; `result` then tells
// why, and is otherwise changed only by values that are remembered.
bool convertSingly(const UTF32*& from, const UTF32* stretchEnd, UTF16*& to, const UTF16* targetEnd, bool strict,
                   ConversionResult& result)
{
    for (; from < stretchEnd; ++from) {
        UTF32 value = *from;
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
        if (!putUTF16(value, to, targetEnd)) {
            result = targetExhausted;
            return false;
        }
    }
    return true;
}

bool convertSingly(const UTF32*& from, const UTF32* stretchEnd, UTF8*& to, const UTF8* targetEnd, bool strict,
                   ConversionResult& result)
{
    for (; from < stretchEnd; ++from) {
        UTF32 value = *from;
        if (strict && isSurrogate(value)) {
            result = sourceIllegal;
            return false;
        }
        const bool tooLarge = value > kLargestScalar;
        if (tooLarge) {
            value = kReplacementCharacter;
        }
        if (!putUTF8(value, to, targetEnd)) {
            result = targetExhausted;
            return false;
        }
        if (tooLarge) {
            result = sourceIllegal;
        }
    }
    return true;
}

Lanes32 isSurrogate(Lanes32 values)
{
    return (Lanes32)((values & 0xFFFFF800) == 0xD800);
}

Lanes32 isTooLarge(Lanes32 values)
{
    return (Lanes32)((values >> 16) > 0x10);
}

// Whether any value of a block takes other than one unit, or must not be written.
bool hasNoSingleUnit(const UTF32* from)
{
    Lanes32 found {};
    for (std::size_t i = 0; i < kBlock; i += 4) {
        const Lanes32 values = loadLanes<Lanes32>(from + i);
        found |= isSurrogate(values) | values >> 16;
    }
    return anySet(found);
}

bool convertAny(const UTF32*& from, UTF16*& to, bool strict)
{
    UTF32 units[kBlock];
    UTF32 lengths[kBlock];
    Lanes32 replaced {};
    for (std::size_t i = 0; i < kBlock; i += 4) {
        const Lanes32 source = loadLanes<Lanes32>(from + i);
        const Lanes32 illFormed = isSurrogate(source) | isTooLarge(source);
        replaced |= illFormed;
        const Lanes32 values = choose<Lanes32>(illFormed, Lanes32 {} + kReplacementCharacter, source);
        const Lanes32 pairs = (0xD7C0 + (values >> 10)) | (0xDC00 | (values & 0x3FF)) << 16;
        const Lanes32 isPair = (Lanes32)(values >> 16 != 0);
        storeLanes(choose<Lanes32>(isPair, pairs, values), units + i);
        storeLanes(1 - isPair, lengths + i);
    }
    if (strict && anySet(replaced)) {
        return false;
    }
    to = storeOver<kBlock - 1>(units, lengths, to);
    from += kBlock - 1;
    return true;
}

void convertBlocks(const UTF32*& from, const UTF32* sourceEnd, UTF16*& to, const UTF16* targetEnd, bool strict)
{
    while (hasUnits(from, sourceEnd, kBlock) && hasUnits<UTF16>(to, targetEnd, 2 * kBlock)) {
        if (!hasNoSingleUnit(from)) {
            copyBlock(from, to);
        } else if (!convertAny(from, to, strict)) {
            return;
        }
    }
}

bool convertAny(const UTF32*& from, UTF8*& to, bool strict)
{
    UTF32 bytes[kBlock];
    UTF32 lengths[kBlock];
    Lanes32 illegal {};
    for (std::size_t i = 0; i < kBlock; i += 4) {
        const Lanes32 values = loadLanes<Lanes32>(from + i);
        illegal |= isTooLarge(values);
        if (strict)
            illegal |= isSurrogate(values);
        const Lanes32 over7F = (Lanes32)(values >= 0x80);
        const Lanes32 over7FF = (Lanes32)(values >= 0x800);
        const Lanes32 overFFFF = (Lanes32)(values >= 0x10000);
        const Lanes32 tail = 0x80 | (values & 0x3F);
        const Lanes32 tail2 = 0x80 | (values >> 6 & 0x3F);
        const Lanes32 tail3 = 0x80 | (values >> 12 & 0x3F);
        const Lanes32 two = 0xC0 | values >> 6 | tail << 8;
        const Lanes32 three = 0xE0 | values >> 12 | tail2 << 8 | tail << 16;
        const Lanes32 four = 0xF0 | values >> 18 | tail3 << 8 | tail2 << 16 | tail << 24;
        storeLanes(choose<Lanes32>(overFFFF, four, choose<Lanes32>(over7FF, three, choose<Lanes32>(over7F, two, values))), bytes + i);
        storeLanes(1 - over7F - over7FF - overFFFF, lengths + i);
    }
    if (anySet(illegal)) {
        return false;
    }
    to = storeOver<kBlock - 3>(bytes, lengths, to);
    from += kBlock - 3;
    return true;
}

void convertBlocks(const UTF32*& from, const UTF32* sourceEnd, UTF8*& to, const UTF8* targetEnd, bool strict)
{
    while (hasUnits(from, sourceEnd, kBlock) && hasUnits<UTF8>(to, targetEnd, 4 * kBlock)) {
        if (!anyHas(0xFFFFFF80, from)) {
            copyBlock(from, to);
        } else if (!convertAny(from, to, strict)) {
            return;
        }
    }
}

template <typename Target>
ConversionResult convert(const UTF32** source, const UTF32* sourceEnd, Target** target, const Target* targetEnd,
                         bool strict)
{
    ConversionResult result = conversionOK;
    const UTF32* from = *source;
    Target* to = *target;
    bool goesOn = true;
    while (goesOn && from < sourceEnd) {
        convertBlocks(from, sourceEnd, to, targetEnd, strict);
        goesOn = convertSingly(from, endOfStretch(from, sourceEnd), to, targetEnd, strict, result);
    }
    *source = from;
    *target = to;
    return result;
}

} // namespace

ConversionResult ConvertUTF32toUTF16(const UTF32** source, const UTF32* sourceEnd, UTF16** target,
                                     UTF16* targetEnd, ConversionFlags flags)
{
    return convert<UTF16>(source, sourceEnd, target, targetEnd, flags == strictConversion);
}

ConversionResult ConvertUTF32toUTF8(const UTF32** source, const UTF32* sourceEnd, UTF8** target,
                                    UTF8* targetEnd, ConversionFlags flags)
{
    return convert<UTF8>(source, sourceEnd, target, targetEnd, flags == strictConversion);
}

} // namespace KXPL
