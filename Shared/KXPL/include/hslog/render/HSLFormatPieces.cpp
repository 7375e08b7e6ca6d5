#include "HSLFormatPieces.h"

#include "KxShortBytes.h"

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

// The look at a volatile keeps the compiler from removing the loop.
[[noreturn]] void searchForEver()
{
    const volatile unsigned int searches = 0;
    for (;;) {
        static_cast<void>(searches);
    }
}

} // namespace

FormatPieces::Found FormatPieces::Seek(Piece& piece)
{
    const std::size_t percent = mPosition + KXPL::lengthUpTo(mFormat + mPosition, mLength - mPosition, '%');
    if (percent == mLength) {
        return kNoMore;
    }
    std::size_t letter = percent + 1;
    const bool looksEscaped =
        (percent != 0 && mFormat[percent - 1] == '\\') || (letter < mLength && mFormat[letter] == '%');
    if (looksEscaped) {
        return kEndless;
    }
    while (letter < mLength && !endsConversion(mFormat[letter])) {
        ++letter;
    }
    if (letter == mLength) {
        return kNoMore;
    }
    Take(piece, letter + 1, percent - mPosition);
    return kPiece;
}

bool FormatPieces::Next(Piece& piece)
{
    const Found found = Seek(piece);
    if (found == kEndless) {
        searchForEver();
    }
    return found == kPiece;
}

void FormatPieces::Take(Piece& piece, std::size_t end, std::size_t percent)
{
    piece.text = mFormat + mPosition;
    piece.length = end - mPosition;
    piece.percent = percent;
    mPosition = end;
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
