// The converters that read UTF-8, and the test of a sequence.
#include "KxUnicode.h"

#include "KxUnicodeConvert.h"
#include "KxUnicodeLanes.h"
#include "KxUnicodeScalar.h"
#include "KxUnicodeTakeUTF8.h"

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
        return isTrailingByte(second);
    }
}

// Tests one sequence, whose lead byte tells that length. Inlined where the length is known.
[[gnu::always_inline]] inline bool isLegalUTF8(const UTF8* source, int length)
{
    switch (length) {
    case 1:
        return source[0] < 0x80;
    case 2:
        return isTrailingByte(source[1]) && source[0] > 0xC1;
    case 3:
        return isTrailingByte(source[2]) && isLegalSecondByte(source[0], source[1]);
    case 4:
        return isTrailingByte(source[3]) && isTrailingByte(source[2]) && isLegalSecondByte(source[0], source[1])
            && source[0] <= 0xF4;
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
        result = sourceExhausted;
        return false;
    }
    if (!isLegalUTF8(at.from, length)) {
        result = sourceIllegal;
        return false;
    }
    if (!put(sumOf<length>(at.from), at.to, bounds.room)) {
        result = targetExhausted;
        return false;
    }
    at.from += length;
    return true;
}

struct FromUTF8 {
    static constexpr std::ptrdiff_t kUnits = kBytesOfThrees;
    static constexpr std::ptrdiff_t kRoom = 16;

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
        result = bounds.end - at.from <= trailing ? sourceExhausted : sourceIllegal;
        return false;
    }

    template <typename Target>
    static Place<UTF8, Target> takeMany(Place<UTF8, Target> at, const Bounds<UTF8, Target>& bounds)
    {
        while (bounds.have(at, kUnits, kRoom)) {
            const Lanes8 bytes = loadLanes(at.from);
            const unsigned int over7F = bitsOf(bytes);
            if (over7F == 0) {
                storeUnits(bytes, at.to);
                at = { at.from + 16, at.to + 16 };
                continue;
            }
            const std::ptrdiff_t count = __builtin_ctz(over7F);
            if (at.from[count] < 0xE0 && at.from != bounds.begin
                && bounds.have(at, kBytesBelow800, kRoomBelow800)) {
                const Place<UTF8, Target> next = takeBelow800(at);
                if (next.from != at.from) {
                    at = next;
                    continue;
                }
            }
            copyFewerThan<16>(count, at.from, at.to);
            at = { at.from + count, at.to + count };
            if (!bounds.have(at, kUnits, kRoom)) {
                break;
            }
            const UTF8* const begin = at.from;
            if (*begin >= 0xF0) {
                at = takeFours(at);
            } else if (*begin >= 0xE0) {
                at = takeThrees(at);
            }
            if (at.from == begin) {
                ConversionResult result = conversionOK;
                do {
                    if (!(*at.from >= 0xF0 ? takeSequence<4>(at, bounds, result)
                                           : takeOne(at, bounds, result))) {
                        return at;
                    }
                } while (*at.from >= 0x80 && at.from - begin < kUnits - 4);
            }
        }
        return at;
    }
};

} // namespace

ConversionResult ConvertUTF8toUTF16(const UTF8** source, const UTF8* sourceEnd, UTF16** target,
                                    UTF16* targetEnd, ConversionFlags flags)
{
    return convert<FromUTF8>(source, sourceEnd, target, targetEnd, flags);
}

ConversionResult ConvertUTF8toUTF32(const UTF8** source, const UTF8* sourceEnd, UTF32** target,
                                    UTF32* targetEnd, ConversionFlags flags)
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
