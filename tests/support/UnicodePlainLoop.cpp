#include "UnicodePlainLoop.h"

#include <cstddef>

namespace plain {
namespace {

constexpr bool isTrailing(UTF8 byte)
{
    return (byte & 0xC0) == 0x80;
}

// Indexed by the upper six bits of a lead byte.
constexpr UTF8 kLengths[64] = { 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1,
                                1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1,
                                1, 1, 1, 1, 2, 2, 2, 2, 2, 2, 2, 2, 3, 3, 3, 3, 4, 4, 5, 6 };

// Whether a second byte may follow its lead byte. Only one bound is tested after ED and F4.
bool isSecond(UTF8 lead, UTF8 second)
{
    switch (lead) {
    case 0xE0:
        return second >= 0xA0 && second <= 0xBF;
    case 0xED:
        return second <= 0x9F;
    case 0xF0:
        return second >= 0x90 && second <= 0xBF;
    case 0xF4:
        return second <= 0x8F;
    default:
        return isTrailing(second);
    }
}

bool isLegal(const UTF8* bytes, std::ptrdiff_t length)
{
    switch (length) {
    case 1:
        return bytes[0] < 0x80;
    case 2:
        return isTrailing(bytes[1]) && bytes[0] >= 0xC2;
    case 3:
        return isTrailing(bytes[2]) && isSecond(bytes[0], bytes[1]);
    case 4:
        return isTrailing(bytes[3]) && isTrailing(bytes[2]) && isSecond(bytes[0], bytes[1]) && bytes[0] <= 0xF4;
    default:
        return false;
    }
}

// The following take a character off a source that is not empty, or tell why they cannot.
ConversionResult take(const UTF8*& from, const UTF8* end, bool, UTF32& value)
{
    const std::ptrdiff_t length = kLengths[*from >> 2];
    if (end - from < length) {
        return sourceExhausted;
    }
    if (!isLegal(from, length)) {
        return sourceIllegal;
    }
    switch (length) {
    case 1:
        value = *from++;
        break;
    case 2:
        value = (static_cast<UTF32>(from[0]) << 6) + from[1] - 0x3080;
        from += 2;
        break;
    case 3:
        value = (static_cast<UTF32>(from[0]) << 12) + (static_cast<UTF32>(from[1]) << 6) + from[2] - 0xE2080;
        from += 3;
        break;
    default:
        value = (static_cast<UTF32>(from[0]) << 18) + (static_cast<UTF32>(from[1]) << 12)
            + (static_cast<UTF32>(from[2]) << 6) + from[3] - 0x3C82080;
        from += 4;
    }
    return conversionOK;
}

ConversionResult take(const UTF16*& from, const UTF16* end, bool strict, UTF32& value)
{
    value = *from;
    if (value >= 0xD800 && value <= 0xDBFF) {
        if (end - from < 2) {
            return sourceExhausted;
        }
        if (from[1] >= 0xDC00 && from[1] <= 0xDFFF) {
            value = (value << 10) + from[1] - 0x35FDC00;
            from += 2;
            return conversionOK;
        }
    }
    if (strict && value >= 0xD800 && value <= 0xDFFF) {
        return sourceIllegal;
    }
    ++from;
    return conversionOK;
}

bool write(UTF32 value, UTF32*& to, const UTF32* end)
{
    if (to >= end) {
        return false;
    }
    *to++ = value;
    return true;
}

bool write(UTF32 value, UTF16*& to, const UTF16* end)
{
    if (value < 0x10000) {
        if (to >= end) {
            return false;
        }
        *to++ = static_cast<UTF16>(value);
        return true;
    }
    if (end - to < 2) {
        return false;
    }
    *to++ = static_cast<UTF16>(((value - 0x10000) >> 10) + 0xD800);
    *to++ = static_cast<UTF16>((value & 0x3FF) | 0xDC00);
    return true;
}

bool write(UTF32 value, UTF8*& to, const UTF8* end)
{
    constexpr UTF32 kMark[] = { 0, 0, 0xC0, 0xE0, 0xF0 };
    const std::ptrdiff_t length = value < 0x80 ? 1 : value < 0x800 ? 2 : value < 0x10000 ? 3 : 4;
    if (end - to < length) {
        return false;
    }
    for (std::ptrdiff_t i = length - 1; i > 0; --i) {
        to[i] = static_cast<UTF8>((value & 0x3F) | 0x80);
        value >>= 6;
    }
    *to = static_cast<UTF8>(value | kMark[length]);
    to += length;
    return true;
}

// From UTF-8 and UTF-16.
template <typename Source, typename Target>
ConversionResult convert(const Source** source, const Source* sourceEnd, Target** target,
                         const Target* targetEnd, ConversionFlags flags)
{
    ConversionResult result = conversionOK;
    const Source* from = *source;
    Target* to = *target;
    while (from < sourceEnd) {
        const Source* next = from;
        UTF32 value = 0;
        result = take(next, sourceEnd, flags == strictConversion, value);
        if (result != conversionOK) {
            break;
        }
        if (!write(value, to, targetEnd)) {
            result = targetExhausted;
            break;
        }
        from = next;
    }
    *source = from;
    *target = to;
    return result;
}

ConversionResult convert(const UTF32** source, const UTF32* sourceEnd, UTF16** target, const UTF16* targetEnd,
                         ConversionFlags flags)
{
    ConversionResult result = conversionOK;
    const UTF32* from = *source;
    UTF16* to = *target;
    for (; from < sourceEnd; ++from) {
        UTF32 value = *from;
        if (value >= 0xD800 && value <= 0xDFFF) {
            if (flags == strictConversion) {
                result = sourceIllegal;
                break;
            }
            value = 0xFFFD;
        } else if (value > 0x10FFFF) {
            if (flags == strictConversion) {
                result = sourceIllegal;
                continue;
            }
            value = 0xFFFD;
        }
        if (!write(value, to, targetEnd)) {
            result = targetExhausted;
            break;
        }
    }
    *source = from;
    *target = to;
    return result;
}

ConversionResult convert(const UTF32** source, const UTF32* sourceEnd, UTF8** target, const UTF8* targetEnd,
                         ConversionFlags flags)
{
    ConversionResult result = conversionOK;
    const UTF32* from = *source;
    UTF8* to = *target;
    for (; from < sourceEnd; ++from) {
        const UTF32 value = *from;
        if (flags == strictConversion && value >= 0xD800 && value <= 0xDFFF) {
            result = sourceIllegal;
            break;
        }
        if (!write(value > 0x10FFFF ? 0xFFFD : value, to, targetEnd)) {
            result = targetExhausted;
            break;
        }
        if (value > 0x10FFFF) {
            result = sourceIllegal;
        }
    }
    *source = from;
    *target = to;
    return result;
}

} // namespace

ConversionResult ConvertUTF32toUTF16(const UTF32** source, const UTF32* sourceEnd, UTF16** target,
                                     UTF16* targetEnd, ConversionFlags flags)
{
    return convert(source, sourceEnd, target, targetEnd, flags);
}

ConversionResult ConvertUTF16toUTF32(const UTF16** source, const UTF16* sourceEnd, UTF32** target,
                                     UTF32* targetEnd, ConversionFlags flags)
{
    return convert(source, sourceEnd, target, targetEnd, flags);
}

ConversionResult ConvertUTF16toUTF8(const UTF16** source, const UTF16* sourceEnd, UTF8** target,
                                    UTF8* targetEnd, ConversionFlags flags)
{
    return convert(source, sourceEnd, target, targetEnd, flags);
}

ConversionResult ConvertUTF8toUTF16(const UTF8** source, const UTF8* sourceEnd, UTF16** target,
                                    UTF16* targetEnd, ConversionFlags flags)
{
    return convert(source, sourceEnd, target, targetEnd, flags);
}

ConversionResult ConvertUTF32toUTF8(const UTF32** source, const UTF32* sourceEnd, UTF8** target,
                                    UTF8* targetEnd, ConversionFlags flags)
{
    return convert(source, sourceEnd, target, targetEnd, flags);
}

ConversionResult ConvertUTF8toUTF32(const UTF8** source, const UTF8* sourceEnd, UTF32** target,
                                    UTF32* targetEnd, ConversionFlags flags)
{
    return convert(source, sourceEnd, target, targetEnd, flags);
}

} // namespace plain
