// The converters that read UTF-16.
#include "KxUnicode.h"

#include "KxUnicodeConvert.h"
#include "KxUnicodeLanes.h"
#include "KxUnicodePutUTF8.h"
#include "KxUnicodeScalar.h"

#include <algorithm>
#include <cstddef>

namespace KXPL {
namespace {

constexpr std::ptrdiff_t kEight = 8;

Lanes16 areSurrogates(Lanes16 units)
{
    return (Lanes16)((units & 0xF800) == 0xD800);
}

struct FromUTF16 {
    template <typename Target>
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

    // Pairs that stand one after the other.
    template <typename Target>
    static Place<UTF16, Target> takePairs(Place<UTF16, Target> at, const Bounds<UTF16, Target>& bounds)
    {
        std::ptrdiff_t pairs = std::min((bounds.end - at.from) / 2, (bounds.room - at.to) / 4);
        for (; pairs > 0 && isHighSurrogate(at.from[0]) && isLowSurrogate(at.from[1]); --pairs) {
            put(valueOfPair(at.from[0], at.from[1]), at.to, at.to + 4);
            at.from += 2;
        }
        return at;
    }
};

struct FromUTF16ToUTF32 : FromUTF16 {
    static constexpr std::ptrdiff_t kUnits = kEight;
    static constexpr std::ptrdiff_t kRoom = kEight;

    static Place<UTF16, UTF32> takeMany(Place<UTF16, UTF32> at, const Bounds<UTF16, UTF32>& bounds)
    {
        while (bounds.have(at, kEight, kEight)) {
            if (isSurrogate(*at.from)) {
                const Place<UTF16, UTF32> next = takePairs(at, bounds);
                if (next.from == at.from) {
                    break;
                }
                at = next;
                continue;
            }
            const Lanes16 units = loadLanes(at.from);
            const unsigned int found = bitsOf(areSurrogates(units));
            if (found == 0) {
                storeUnits(units, at.to);
                at = { at.from + kEight, at.to + kEight };
                continue;
            }
            const std::ptrdiff_t count = __builtin_ctz(found) / 2;
            copyFewerThan<kEight>(count, at.from, at.to);
            at = { at.from + count, at.to + count };
        }
        return at;
    }
};

struct FromUTF16ToUTF8 : FromUTF16 {
    static constexpr std::ptrdiff_t kUnits = kEight + kAheadOfEight;
    static constexpr std::ptrdiff_t kRoom = kRoomOfEight;

    static Place<UTF16, UTF8> takeMany(Place<UTF16, UTF8> at, const Bounds<UTF16, UTF8>& bounds)
    {
        while (bounds.have(at, kUnits, kRoom)) {
            if (isSurrogate(*at.from)) {
                const Place<UTF16, UTF8> next = takePairs(at, bounds);
                if (next.from == at.from) {
                    break;
                }
                at = next;
                continue;
            }
            const Lanes16 units = loadLanes(at.from);
            const unsigned int over7F = bitsOf((Lanes16)((units & 0xFF80) != 0));
            if (over7F == 0) {
                storeUnits(units, at.to);
                at = { at.from + kEight, at.to + kEight };
                continue;
            }
            if (bitsOf(areSurrogates(units) | areSurrogates(loadLanes(at.from + kAheadOfEight))) == 0) {
                at = { at.from + kEight, putEight(units, at.to) };
                continue;
            }
            // At most the units up to the pair, since at least one of them is none of these.
            const std::ptrdiff_t count = __builtin_ctz(over7F) / 2;
            copyFewerThan<kEight>(count, at.from, at.to);
            at = { at.from + count, at.to + count };
            while (!isSurrogate(*at.from)) {
                put(*at.from++, at.to, bounds.room);
            }
        }
        return at;
    }
};

} // namespace

ConversionResult ConvertUTF16toUTF32(const UTF16** source, const UTF16* sourceEnd, UTF32** target,
                                     UTF32* targetEnd, ConversionFlags flags)
{
    return convert<FromUTF16ToUTF32>(source, sourceEnd, target, targetEnd, flags);
}

ConversionResult ConvertUTF16toUTF8(const UTF16** source, const UTF16* sourceEnd, UTF8** target,
                                    UTF8* targetEnd, ConversionFlags flags)
{
    return convert<FromUTF16ToUTF8>(source, sourceEnd, target, targetEnd, flags);
}

} // namespace KXPL
