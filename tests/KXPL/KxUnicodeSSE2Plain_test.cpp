// The operations for processors without SSE2 against SSE2's own.
#if defined(__SSE2__)
#include "unicode/KxUnicodeSSE2Plain.h"

#include <gtest/gtest.h>

#include <emmintrin.h>

#include <random>

namespace {

namespace Plain = KXPL::SSE2Plain;

class SSE2Plain : public testing::Test {
protected:
    // Ends of the ranges come as often as all the rest.
    Plain::M128i RandomLanes()
    {
        static const std::int16_t kEnds[] = { 0, 1, -1, 127, 128, 255, 256, -128, -129, 32767, -32768, -256 };
        std::int16_t units[8];
        for (std::int16_t& unit : units) {
            const auto bits = static_cast<unsigned int>(mRandom());
            unit = bits % 2 == 0 ? kEnds[bits / 2 % 12] : static_cast<std::int16_t>(bits >> 16);
        }
        Plain::M128i lanes;
        std::memcpy(&lanes, units, sizeof lanes);
        return lanes;
    }

    template <typename Ours, typename Theirs> void ExpectSameOfTwo(Ours ours, Theirs theirs)
    {
        for (int i = 0; i < 2000; ++i) {
            const Plain::M128i first = RandomLanes();
            const Plain::M128i second = RandomLanes();
            ExpectEqual(ours(first, second), theirs((__m128i)first, (__m128i)second));
        }
    }

    static void ExpectEqual(Plain::M128i ours, __m128i theirs)
    {
        EXPECT_EQ(std::memcmp(&ours, &theirs, sizeof ours), 0);
    }

private:
    std::mt19937 mRandom { 18 };
};

} // namespace

TEST_F(SSE2Plain, NarrowsLanesAsSSE2Does)
{
    ExpectSameOfTwo(Plain::_mm_packs_epi16, [](__m128i a, __m128i b) { return ::_mm_packs_epi16(a, b); });
    ExpectSameOfTwo(Plain::_mm_packs_epi32, [](__m128i a, __m128i b) { return ::_mm_packs_epi32(a, b); });
    ExpectSameOfTwo(Plain::_mm_packus_epi16, [](__m128i a, __m128i b) { return ::_mm_packus_epi16(a, b); });
}

TEST_F(SSE2Plain, InterleavesLanesAsSSE2Does)
{
    ExpectSameOfTwo(Plain::_mm_unpacklo_epi8, [](__m128i a, __m128i b) { return ::_mm_unpacklo_epi8(a, b); });
    ExpectSameOfTwo(Plain::_mm_unpackhi_epi8, [](__m128i a, __m128i b) { return ::_mm_unpackhi_epi8(a, b); });
    ExpectSameOfTwo(Plain::_mm_unpacklo_epi16, [](__m128i a, __m128i b) { return ::_mm_unpacklo_epi16(a, b); });
    ExpectSameOfTwo(Plain::_mm_unpackhi_epi16, [](__m128i a, __m128i b) { return ::_mm_unpackhi_epi16(a, b); });
}

TEST_F(SSE2Plain, CollectsBitsAsSSE2Does)
{
    for (int i = 0; i < 2000; ++i) {
        const Plain::M128i lanes = RandomLanes();
        EXPECT_EQ(Plain::_mm_movemask_epi8(lanes), ::_mm_movemask_epi8((__m128i)lanes));
    }
}
#endif
