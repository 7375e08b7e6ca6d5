// The converters that read UTF-8, and the test of a sequence.
#include "KxUnicode.h"

#include "KxUnicodeBlocks.h"
#include "KxUnicodeScalar.h"
#include "KxUnicodeTakeUTF8.h"

#include <algorithm>
#include <cstddef>

namespace KXPL {
namespace {

// A block that gives less than this was ended by something that is not among the next characters for long.
constexpr std::ptrdiff_t kMostOfBlock = kBlock - 8;
// Characters converted one at a time where a block has nothing that is worth more, and where only some of it
// could be taken.
constexpr std::size_t kManyCharacters = 64;
constexpr std::size_t kSomeCharacters = 8;
constexpr std::ptrdiff_t kLongestSequence = 4;

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

// Converts the characters that begin before stretchEnd, one at a time. The legality test has already refused
// surrogates and values above kLargestScalar, in either mode, so no branch for them follows and the flags make
// no difference.
template <typename Target>
ConversionResult convertSingly(Place<UTF8, Target>& at, const UTF8* stretchEnd,
                               const Bounds<UTF8, Target>& bounds)
{
    while (at.from < stretchEnd) {
        UTF32 value = 0;
        int length = 0;
        const ConversionResult result = peekUTF8(at.from, bounds.end, value, length);
        if (result != conversionOK) {
            return result;
        }
        if (!put(value, at.to, bounds.room)) {
            return targetExhausted;
        }
        at.from += length;
    }
    return conversionOK;
}

// Whether a group of characters of three bytes each may begin there, by the lead bytes of some of them.
bool mayBeThrees(const UTF8* from)
{
    return (from[0] & from[3 * 2] & from[3 * 5] & from[3 * 7]) >= 0xE0;
}

template <typename Target>
Place<UTF8, Target> convertBlock(Place<UTF8, Target> at, const Bounds<UTF8, Target>& bounds)
{
    // A block, and the two characters in front of it where there are no others.
    if (!has(at, bounds, kBlock + 2 * kLongestSequence, kBlock + 4)) {
        return convertLegal(at, bounds, kBlock);
    }
    if (!anyHas(0x80, at.from)) {
        return copyBlock(at);
    }
    // Blocks look at two bytes before them.
    if (at.from - bounds.begin < 2) {
        at = convertLegal(at, bounds, 2);
        if (at.from - bounds.begin < 2) {
            return at;
        }
    }
    // Where these are not alone, branches cost less than looking at every byte of all of them.
    if (*at.from >= 0xE0) {
        if (mayBeThrees(at.from)) {
            at = convertThrees(at, bounds);
        }
        return convertLegal(at, bounds, kManyCharacters);
    }
    Place<UTF8, Target> next = convertBelow800(at);
    if (next.from == at.from) {
        next = convertBelow10000(at);
    }
    if (next.from - at.from >= kMostOfBlock) {
        return next;
    }
    return convertLegal(next, bounds, next.from != at.from ? kSomeCharacters : kManyCharacters);
}

template <typename Target>
ConversionResult convert(const UTF8** source, const UTF8* sourceEnd, Target** target, const Target* targetEnd)
{
    if (*source >= sourceEnd) {
        return conversionOK;
    }
    const bool strict = true; // or not: both refuse the same
    const Bounds<UTF8, Target> bounds { *source, sourceEnd, targetEnd, strict };
    Place<UTF8, Target> at { *source, *target };
    ConversionResult result = conversionOK;
    convertByBlocks(
        at, sourceEnd, [&](Place<UTF8, Target> here) { return convertBlock(here, bounds); },
        [&](Place<UTF8, Target>& here, const UTF8* stretchEnd) {
            // Blocks take all that is legal, so either the next sequence ends the conversion or few are left.
            const std::ptrdiff_t bytes = std::min(stretchEnd - here.from, kLongestSequence);
            result = convertSingly(here, here.from + bytes, bounds);
            return result == conversionOK;
        });
    *source = at.from;
    *target = at.to;
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
