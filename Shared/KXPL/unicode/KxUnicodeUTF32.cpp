// The converters that read UTF-32.
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

Lanes32 areSurrogates(Lanes32 values)
{
    return (Lanes32)((values & 0xFFFFF800) == kFirstHighSurrogate);
}

// Eight values.
struct EightValues {
    Lanes32 first, second;

    explicit EightValues(const UTF32* from)
        : first(loadLanes(from))
        , second(loadLanes(from + 4))
    {
    }

    // A bit for each lane that is not zero.
    static unsigned int bits(Lanes32 ofFirst, Lanes32 ofSecond)
    {
        const __m128i packed =
            _mm_packs_epi32((__m128i)(Lanes32)(ofFirst != 0), (__m128i)(Lanes32)(ofSecond != 0));
        return bitsOfLanes((Lanes16)packed, Lanes16 {});
    }
};

// Supplementary characters that stand one after the other.
template <typename Target>
Place<UTF32, Target> takeSupplementary(Place<UTF32, Target> at, const Bounds<UTF32, Target>& bounds)
{
    std::ptrdiff_t count = std::min(bounds.end - at.from, (bounds.room - at.to) / 4);
    for (; count > 0 && *at.from - kFirstSupplementary <= kLargestScalar - kFirstSupplementary; --count) {
        put(*at.from++, at.to, at.to + 4);
    }
    return at;
}

struct FromUTF32ToUTF16 {
    static constexpr std::ptrdiff_t kUnits = kEight;
    static constexpr std::ptrdiff_t kRoom = kEight;

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

    static Place<UTF32, UTF16> takeMany(Place<UTF32, UTF16> at, const Bounds<UTF32, UTF16>& bounds)
    {
        while (bounds.have(at, kEight, kEight)) {
            if (isSurrogate(*at.from) || *at.from >= kFirstSupplementary) {
                const Place<UTF32, UTF16> next = takeSupplementary(at, bounds);
                if (next.from == at.from) {
                    break;
                }
                at = next;
                continue;
            }
            const EightValues values(at.from);
            const unsigned int found = values.bits(areSurrogates(values.first) | values.first >> 16,
                                                   areSurrogates(values.second) | values.second >> 16);
            if (found == 0) {
                storeUnits(joined(values.first, values.second), at.to);
                at = { at.from + kEight, at.to + kEight };
                continue;
            }
            const std::ptrdiff_t count = __builtin_ctz(found);
            copyFewerThan<kEight>(count, at.from, at.to);
            at = { at.from + count, at.to + count };
        }
        return at;
    }
};

struct FromUTF32ToUTF8 {
    static constexpr std::ptrdiff_t kUnits = kEight + kAheadOfEight;
    static constexpr std::ptrdiff_t kRoom = kRoomOfEight;

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

    static Place<UTF32, UTF8> takeMany(Place<UTF32, UTF8> at, const Bounds<UTF32, UTF8>& bounds)
    {
        while (bounds.have(at, kUnits, kRoom)) {
            if (*at.from >= kFirstSupplementary) {
                const Place<UTF32, UTF8> next = takeSupplementary(at, bounds);
                if (next.from == at.from) {
                    break;
                }
                at = next;
                continue;
            }
            const EightValues values(at.from);
            const unsigned int over7F = values.bits(values.first >> 7, values.second >> 7);
            const Lanes16 units = joined(values.first, values.second);
            if (over7F == 0) {
                storeUnits(units, at.to);
                at = { at.from + kEight, at.to + kEight };
                continue;
            }
            const Lanes32 ahead = loadLanes(at.from + kUnits - 4);
            Lanes32 left = (values.first | values.second | ahead) >> 16;
            if (bounds.strict) {
                left |= areSurrogates(values.first) | areSurrogates(values.second) | areSurrogates(ahead);
            }
            if (bitsOf((Lanes32)(left != 0)) == 0) {
                at = { at.from + kEight, putEight(units, at.to) };
                continue;
            }
            const std::ptrdiff_t count = __builtin_ctz(over7F);
            copyFewerThan<kEight>(count, at.from, at.to);
            at = { at.from + count, at.to + count };
            while (*at.from < kFirstSupplementary) {
                if (bounds.strict && isSurrogate(*at.from)) {
                    return at;
                }
                put(*at.from++, at.to, bounds.room);
            }
        }
        return at;
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
