// Conversion to the 32-bit Duration.
#include "KxTime.h"

#include <gtest/gtest.h>

#include <climits>
#include <random>
#include <string>

namespace {

constexpr long long kSecond = 1000000;
constexpr long long kThreshold = 262143; // seconds; spans above it become milliseconds

int durationOf(long long microseconds)
{
    KxTime time;
    time.mMicroseconds = microseconds;
    return ConvertKxTimeToMacDuration(time);
}

// The number between -2^31 and 2^31 - 1 that differs from this one by a multiple of 2^32. Exact, without
// conversions that depend on the compiler.
long long wrapped(long long number)
{
    const long long modulus = 4294967296LL;
    const long long rest = ((number % modulus) + modulus) % modulus;
    return rest >= modulus / 2 ? rest - modulus : rest;
}

long long expectedDuration(long long microseconds)
{
    if (wrapped(microseconds / kSecond) <= kThreshold) {
        return wrapped(-wrapped(microseconds));
    }
    // The same as milliseconds, which the two parts add up to.
    return wrapped(wrapped(microseconds / kSecond) * 1000 + (microseconds % kSecond) / 1000);
}

void expectAsComputed(long long microseconds)
{
    EXPECT_EQ(durationOf(microseconds), expectedDuration(microseconds)) << microseconds;
}

} // namespace

TEST(KxTimeDuration, InfiniteIsForeverWhateverItsCount)
{
    for (const long long count : { 0LL, 1LL, -1LL, 1500000LL, LLONG_MAX, LLONG_MIN }) {
        KxTime time;
        time.mIsInfinite = true;
        time.mMicroseconds = count;
        EXPECT_EQ(ConvertKxTimeToMacDuration(time), 0x7FFFFFFF) << count;
    }
}

TEST(KxTimeDuration, NothingIsImmediate)
{
    EXPECT_EQ(durationOf(0), 0);
}

TEST(KxTimeDuration, ShortSpanBecomesNegativeMicroseconds)
{
    EXPECT_EQ(durationOf(1), -1);
    EXPECT_EQ(durationOf(1500000), -1500000);
    EXPECT_EQ(durationOf(2147483647), -2147483647);
    EXPECT_EQ(durationOf(2147483648), INT_MIN);
}

TEST(KxTimeDuration, SpanThatDoesNotFitWraps)
{
    EXPECT_EQ(durationOf(2147483649), 2147483647);
    EXPECT_EQ(durationOf(4294967296), 0);
    EXPECT_EQ(durationOf(4294967297), -1);
}

TEST(KxTimeDuration, ThresholdItselfStillWrapsAsMicroseconds)
{
    EXPECT_EQ(durationOf(262143 * kSecond), -149994944);
    EXPECT_EQ(durationOf(262143 * kSecond + 999999), -149994944 - 999999);
}

TEST(KxTimeDuration, AboveTheThresholdAreMilliseconds)
{
    EXPECT_EQ(durationOf(262144 * kSecond), 262144000);
    EXPECT_EQ(durationOf(262144 * kSecond + 500), 262144000);
    EXPECT_EQ(durationOf(262144 * kSecond + 999), 262144000);
    EXPECT_EQ(durationOf(262144 * kSecond + 1000), 262144001);
    EXPECT_EQ(durationOf(300000 * kSecond + 999999), 300000999);
}

TEST(KxTimeDuration, MillisecondsWrapToo)
{
    EXPECT_EQ(durationOf(2147483 * kSecond + 647999), 2147483647);
    EXPECT_EQ(durationOf(2147483 * kSecond + 648000), INT_MIN);
    EXPECT_EQ(durationOf(2147483647 * kSecond), -1000);
}

TEST(KxTimeDuration, SecondsBeyond32BitsAreCutBeforeTheyAreCompared)
{
    // 2^31 seconds count as -2^31, which is below the threshold.
    EXPECT_EQ(durationOf(2147483648 * kSecond + 5), -5);
    // 2^32 + 5 seconds count as 5.
    EXPECT_EQ(durationOf(4294967301 * kSecond), -5000000);
    // 2^32 + 300000 seconds count as 300000.
    EXPECT_EQ(durationOf((4294967296 + 300000) * kSecond + 7000), 300000007);
}

TEST(KxTimeDuration, NegativeSpanComesOutPositive)
{
    EXPECT_EQ(durationOf(-1), 1);
    EXPECT_EQ(durationOf(-1500000), 1500000);
    EXPECT_EQ(durationOf(-2147483647), 2147483647);
    EXPECT_EQ(durationOf(-2147483648), INT_MIN);
    EXPECT_EQ(durationOf(-300000 * kSecond), wrapped(300000 * kSecond));
}

TEST(KxTimeDuration, EveryThresholdAgreesWithTheFormula)
{
    for (const long long seconds : { 0LL, 1LL, 2147LL, 2148LL, 4294LL, 4295LL, 262142LL, 262143LL, 262144LL,
                                     2147483LL, 2147484LL, 2147483647LL, 2147483648LL, 4294967295LL,
                                     4294967296LL, 4294967296LL + 262143, 4294967296LL + 262144 }) {
        for (const long long rest : { -999999LL, -1000LL, -999LL, -1LL, 0LL, 1LL, 999LL, 1000LL, 999999LL }) {
            expectAsComputed(seconds * kSecond + rest);
            expectAsComputed(-seconds * kSecond + rest);
        }
    }
    expectAsComputed(LLONG_MAX);
    expectAsComputed(LLONG_MIN);
}

TEST(KxTimeDuration, RandomSpansAgreeWithTheFormula)
{
    constexpr unsigned int kSeed = 3004;
    std::mt19937_64 random(kSeed);
    SCOPED_TRACE("seed " + std::to_string(kSeed));
    for (int i = 0; i < 300000; ++i) {
        // Of every size, not only of the largest.
        expectAsComputed(static_cast<long long>(random()) >> (random() % 63));
    }
}
