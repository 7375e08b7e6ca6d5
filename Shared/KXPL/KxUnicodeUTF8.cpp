// The converters that read UTF-8, and the test of a sequence.
#include "KxUnicode.h"

#include "KxUnicodeBlocks.h"
#include "KxUnicodeLanes.h"
#include "KxUnicodeScalar.h"

#include <cstddef>

namespace KXPL {
namespace {

// Indexed by a lead byte: how many bytes follow it. The forms of five and six bytes are known so that they
// can be refused as a whole.
constexpr UTF8 trailingBytesForUTF8[256] = {
    0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, //
    0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, //
    0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, //
    0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, //
    0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, //
    0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, //
    1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, //
    2, 2, 2, 2, 2, 2, 2, 2, 2, 2, 2, 2, 2, 2, 2, 2, 3, 3, 3, 3, 3, 3, 3, 3, 4, 4, 4, 4, 5, 5, 5, 5
};

// Indexed by the number of trailing bytes: what the marker bits of a sequence add up to.
constexpr UTF32 offsetsFromUTF8[6] = { 0x00000000, 0x00003080, 0x000E2080, 0x03C82080, 0xFA082080, 0x82082080 };

bool isTrailingByte(UTF8 byte)
{
    return byte >= 0x80 && byte <= 0xBF;
}

// The lead byte may narrow the second byte's range. Only one bound is tested after a lead byte that does so.
bool isLegalSecondByte(UTF8 lead, UTF8 second)
{
    if (second > 0xBF) {
        return false;
    }
    switch (lead) {
    case 0xE0:
        return second >= 0xA0;
    case 0xED:
        return second <= 0x9F;
    case 0xF0:
        return second >= 0x90;
    case 0xF4:
        return second <= 0x8F;
    default:
        return second >= 0x80;
    }
}

bool isLegalUTF8(const UTF8* source, int length)
{
    if (length < 1 || length > 4) {
        return false;
    }
    if (length == 4 && !isTrailingByte(source[3])) {
        return false;
    }
    if (length >= 3 && !isTrailingByte(source[2])) {
        return false;
    }
    if (length >= 2 && !isLegalSecondByte(source[0], source[1])) {
        return false;
    }
    return source[0] < 0x80 || (source[0] > 0xC1 && source[0] <= 0xF4);
}

// Decodes the sequence at the source, which is not empty; `length` tells its bytes. The source is not moved.
ConversionResult peekUTF8(const UTF8* source, const UTF8* sourceEnd, UTF32& value, int& length)
{
    const int trailing = trailingBytesForUTF8[*source];
    length = trailing + 1;
    if (sourceEnd - source < length) {
        return sourceExhausted;
    }
    if (!isLegalUTF8(source, length)) {
        return sourceIllegal;
    }
    value = 0;
    for (int i = 0; i < length; ++i) {
        value = (value << 6) + source[i];
    }
    value -= offsetsFromUTF8[trailing];
    return conversionOK;
}

bool put(UTF32 value, UTF16*& target, const UTF16* targetEnd)
{
    return putUTF16(value, target, targetEnd);
}

bool put(UTF32 value, UTF32*& target, const UTF32* targetEnd)
{
    if (roomBetween<UTF32>(target, targetEnd) == 0) {
        return false;
    }
    *target++ = value;
    return true;
}

// The characters that begin before stretchEnd, one at a time. The legality test has already refused surrogates
// and values above kLargestScalar, in either mode, so no branch for them follows and the flags make no
// difference.
template <typename Target>
ConversionResult convertSingly(const UTF8*& from, const UTF8* stretchEnd, const UTF8* sourceEnd, Target*& to,
                               const Target* targetEnd)
{
    while (from < stretchEnd) {
        UTF32 value = 0;
        int length = 0;
        const ConversionResult result = peekUTF8(from, sourceEnd, value, length);
        if (result != conversionOK) {
            return result;
        }
        if (!put(value, to, targetEnd)) {
            return targetExhausted;
        }
        from += length;
    }
    return conversionOK;
}

// A block and one byte more of sequences of one and two bytes. A character is the result of its last byte.
template <typename Target> bool convertBelow800(const UTF8*& from, Target*& to)
{
    UTF8 ends[kBlock];
    Lanes8 illegal {};
    for (std::size_t i = 0; i < kBlock; i += 16) {
        const Lanes8 bytes = loadLanes<Lanes8>(from + i);
        const Lanes8 next = loadLanes<Lanes8>(from + i + 1);
        const Lanes8 lead = (Lanes8)(bytes >= 0xC0);
        const Lanes8 trailing = (Lanes8)((next & 0xC0) == 0x80);
        const Lanes8 overlong = (Lanes8)((bytes & 0xFE) == 0xC0);
        const Lanes8 longer = (Lanes8)(bytes >= 0xE0);
        illegal |= (lead ^ trailing) | overlong | longer;
        storeLanes(lead + 1, ends + i);
    }
    if (anySet(illegal) || (from[0] & 0xC0) == 0x80) {
        return false;
    }
    UTF16 bytes[kBlock], next[kBlock], values[kBlock + 1];
    for (std::size_t i = 0; i < kBlock; ++i) {
        bytes[i] = from[i];
        next[i] = from[i+1];
    }
    values[0] = from[0];
    for (std::size_t i = 0; i < kBlock; i += 8) {
        const Lanes16 b = loadLanes<Lanes16>(bytes + i);
        const Lanes16 n = loadLanes<Lanes16>(next + i);
        const Lanes16 lead = (Lanes16)(b >= 0xC0);
        storeLanes(n + (((b << 6) - 0x3080) & lead), values + 1 + i);
    }
    to = storeOver<kBlock>(values, ends, to);
    from += kBlock - 1 + ends[kBlock - 1];
    return true;
}

// Some characters, of which none ends the conversion.
template <typename Target> void convertSome(const UTF8*& source, const UTF8* sourceEnd, Target*& target, const Target* targetEnd)
{
    const UTF8* from = source;
    Target* to = target;
    for (int i = 0; i < 16 && hasUnits(from, sourceEnd, 4) && hasUnits<Target>(to, targetEnd, 2); ++i) {
        const UTF8 lead = from[0];
        UTF32 w;
        std::memcpy(&w, from, 4);
        if ((w & 0x00C0C0F0) == 0x008080E0) {
            const UTF32 value = (w & 0xF) << 12 | (w >> 2 & 0xFC0) | (w >> 16 & 0x3F);
            if (value < 0x800 || isSurrogate(value)) break;
            *to++ = static_cast<Target>(value);
            from += 3;
        } else if (lead < 0x80) {
            *to++ = lead;
            from += 1;
        } else if ((w & 0xC0E0) == 0x80C0) {
            const UTF32 value = (w & 0x1F) << 6 | (w >> 8 & 0x3F);
            if (value < 0x80) break;
            *to++ = static_cast<Target>(value);
            from += 2;
        } else if ((w & 0xC0C0C0F8) == 0x808080F0) {
            const UTF32 value = (w & 0x7) << 18 | (w << 4 & 0x3F000) | (w >> 10 & 0xFC0) | (w >> 24 & 0x3F);
            if (value < 0x10000 || value > kLargestScalar) break;
            put(value, to, targetEnd);
            from += 4;
        } else {
            break;
        }
    }
    source = from;
    target = to;
}

template <typename Target> void convertBlocks(const UTF8*& from, const UTF8* sourceEnd, Target*& to, const Target* targetEnd)
{
    while (hasUnits(from, sourceEnd, kBlock + 1) && hasUnits<Target>(to, targetEnd, kBlock)) {
        if (!anyHas(0x80, from)) {
            copyBlock(from, to);
        } else if (*from >= 0xE0 || !convertBelow800(from, to)) {
            const UTF8* before = from;
            convertSome<Target>(from, sourceEnd, to, targetEnd);
            if (from == before)
                return;
        }
    }
}

template <typename Target>
ConversionResult convert(const UTF8** source, const UTF8* sourceEnd, Target** target, const Target* targetEnd)
{
    ConversionResult result = conversionOK;
    const UTF8* from = *source;
    Target* to = *target;
    while (result == conversionOK && from < sourceEnd) {
        convertBlocks(from, sourceEnd, to, targetEnd);
        result = convertSingly(from, endOfStretch(from, sourceEnd), sourceEnd, to, targetEnd);
    }
    *source = from;
    *target = to;
    return result;
}

} // namespace

ConversionResult ConvertUTF8toUTF16(const UTF8** source, const UTF8* sourceEnd, UTF16** target,
                                    UTF16* targetEnd, ConversionFlags)
{
    return convert<UTF16>(source, sourceEnd, target, targetEnd);
}

ConversionResult ConvertUTF8toUTF32(const UTF8** source, const UTF8* sourceEnd, UTF32** target,
                                    UTF32* targetEnd, ConversionFlags)
{
    return convert<UTF32>(source, sourceEnd, target, targetEnd);
}

bool isLegalUTF8Sequence(const UTF8* source, const UTF8* sourceEnd)
{
    if (source >= sourceEnd) {
        return false;
    }
    const int length = trailingBytesForUTF8[*source] + 1;
    return sourceEnd - source >= length && isLegalUTF8(source, length);
}

} // namespace KXPL
