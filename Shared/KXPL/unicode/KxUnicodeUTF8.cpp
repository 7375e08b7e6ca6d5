// The converters that read UTF-8, and the test of a sequence.
#include "KxUnicode.h"

#include "KxUnicodeConvert.h"
#include "KxUnicodeLanes.h"
#include "KxUnicodeScalar.h"
#include "KxUnicodeTakeUTF8.h"

#include <algorithm>
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

// Tests one sequence, whose lead byte tells that length; inlined where the length is known. The lead byte may narrow
// the second byte's range, and after ED and F4 only the upper bound is tested.
[[gnu::always_inline]] inline bool isLegalUTF8(const UTF8* source, int length)
{
    const UTF8 lead = source[0];
    switch (length) {
    case 1:
        return lead < 0x80;
    case 2:
        return isTrailingByte(source[1]) && lead > 0xC1;
    case 3:
        return isTrailingByte(source[2])
            && (lead == 0xED ? source[1] <= 0x9F
                             : isTrailingByte(source[1]) && (lead != 0xE0 || source[1] >= 0xA0));
    case 4:
        return isTrailingByte(source[3]) && isTrailingByte(source[2])
            && (lead == 0xF4 ? source[1] <= 0x8F
                             : isTrailingByte(source[1]) && (lead != 0xF0 || source[1] >= 0x90) && lead < 0xF4);
    default:
        return false;
    }
}

// Sums the bytes of a legal sequence of that length.
template <int length> UTF32 sumOf(const UTF8* sequence)
{
    UTF32 value = 0;
    for (int i = 0; i < length; ++i) {
        value = (value << 6) + sequence[i];
    }
    return value - offsetsFromUTF8[length - 1];
}

// What the lengths of sequences have in common. The legality test has already refused surrogates and values
// above kLargestScalar, in either mode, so no branch for them follows and the flags make no difference.
template <int length, typename Target>
[[gnu::always_inline]] inline bool takeSequence(Place<UTF8, Target>& at, const Bounds<UTF8, Target>& bounds,
                                                ConversionResult& result)
{
    if (bounds.end - at.from < length) {
        return stop(result, sourceExhausted);
    }
    if (!isLegalUTF8(at.from, length)) {
        return stop(result, sourceIllegal);
    }
    return take(sumOf<length>(at.from), length, at, bounds, result);
}

struct FromUTF8 {
    static constexpr std::ptrdiff_t kUnits = 2 + kBytesBelow10000;
    static constexpr std::ptrdiff_t kRoom = kBytesBelow10000;

    template <typename Target>
    [[gnu::always_inline]] static bool takeOne(Place<UTF8, Target>& at, const Bounds<UTF8, Target>& bounds,
                                               ConversionResult& result)
    {
        // By comparisons, since the processor can go on before the byte is there; a length out of a table it
        // would have to wait for at each character.
        const UTF8 lead = *at.from;
        if (lead < 0x80) {
            return takeSequence<1>(at, bounds, result);
        }
        if (lead < 0xE0) {
            if (lead >= 0xC0) {
                return takeSequence<2>(at, bounds, result);
            }
        } else if (lead < 0xF0) {
            return takeSequence<3>(at, bounds, result);
        } else if (lead < 0xF8) {
            return takeSequence<4>(at, bounds, result);
        }
        const int trailing = trailingBytesForUTF8[lead];
        // Never legal: a trailing byte, or the lead byte of five or six.
        return stop(result, bounds.end - at.from <= trailing ? sourceExhausted : sourceIllegal);
    }

    // Characters of four bytes that stand one after the other, if any.
    template <typename Target>
    [[gnu::always_inline]] static void takeFours(Place<UTF8, Target>& at, const Bounds<UTF8, Target>& bounds)
    {
        ConversionResult result = conversionOK;
        std::ptrdiff_t most = std::min(bounds.end - at.from, bounds.room - at.to) / 4;
        while (most-- > 0 && *at.from >= 0xF0
               && takeSequence<4>(at, { at.from, at.from + 4, at.to + 4, bounds.strict }, result)) { }
    }

    template <typename Target>
    [[gnu::always_inline]] static const UTF8* takeMany(Place<UTF8, Target>& at,
                                                       const Bounds<UTF8, Target>& bounds)
    {
        const UTF8* until = at.from;
        while (bounds.have(at, kUnits, kRoom)) {
            const Lanes8 bytes = loadLanes(at.from);
            const unsigned int over7F = bitsOf(bytes);
            if (over7F == 0) {
                storeUnits(bytes, at.to);
                at = { at.from + 16, at.to + 16 };
                continue;
            }
            const std::ptrdiff_t ascii = __builtin_ctz(over7F);
            const UTF8* const other = at.from + ascii;
            if (*other >= 0xF0) {
                copyFewerThan<16>(ascii, at.from, at.to);
                at = { other, at.to + ascii };
                takeFours(at, bounds);
                if (at.from == other) {
                    return other + 1;
                }
                continue;
            }
            if (at.from - bounds.begin < 2) {
                return other + 1;
            }
            const std::ptrdiff_t refused = takeBelow10000(at);
            if (refused != 0) {
                until = at.from + refused;
                break;
            }
        }
        if (at.from - bounds.begin >= 2) {
            // Back to the lead byte, where takeBelow10000 has gone too far.
            at.from -= at.from[-1] >= 0xC0 ? 1 : at.from[-2] >= 0xE0 ? 2 : 0;
        }
        return until;
    }
};

} // namespace

[[gnu::aligned(64)]] ConversionResult ConvertUTF8toUTF16(const UTF8** source, const UTF8* sourceEnd,
                                                         UTF16** target, UTF16* targetEnd,
                                                         ConversionFlags flags)
{
    return convert<FromUTF8>(source, sourceEnd, target, targetEnd, flags);
}

[[gnu::aligned(64)]] ConversionResult ConvertUTF8toUTF32(const UTF8** source, const UTF8* sourceEnd,
                                                         UTF32** target, UTF32* targetEnd,
                                                         ConversionFlags flags)
{
    return convert<FromUTF8>(source, sourceEnd, target, targetEnd, flags);
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
