// The converters that read UTF-16.
#include "KxUnicode.h"

#include "KxUnicodeConvert.h"
#include "KxUnicodePutUTF8.h"
#include "KxUnicodeScalar.h"
#include "KxUnicodeTakeRuns.h"

#include <cstddef>

namespace KXPL {
namespace {

template <typename Target> struct FromUTF16 {
    static constexpr std::ptrdiff_t kUnits = kUnitsOfRuns<Target>;
    static constexpr std::ptrdiff_t kRoom = kRoomOfRuns<Target>;

    [[gnu::always_inline]] static bool takeOne(Place<UTF16, Target>& at, const Bounds<UTF16, Target>& bounds,
                                               ConversionResult& result)
    {
        UTF32 value = at.from[0];
        std::ptrdiff_t length = 1;
        if (isSurrogate(value)) {
            if (isHighSurrogate(value) && bounds.end - at.from < 2) {
                result = sourceExhausted;
                return false;
            }
            if (isHighSurrogate(value) && isLowSurrogate(at.from[1])) {
                value = valueOfPair(value, at.from[1]);
                length = 2;
            } else if (bounds.strict) {
                result = sourceIllegal;
                return false;
            }
        }
        if (!put(value, at.to, bounds.room)) {
            result = targetExhausted;
            return false;
        }
        at.from += length;
        return true;
    }

    static Place<UTF16, Target> takeMany(Place<UTF16, Target> at, const Bounds<UTF16, Target>& bounds)
    {
        return takeRuns(at, bounds);
    }
};

} // namespace

ConversionResult ConvertUTF16toUTF32(const UTF16** source, const UTF16* sourceEnd, UTF32** target,
                                     UTF32* targetEnd, ConversionFlags flags)
{
    return convert<FromUTF16<UTF32>>(source, sourceEnd, target, targetEnd, flags);
}

ConversionResult ConvertUTF16toUTF8(const UTF16** source, const UTF16* sourceEnd, UTF8** target,
                                    UTF8* targetEnd, ConversionFlags flags)
{
    return convert<FromUTF16<UTF8>>(source, sourceEnd, target, targetEnd, flags);
}

} // namespace KXPL
