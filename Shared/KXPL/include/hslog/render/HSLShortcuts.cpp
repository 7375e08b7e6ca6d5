#include "HSLShortcuts.h"

#include "HSLDigits.h"
#include "HSLStringify.h"

#include "KxShortBytes.h"

namespace HSL {
namespace {

constexpr std::size_t kLongestNumber = kMostDigits + 1; // and a sign
constexpr unsigned int kOctal = 3;
constexpr unsigned int kHexadecimal = 4;

// The size of the integer that a conversion with these length letters shows; 0 for anything else.
std::size_t shownSize(const char* letters, std::size_t count)
{
    switch (count) {
    case 0:
        return sizeof(int);
    case 1:
        return letters[0] == 'h' ? sizeof(short) : (letters[0] == 'l' ? sizeof(long) : 0);
    case 2:
        if (letters[0] != letters[1]) {
            return 0;
        }
        return letters[0] == 'h' ? sizeof(char) : (letters[0] == 'l' ? sizeof(long long) : 0);
    default:
        return 0;
    }
}

unsigned long long withoutUpperBits(unsigned long long bits, std::size_t size)
{
    return size == sizeof bits ? bits : bits & ((1ull << (8 * size)) - 1);
}

char* putSigned(char* to, unsigned long long bits, std::size_t size)
{
    const unsigned long long shown = withoutUpperBits(bits, size);
    const unsigned long long sign = 1ull << (8 * size - 1);
    if ((shown & sign) == 0) {
        return putDecimal(to, shown);
    }
    *to++ = '-';
    return putDecimal(to, withoutUpperBits(0 - shown, size));
}

// Returns the position behind the number, or null for a letter that is not known.
char* putInteger(char* to, char letter, unsigned long long bits, std::size_t size)
{
    switch (letter) {
    case 'd':
    case 'i':
        return putSigned(to, bits, size);
    case 'u':
        return putDecimal(to, withoutUpperBits(bits, size));
    case 'x':
        return putPowerOfTwo(to, withoutUpperBits(bits, size), kHexadecimal, "0123456789abcdef");
    case 'X':
        return putPowerOfTwo(to, withoutUpperBits(bits, size), kHexadecimal, "0123456789ABCDEF");
    case 'o':
        return putPowerOfTwo(to, withoutUpperBits(bits, size), kOctal, "01234567");
    default:
        return nullptr;
    }
}

// A zero byte ends the piece, so it adds nothing.
char* putCharacter(char* to, unsigned long long bits)
{
    *to = static_cast<char>(bits);
    return *to != 0 ? to + 1 : to;
}

} // namespace

bool appendInteger(TextBuffer& text, const Piece& piece, unsigned long long bits, std::size_t size)
{
    const char letter = piece.text[piece.length - 1];
    const std::size_t lengthLetters = piece.length - piece.percent - 2;
    const std::size_t shown = shownSize(piece.text + piece.percent + 1, lengthLetters);
    if (shown == 0 || shown > size || piece.percent > kLongestPiece - kLongestNumber) {
        return false;
    }
    char* begin = text.Room(piece.percent + kLongestNumber);
    KXPL::copyShort(begin, piece.text, piece.percent);
    char* number = begin + piece.percent;
    const char* end = letter == 'c' && lengthLetters == 0 ? putCharacter(number, bits)
                                                          : putInteger(number, letter, bits, shown);
    if (end == nullptr) {
        return false;
    }
    text.Add(static_cast<std::size_t>(end - begin));
    return true;
}

bool appendString(TextBuffer& text, const Piece& piece, const char* string, std::size_t length)
{
    if (piece.length - piece.percent != 2 || piece.text[piece.length - 1] != 's') {
        return false;
    }
    const std::size_t shown = KXPL::lengthUpToZero(string, length);
    if (piece.percent > kLongestPiece || shown > kLongestPiece - piece.percent) {
        return false;
    }
    char* room = text.Room(piece.percent + shown);
    KXPL::copyShort(room, piece.text, piece.percent);
    KXPL::copyShort(room + piece.percent, string, shown);
    text.Add(piece.percent + shown);
    return true;
}

bool appendLiteral(TextBuffer& text, const char* literal, std::size_t length)
{
    if (KXPL::lengthUpTo(literal, length, '%') != length) {
        return false;
    }
    text.Append(literal, length < kLongestPiece ? length : kLongestPiece);
    return true;
}

} // namespace HSL
