// The converters that read UTF-32.
#include "KxUnicode.h"

#include "KxUnicodeConvert.h"
#include "KxUnicodePutUTF8.h"
#include "KxUnicodeScalar.h"
#include "KxUnicodeTakeRuns.h"

#include <cstddef>

namespace KXPL {
namespace {

template <typename Target> struct FromUTF32 {
    static constexpr std::ptrdiff_t kUnits = kUnitsOfRuns<Target>;
    static constexpr std::ptrdiff_t kRoom = kRoomOfRuns<Target>;

    static Place<UTF32, Target> takeMany(Place<UTF32, Target> at, const Bounds<UTF32, Target>& bounds)
    {
        return takeRuns(at, bounds);
    }
};

struct FromUTF32ToUTF16 : FromUTF32<UTF16> {
    [[gnu::always_inline]] static bool takeOne(Place<UTF32, UTF16>& at, const Bounds<UTF32, UTF16>& bounds,
                                               ConversionResult& result)
    {
        UTF32 value = *at.from;
        if (isSurrogate(value)) {
            if (bounds.strict) {
                result = sourceIllegal;
                return false;
            }
            value = kReplacementCharacter;
        } else if (value > kLargestScalar) {
            if (bounds.strict) {
                result = sourceIllegal;
                ++at.from;
                return true;
            }
            value = kReplacementCharacter;
        }
        if (!put(value, at.to, bounds.room)) {
            result = targetExhausted;
            return false;
        }
        ++at.from;
        return true;
    }
};

struct FromUTF32ToUTF8 : FromUTF32<UTF8> {
    [[gnu::always_inline]] static bool takeOne(Place<UTF32, UTF8>& at, const Bounds<UTF32, UTF8>& bounds,
                                               ConversionResult& result)
    {
        UTF32 value = *at.from;
        if (bounds.strict && isSurrogate(value)) {
            result = sourceIllegal;
            return false;
        }
        const bool tooLarge = value > kLargestScalar;
        if (tooLarge) {
            value = kReplacementCharacter;
        }
        if (!put(value, at.to, bounds.room)) {
            result = targetExhausted;
            return false;
        }
        if (tooLarge) {
            result = sourceIllegal;
        }
        ++at.from;
        return true;
    }
};

} // namespace

ConversionResult ConvertUTF32toUTF16(const UTF32** source, const UTF32* sourceEnd, UTF16** target,
                                     UTF16* targetEnd, ConversionFlags flags)
{
    return convert<FromUTF32ToUTF16>(source, sourceEnd, target, targetEnd, flags);
}

ConversionResult ConvertUTF32toUTF8(const UTF32** source, const UTF32* sourceEnd, UTF8** target,
                                    UTF8* targetEnd, ConversionFlags flags)
{
    return convert<FromUTF32ToUTF8>(source, sourceEnd, target, targetEnd, flags);
}

} // namespace KXPL
