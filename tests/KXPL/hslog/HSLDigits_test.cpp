// Numbers written by hand against the C library's.
#include "hslog/render/HSLDigits.h"

#include "RandomRounds.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <random>
#include <string>

namespace {

template <typename Number> std::string decimal(Number number)
{
    char text[HSL::kMostDigits];
    return std::string(text, HSL::putDecimal(text, number));
}

std::string printed(const char* format, unsigned long long number)
{
    char text[64];
    std::snprintf(text, sizeof text, format, number);
    return text;
}

void expectAsPrinted(unsigned long long number)
{
    char text[HSL::kMostDigits];
    const unsigned int low = static_cast<unsigned int>(number);
    ASSERT_EQ(decimal(number), printed("%llu", number));
    ASSERT_EQ(decimal(low), printed("%llu", low));
    ASSERT_EQ(HSL::decimalDigits(low), printed("%llu", low).size());
    ASSERT_EQ(std::string(text, HSL::putPowerOfTwo(text, number, 4, "0123456789abcdef")),
              printed("%llx", number));
    ASSERT_EQ(std::string(text, HSL::putPowerOfTwo(text, number, 3, "01234567")), printed("%llo", number));
}

} // namespace

TEST(Digits, TwoDigitsOfEveryNumber)
{
    for (unsigned int number = 0; number < 100; ++number) {
        char text[2];
        ASSERT_EQ(HSL::putTwoDigits(text, number), text + 2);
        EXPECT_EQ(std::string(text, 2), printed("%02llu", number));
    }
}

TEST(Digits, SixDigitsOfEveryNumber)
{
    for (unsigned int number = 0; number < 1000000; ++number) {
        char text[6];
        ASSERT_EQ(HSL::putSixDigits(text, number), text + 6);
        ASSERT_EQ(std::string(text, 6), printed("%06llu", number));
    }
}

TEST(Digits, NumberInFrontOfAPlaceEndsThere)
{
    for (const unsigned int number : { 0u, 9u, 10u, 99u, 100u, 999u, 1000u, 123456u, 4294967295u }) {
        char text[HSL::kMostDigits];
        char* const end = text + sizeof text;
        EXPECT_EQ(std::string(HSL::putDecimalInFrontOf(end, number), end), printed("%llu", number));
    }
}

TEST(Digits, NumbersAroundEveryPowerOfTwoAndTen)
{
    for (const unsigned long long base : { 2ull, 10ull }) {
        unsigned long long power = 1;
        for (int exponent = 0; exponent < 64; ++exponent, power *= base) {
            for (const unsigned long long number : { power - 1, power, power + 1, 0 - power }) {
                expectAsPrinted(number);
            }
        }
    }
}

TEST(Digits, RandomNumbersOfEveryLength)
{
    std::mt19937_64 random(6);
    for (long i = randomRounds(300000); i > 0; --i) {
        expectAsPrinted(random() >> random() % 64);
    }
}
