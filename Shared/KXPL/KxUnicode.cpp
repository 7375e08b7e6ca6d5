// The converters that read UTF-16 or UTF-32; those that read UTF-8 are in KxUnicodeUTF8.cpp.
#include "KxUnicode.h"

#include "KxUnicodeScalar.h"

namespace KXPL {
namespace {

// Indexed by the number of bytes of a sequence.
constexpr UTF8 firstByteMark[7] = { 0x00, 0x00, 0xC0, 0xE0, 0xF0, 0xF8, 0xFC };

std::size_t lengthInUTF8(UTF32 value)
{
    if (value < 0x80) {
        return 1;
    }
    if (value < 0x800) {
        return 2;
    }
    return value < kFirstSupplementary ? 3 : 4;
}

// Writes a value of at most kLargestScalar. False, with nothing written, without room.
bool putUTF8(UTF32 value, UTF8*& target, const UTF8* targetEnd)
{
    const std::size_t length = lengthInUTF8(value);
    if (roomBetween<UTF8>(target, targetEnd) < length) {
        return false;
    }
    for (std::size_t i = length - 1; i > 0; --i) {
        target[i] = static_cast<UTF8>((value & 0x3F) | 0x80);
        value >>= 6;
    }
    target[0] = static_cast<UTF8>(value | firstByteMark[length]);
    target += length;
    return true;
}

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

} // namespace

ConversionResult ConvertUTF32toUTF16(const UTF32** source, const UTF32* sourceEnd, UTF16** target,
                                     UTF16* targetEnd, ConversionFlags flags)
{
    const bool strict = flags == strictConversion;
    ConversionResult result = conversionOK;
    const UTF32* from = *source;
    UTF16* to = *target;
    for (; from < sourceEnd; ++from) {
        UTF32 value = *from;
        if (strict && isSurrogate(value)) {
            result = sourceIllegal;
            break;
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
            break;
        }
    }
    *source = from;
    *target = to;
    return result;
}

ConversionResult ConvertUTF32toUTF8(const UTF32** source, const UTF32* sourceEnd, UTF8** target,
                                    UTF8* targetEnd, ConversionFlags flags)
{
    const bool strict = flags == strictConversion;
    ConversionResult result = conversionOK;
    const UTF32* from = *source;
    UTF8* to = *target;
    for (; from < sourceEnd; ++from) {
        UTF32 value = *from;
        if (strict && isSurrogate(value)) {
            result = sourceIllegal;
            break;
        }
        const bool tooLarge = value > kLargestScalar;
        if (tooLarge) {
            value = kReplacementCharacter;
        }
        if (!putUTF8(value, to, targetEnd)) {
            result = targetExhausted;
            break;
        }
        if (tooLarge) {
            result = sourceIllegal;
        }
    }
    *source = from;
    *target = to;
    return result;
}

ConversionResult ConvertUTF16toUTF32(const UTF16** source, const UTF16* sourceEnd, UTF32** target,
                                     UTF32* targetEnd, ConversionFlags flags)
{
    ConversionResult result = conversionOK;
    const UTF16* from = *source;
    UTF32* to = *target;
    while (from < sourceEnd) {
        const UTF16* next = from;
        UTF32 value = 0;
        result = takeUTF16(next, sourceEnd, flags == strictConversion, value);
        if (result != conversionOK) {
            break;
        }
        if (roomBetween<UTF32>(to, targetEnd) == 0) {
            result = targetExhausted;
            break;
        }
        *to++ = value;
        from = next;
    }
    *source = from;
    *target = to;
    return result;
}

ConversionResult ConvertUTF16toUTF8(const UTF16** source, const UTF16* sourceEnd, UTF8** target,
                                    UTF8* targetEnd, ConversionFlags flags)
{
    ConversionResult result = conversionOK;
    const UTF16* from = *source;
    UTF8* to = *target;
    while (from < sourceEnd) {
        const UTF16* next = from;
        UTF32 value = 0;
        result = takeUTF16(next, sourceEnd, flags == strictConversion, value);
        if (result != conversionOK) {
            break;
        }
        if (!putUTF8(value, to, targetEnd)) {
            result = targetExhausted;
            break;
        }
        from = next;
    }
    *source = from;
    *target = to;
    return result;
}

} // namespace KXPL
