// The converters that read UTF-16.
#include "KxUnicode.h"

#include "KxUnicodeConvert.h"
#include "KxUnicodeScalar.h"
#include "KxUnicodeTakeRuns.h"

namespace KXPL {
namespace {

template <typename Target> struct FromUTF16 : TakingRuns<UTF16, Target> {
    [[gnu::always_inline]] static bool takeOne(Place<UTF16, Target>& at, const Bounds<UTF16, Target>& bounds,
                                               ConversionResult& result)
    {
        const UTF16 unit = at.from[0];
        if (__builtin_expect(isHighSurrogate(unit), 0)) {
            if (bounds.end - at.from < 2) {
                return stop(result, sourceExhausted);
            }
            if (isLowSurrogate(at.from[1])) {
                return take(valueOfPair(unit, at.from[1]), 2, at, bounds, result);
            }
        }
        if (bounds.strict && isSurrogate(unit)) {
            return stop(result, sourceIllegal);
        }
        return take(unit, 1, at, bounds, result);
    }
};

} // namespace

[[gnu::aligned(64)]] ConversionResult ConvertUTF16toUTF32(const UTF16** source, const UTF16* sourceEnd,
                                                          UTF32** target, UTF32* targetEnd,
                                                          ConversionFlags flags)
{
    return convert<FromUTF16<UTF32>>(source, sourceEnd, target, targetEnd, flags);
}

[[gnu::aligned(64)]] ConversionResult ConvertUTF16toUTF8(const UTF16** source, const UTF16* sourceEnd,
                                                         UTF8** target, UTF8* targetEnd, ConversionFlags flags)
{
    return convert<FromUTF16<UTF8>>(source, sourceEnd, target, targetEnd, flags);
}

} // namespace KXPL
