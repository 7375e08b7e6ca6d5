// The converters that read UTF-32.
#include "KxUnicode.h"

#include "KxUnicodeConvert.h"
#include "KxUnicodeScalar.h"
#include "KxUnicodeTakeRuns.h"

namespace KXPL {
namespace {

struct FromUTF32ToUTF16 : TakingRuns<UTF32, UTF16> {
    [[gnu::always_inline]] static bool takeOne(Place<UTF32, UTF16>& at, const Bounds<UTF32, UTF16>& bounds,
                                               ConversionResult& result)
    {
        UTF32 value = *at.from;
        if (value >= kFirstHighSurrogate && (isSurrogate(value) || value > kLargestScalar)) {
            if (bounds.strict) {
                result = sourceIllegal;
                at.from += value > kLargestScalar ? 1 : 0;
                return value > kLargestScalar;
            }
            value = kReplacementCharacter;
        }
        return take(value, 1, at, bounds, result);
    }
};

struct FromUTF32ToUTF8 : TakingRuns<UTF32, UTF8> {
    [[gnu::always_inline]] static bool takeOne(Place<UTF32, UTF8>& at, const Bounds<UTF32, UTF8>& bounds,
                                               ConversionResult& result)
    {
        const UTF32 value = *at.from;
        if (value > kLargestScalar) {
            const bool written = take(kReplacementCharacter, 1, at, bounds, result);
            result = written ? sourceIllegal : result;
            return written;
        }
        if (bounds.strict && isSurrogate(value)) {
            return stop(result, sourceIllegal);
        }
        return take(value, 1, at, bounds, result);
    }
};

} // namespace

[[gnu::aligned(64)]] ConversionResult ConvertUTF32toUTF16(const UTF32** source, const UTF32* sourceEnd,
                                                          UTF16** target, UTF16* targetEnd,
                                                          ConversionFlags flags)
{
    return convert<FromUTF32ToUTF16>(source, sourceEnd, target, targetEnd, flags);
}

[[gnu::aligned(64)]] ConversionResult ConvertUTF32toUTF8(const UTF32** source, const UTF32* sourceEnd,
                                                         UTF8** target, UTF8* targetEnd, ConversionFlags flags)
{
    return convert<FromUTF32ToUTF8>(source, sourceEnd, target, targetEnd, flags);
}

} // namespace KXPL
