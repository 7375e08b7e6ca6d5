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

bool put(UTF32 value, UTF32*& target, const UTF32* targetEnd)
{
    if (roomBetween<UTF32>(target, targetEnd) == 0) {
        return false;
    }
    *target++ = value;
    return true;
}

bool put(UTF32 value, UTF8*& target, const UTF8* targetEnd)
{
    return putUTF8(value, target, targetEnd);
}

// The characters that begin before stretchEnd, one at a time.
template <typename Target>
ConversionResult convertSingly(const UTF16*& from, const UTF16* stretchEnd, const UTF16* sourceEnd, Target*& to,
                               const Target* targetEnd, bool strict)
{
    while (from < stretchEnd) {
        const UTF16* next = from;
        UTF32 value = 0;
        const ConversionResult result = takeUTF16(next, sourceEnd, strict, value);
        if (result != conversionOK) {
            return result;
        }
        if (!put(value, to, targetEnd)) {
            return targetExhausted;
        }
        from = next;
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

bool hasSurrogate(const UTF16* from)
{
    Lanes16 found {};
    for (std::size_t i = 0; i < kBlock; i += 8) {
        found |= (Lanes16)((loadLanes<Lanes16>(from + i) & 0xF800) == 0xD800);
    }
    return anySet(found);
}

// A block in which surrogates stand in pairs only, the unit after it included. A character is the result of its
// last unit.
bool convertPairs(const UTF16*& from, UTF32*& to)
{
    UTF16 lows[kBlock + 1];
    UTF16 highs[kBlock + 1];
    UTF16 ends[kBlock];
    Lanes16 unpaired {};
    lows[0] = from[0];
    highs[0] = 0;
    for (std::size_t i = 0; i < kBlock; i += 8) {
        const Lanes16 units = loadLanes<Lanes16>(from + i);
        const Lanes16 next = loadLanes<Lanes16>(from + i + 1);
        const Lanes16 low = isLow(next);
        unpaired |= isHigh(units) ^ low;
        const Lanes16 top = units - 0xD7C0;
        storeLanes(low & (top >> 6), highs + 1 + i);
        storeLanes(choose<Lanes16>(low, (top << 10) | (next & 0x3FF), next), lows + 1 + i);
        storeLanes(isHigh(units) + 1, ends + i);
    }
    if (anySet(unpaired) || isLowSurrogate(from[0])) {
        return false;
    }
    UTF32 values[kBlock];
    for (std::size_t i = 0; i < kBlock; ++i) {
        values[i] = static_cast<UTF32>(highs[i]) << 16 | lows[i];
    }
    to = storeOver<kBlock>(values, ends, to);
    from += kBlock - 1 + ends[kBlock - 1];
    return true;
}

void convertBlocks(const UTF16*& from, const UTF16* sourceEnd, UTF32*& to, const UTF32* targetEnd)
{
    while (hasUnits(from, sourceEnd, kBlock + 1) && hasUnits<UTF32>(to, targetEnd, kBlock)) {
        if (!hasSurrogate(from)) {
            copyBlock(from, to);
        } else if (!convertPairs(from, to)) {
            return;
        }
    }
}

// The encoding of two bytes that every unit below 800 would have.
bool convertBelow800(const UTF16*& from, UTF8*& to)
{
    if (anyHas(0xF800, from) || from[kBlock] >= 0x800) {
        return false;
    }
    UTF16 bytes[kBlock];
    UTF16 lengths[kBlock];
    for (std::size_t i = 0; i < kBlock; i += 8) {
        const Lanes16 units = loadLanes<Lanes16>(from + i);
        const Lanes16 longer = (Lanes16)(units >= 0x80);
        storeLanes(choose<Lanes16>(longer, 0x80C0 | units >> 6 | (units & 0x3F) << 8, units), bytes + i);
        storeLanes(1 - longer, lengths + i);
    }
    to = storeOver<kBlock>(bytes, lengths, to);
    from += kBlock;
    return true;
}

bool convertAny(const UTF16*& from, UTF8*& to)
{
    UTF16 firstTwo[kBlock];
    UTF16 thirds[kBlock];
    UTF16 lengths[kBlock];
    Lanes16 unpaired {};
    for (std::size_t i = 0; i < kBlock; i += 8) {
        const Lanes16 units = loadLanes<Lanes16>(from + i);
        const Lanes16 next = loadLanes<Lanes16>(from + i + 1);
        const Lanes16 high = isHigh(units);
        const Lanes16 low = isLow(units);
        unpaired |= high ^ isLow(next);
        const Lanes16 over7F = (Lanes16)(units >= 0x80);
        const Lanes16 over7FF = (Lanes16)(units >= 0x800);
        const Lanes16 top = units - 0xD7C0; // of a pair: all but its lowest 10 bits
        const Lanes16 tail = 0x80 | (units & 0x3F);
        const Lanes16 two = 0xC0 | units >> 6 | tail << 8;
        const Lanes16 three = 0x80E0 | units >> 12 | (units << 2 & 0x3F00);
        const Lanes16 four = 0x80F0 | top >> 8 | (top << 6 & 0x3F00);
        const Lanes16 thirdOfFour = 0x80 | (top << 4 & 0x30) | (next >> 6 & 0xF);
        const Lanes16 first = choose<Lanes16>(over7FF, three, choose<Lanes16>(over7F, two, units));
        storeLanes(choose<Lanes16>(high, four, choose<Lanes16>(low, tail, first)), firstTwo + i);
        storeLanes(choose<Lanes16>(high, thirdOfFour, tail), thirds + i);
        storeLanes(1 - over7F - over7FF + low + low, lengths + i);
    }
    if (anySet(unpaired) || isLowSurrogate(from[0])) {
        return false;
    }
    UTF32 bytes[kBlock];
    for (std::size_t i = 0; i < kBlock; ++i) {
        bytes[i] = static_cast<UTF32>(thirds[i]) << 16 | firstTwo[i];
    }
    const std::size_t count = kBlock - 3;
    const bool endsHigh = isHighSurrogate(from[count - 1]);
    UTF8* out = storeOver<count>(bytes, lengths, to);
    to = out - (endsHigh ? 3 : 0);
    from += count - endsHigh;
    return true;
}

void convertBlocks(const UTF16*& from, const UTF16* sourceEnd, UTF8*& to, const UTF8* targetEnd)
{
    while (hasUnits(from, sourceEnd, kBlock + 1) && hasUnits<UTF8>(to, targetEnd, 3 * kBlock + 4)) {
        if (!anyHas(0xFF80, from)) {
            copyBlock(from, to);
        } else if (!convertBelow800(from, to) && !convertAny(from, to)) {
            return;
        }
    }
}

template <typename Target>
ConversionResult convert(const UTF16** source, const UTF16* sourceEnd, Target** target, const Target* targetEnd,
                         ConversionFlags flags)
{
    ConversionResult result = conversionOK;
    const UTF16* from = *source;
    Target* to = *target;
    while (result == conversionOK && from < sourceEnd) {
        convertBlocks(from, sourceEnd, to, targetEnd);
        result =
            convertSingly(from, endOfStretch(from, sourceEnd), sourceEnd, to, targetEnd, flags == strictConversion);
    }
    *source = from;
    *target = to;
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
