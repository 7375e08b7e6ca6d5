// Numbers as text, without the C library.
#ifndef HSLOG_HSL_DIGITS_H
#define HSLOG_HSL_DIGITS_H

#include <cstddef>
#include <cstring>

namespace HSL {

// The longest number: 64 bits in octal.
constexpr std::size_t kMostDigits = 22;

// "00" to "99", one behind the other.
extern const char kTwoDigits[201];

// A number from 0 to 99 as two digits. Returns the position behind them.
inline char* putTwoDigits(char* to, unsigned int number)
{
    std::memcpy(to, kTwoDigits + 2 * number, 2);
    return to + 2;
}

// A number from 0 to 999,999 as six digits. Returns the position behind them.
inline char* putSixDigits(char* to, unsigned int number)
{
    to = putTwoDigits(to, number / 10000);
    to = putTwoDigits(to, number / 100 % 100);
    return putTwoDigits(to, number % 100);
}

// How many decimal digits the number has, at least one.
inline std::size_t decimalDigits(unsigned int number)
{
    std::size_t digits = 1;
    for (;; digits += 4, number /= 10000) {
        if (number < 10) {
            return digits;
        }
        if (number < 100) {
            return digits + 1;
        }
        if (number < 1000) {
            return digits + 2;
        }
        if (number < 10000) {
            return digits + 3;
        }
    }
}

// Writes the number so that it ends right in front of `end`. Returns where it begins.
inline char* putDecimalInFrontOf(char* end, unsigned int number)
{
    while (number >= 100) {
        end -= 2;
        putTwoDigits(end, number % 100);
        number /= 100;
    }
    if (number < 10) {
        *--end = static_cast<char>('0' + number);
        return end;
    }
    putTwoDigits(end - 2, number);
    return end - 2;
}

// The number in decimal. Returns the position behind it.
inline char* putDecimal(char* to, unsigned int number)
{
    char* end = to + decimalDigits(number);
    putDecimalInFrontOf(end, number);
    return end;
}

char* putDecimal(char* to, unsigned long long number);

// The number with 2 to the power of `bits` as its base: 3 for octal, 4 for hexadecimal. The digits are
// characters of `alphabet`. Returns the position behind it.
char* putPowerOfTwo(char* to, unsigned long long number, unsigned int bits, const char* alphabet);

} // namespace HSL

#endif
