// Operations of SSE2 for processors without it, by the names and with the results that Intel's Intrinsics Guide
// gives. Lanes are in memory order, which is that of a little-endian processor.
#ifndef KXPL_KX_UNICODE_SSE2_PLAIN_H
#define KXPL_KX_UNICODE_SSE2_PLAIN_H

#include <cstdint>
#include <cstring>
#include <type_traits>

namespace KXPL {
namespace SSE2Plain {

using Signed8 [[gnu::vector_size(16)]] = signed char;
using Signed16 [[gnu::vector_size(16)]] = std::int16_t;
using Signed32 [[gnu::vector_size(16)]] = std::int32_t;
using Unsigned32 [[gnu::vector_size(16)]] = std::uint32_t;
using Half8 [[gnu::vector_size(8)]] = signed char;
using Half16 [[gnu::vector_size(8)]] = std::int16_t;
using M128i [[gnu::vector_size(16)]] = long long;

// Each lane of both, held to what the narrower one can hold; those of the first come first.
template <typename Half, typename Narrow, typename Wide>
M128i narrowed(Wide first, Wide second, int least, int largest)
{
    using Unit = std::remove_reference_t<decltype(first[0])>;
    const auto held = [=](Wide lanes) {
        const Wide low = Wide {} + static_cast<Unit>(least);
        const Wide high = Wide {} + static_cast<Unit>(largest);
        const Wide isLow = (Wide)(lanes < low);
        const Wide isHigh = (Wide)(lanes > high);
        return __builtin_convertvector((isLow & low) | (isHigh & high) | (~isLow & ~isHigh & lanes), Half);
    };
    const Half halves[] = { held(first), held(second) };
    Narrow both;
    std::memcpy(&both, halves, sizeof both);
    return (M128i)both;
}

inline M128i _mm_packs_epi16(M128i first, M128i second)
{
    return narrowed<Half8, Signed8>((Signed16)first, (Signed16)second, -128, 127);
}

inline M128i _mm_packs_epi32(M128i first, M128i second)
{
    return narrowed<Half16, Signed16>((Signed32)first, (Signed32)second, -32768, 32767);
}

inline M128i _mm_packus_epi16(M128i first, M128i second)
{
    return narrowed<Half8, Signed8>((Signed16)first, (Signed16)second, 0, 255);
}

// Lanes of both in turn: those of the lower halves, or of the upper.
template <typename Lanes> M128i interleaved(Lanes first, Lanes second, unsigned int start)
{
    constexpr unsigned int kHalf = sizeof(Lanes) / sizeof(first[0]) / 2;
    Lanes out {};
    for (unsigned int i = 0; i < kHalf; ++i) {
        out[2 * i] = first[start * kHalf + i];
        out[2 * i + 1] = second[start * kHalf + i];
    }
    return (M128i)out;
}

inline M128i _mm_unpacklo_epi8(M128i first, M128i second)
{
    return interleaved((Signed8)first, (Signed8)second, 0);
}

inline M128i _mm_unpackhi_epi8(M128i first, M128i second)
{
    return interleaved((Signed8)first, (Signed8)second, 1);
}

inline M128i _mm_unpacklo_epi16(M128i first, M128i second)
{
    return interleaved((Signed16)first, (Signed16)second, 0);
}

inline M128i _mm_unpackhi_epi16(M128i first, M128i second)
{
    return interleaved((Signed16)first, (Signed16)second, 1);
}

// The highest bit of each byte, the first byte's lowest.
inline int _mm_movemask_epi8(M128i bytes)
{
    const Signed8 highest = (Signed8)((Signed8)bytes < 0);
    std::uint64_t halves[2];
    std::memcpy(halves, &highest, sizeof halves);
    unsigned int bits = 0;
    for (int i = 0; i < 2; ++i) {
        // Byte k keeps bit k alone, and the product's highest byte sums them all.
        const std::uint64_t sum = (halves[i] & 0x8040201008040201) * 0x0101010101010101 >> 56;
        bits |= static_cast<unsigned int>(sum) << (8 * i);
    }
    return static_cast<int>(bits);
}

} // namespace SSE2Plain

#if !defined(__SSE2__)
using __m128i = SSE2Plain::M128i; // as <emmintrin.h> names it
#endif

} // namespace KXPL

#endif
