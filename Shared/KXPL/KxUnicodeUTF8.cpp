// The converters that read UTF-8, and the test of a sequence.
#include "KxUnicode.h"

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

} // namespace

// In both converters the legality test has already refused surrogates and values above kLargestScalar, in
// either mode, so no branch for them follows and the flags make no difference.

ConversionResult ConvertUTF8toUTF16(const UTF8** source, const UTF8* sourceEnd, UTF16** target,
                                    UTF16* targetEnd, ConversionFlags)
{
    ConversionResult result = conversionOK;
    const UTF8* from = *source;
    UTF16* to = *target;
    while (from < sourceEnd) {
        UTF32 value = 0;
        int length = 0;
        result = peekUTF8(from, sourceEnd, value, length);
        if (result != conversionOK) {
            break;
        }
        if (!putUTF16(value, to, targetEnd)) {
            result = targetExhausted;
            break;
        }
        from += length;
    }
    *source = from;
    *target = to;
    return result;
}

ConversionResult ConvertUTF8toUTF32(const UTF8** source, const UTF8* sourceEnd, UTF32** target,
                                    UTF32* targetEnd, ConversionFlags)
{
    ConversionResult result = conversionOK;
    const UTF8* from = *source;
    UTF32* to = *target;
    while (from < sourceEnd) {
        UTF32 value = 0;
        int length = 0;
        result = peekUTF8(from, sourceEnd, value, length);
        if (result != conversionOK) {
            break;
        }
        if (roomBetween<UTF32>(to, targetEnd) == 0) {
            result = targetExhausted;
            break;
        }
        *to++ = value;
        from += length;
    }
    *source = from;
    *target = to;
    return result;
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
