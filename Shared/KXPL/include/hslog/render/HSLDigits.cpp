#include "HSLDigits.h"

namespace HSL {

const char kTwoDigits[201] = "00010203040506070809"
                             "10111213141516171819"
                             "20212223242526272829"
                             "30313233343536373839"
                             "40414243444546474849"
                             "50515253545556575859"
                             "60616263646566676869"
                             "70717273747576777879"
                             "80818283848586878889"
                             "90919293949596979899";

char* putDecimal(char* to, unsigned long long number)
{
    constexpr unsigned long long kEightDigits = 100000000;
    if (number <= 0xFFFFFFFFu) {
        return putDecimal(to, static_cast<unsigned int>(number));
    }
    // At least 43 here, and at most 12 digits, so the recursion ends at once or after one more step.
    to = putDecimal(to, number / kEightDigits);
    const unsigned int low = static_cast<unsigned int>(number % kEightDigits);
    to = putTwoDigits(to, low / 1000000);
    return putSixDigits(to, low % 1000000);
}

char* putPowerOfTwo(char* to, unsigned long long number, unsigned int bits, const char* alphabet)
{
    unsigned int digits = 1;
    for (unsigned long long rest = number >> bits; rest != 0; rest >>= bits) {
        ++digits;
    }
    const unsigned long long mask = (1ull << bits) - 1;
    char* end = to + digits;
    for (char* at = end; at != to; number >>= bits) {
        *--at = alphabet[number & mask];
    }
    return end;
}

} // namespace HSL
