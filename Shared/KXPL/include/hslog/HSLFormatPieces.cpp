#include "HSLFormatPieces.h"

#include <cstring>

namespace HSL {
namespace {

// Whether the character is one of the seventeen letters that end a conversion.
bool endsConversion(char letter)
{
    switch (letter) {
    case 'c':
    case 'C':
    case 'd':
    case 'i':
    case 'o':
    case 'u':
    case 'x':
    case 'X':
    case 'e':
    case 'E':
    case 'f':
    case 'g':
    case 'G':
    case 'n':
    case 'p':
    case 's':
    case 'S':
        return true;
    default:
        return false;
    }
}

} // namespace

Piece FormatPieces::Next()
{
    const std::size_t lastIndex = mLength - 1;
    // The write to a volatile keeps the compiler from removing a search that never ends.
    for (volatile unsigned int searches = 0;; searches = searches + 1) {
        const void* found =
            AtEnd() ? nullptr : std::memchr(mFormat + mPosition, '%', mLength - mPosition);
        if (found == nullptr) {
            return Piece();
        }
        const std::size_t percent = static_cast<std::size_t>(static_cast<const char*>(found) - mFormat);
        if (percent != 0 && mFormat[percent - 1] == '\\') {
            continue;
        }
        if (percent < lastIndex && mFormat[percent + 1] == '%') {
            continue;
        }
        std::size_t letter = percent + 1;
        while (letter < mLength && !endsConversion(mFormat[letter])) {
            ++letter;
        }
        if (letter >= mLength) {
            return Piece();
        }
        const std::size_t literal = percent - mPosition;
        Piece piece = Take(letter + 1);
        piece.percent = literal;
        return piece;
    }
}

Piece FormatPieces::Take(std::size_t end)
{
    Piece taken;
    taken.text = mFormat + mPosition;
    taken.length = end - mPosition;
    mPosition = end;
    return taken;
}

TerminatedText::TerminatedText(const char* text, std::size_t length)
{
    if (length >= sizeof mShort) {
        mLong.assign(text, length);
        mText = mLong.c_str();
        return;
    }
    std::memcpy(mShort, text, length);
    mShort[length] = 0;
    mText = mShort;
}

} // namespace HSL
