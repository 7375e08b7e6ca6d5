// Cuts a printf-style format into pieces of one conversion each.
#ifndef HSLOG_HSL_FORMAT_PIECES_H
#define HSLOG_HSL_FORMAT_PIECES_H

#include <cstddef>
#include <string>

namespace HSL {

// A part of a format, not terminated.
struct Piece {
    const char* text = "";
    std::size_t length = 0;
    std::size_t percent = 0; // where the conversion that ends the piece begins; unused if there is none
};

class FormatPieces {
public:
    // The text stays the caller's and must outlive the object.
    FormatPieces(const char* format, std::size_t length)
        : mFormat(format)
        , mLength(length)
    {
    }

    enum Found {
        kPiece,
        kNoMore,
        kEndless // a conversion that looks escaped (a "%" behind a backslash, or a doubled one)
    };

    // Sets the piece to the text up to and including the next conversion, where there is one.
    Found Seek(Piece& piece);

    // The same; false when there is none left. What looks escaped sends the search back to where it began, so
    // that it never returns.
    bool Next(Piece& piece);

    // Sets the piece to everything not yet taken.
    void Rest(Piece& piece) { Take(piece, mLength, 0); }

    bool AtEnd() const { return mPosition >= mLength; }

private:
    void Take(Piece& piece, std::size_t end, std::size_t percent);

    const char* mFormat;
    std::size_t mLength;
    std::size_t mPosition = 0;
};

// A piece as the C library wants it, with a terminator.
class TerminatedText {
public:
    TerminatedText(const char* text, std::size_t length);

    TerminatedText(const TerminatedText&) = delete;
    TerminatedText& operator=(const TerminatedText&) = delete;

    const char* Get() const { return mText; }

private:
    char mShort[128];
    std::string mLong; // only for a text that does not fit there
    const char* mText;
};

} // namespace HSL

#endif
