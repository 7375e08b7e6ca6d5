// Whether a piece of a format may be handed to the C library with the value that a record holds for it. For
// whoever renders records whose formats or bytes are not the program's own.
//
// The rules are those by which the compiler checks formats (HSLFormatRules.h), and a little wider: a conversion
// may read fewer bytes of an integer than were handed over, as the renderer's own conversions of a long and a
// pointer do. Whether the search for a piece ends is FormatPieces::Seek's to tell.
#ifndef HSLOG_HSL_PIECE_CHECK_H
#define HSLOG_HSL_PIECE_CHECK_H

#include "HSLFormatPieces.h"
#include "hslog/detail/HSLFormatRules.h"

#include <cstddef>

namespace HSL {

// Of a piece from FormatPieces and a value with one of the tags 4 to 18. Anything but kNone: the C library
// would read what was not handed over, write to memory, or spend more time and memory than any line is worth.
FormatCheck::Problem problemOf(const Piece& piece, unsigned char tag);

// Of a text that is a format without values, up to its first zero byte. kNone: each "%" in it stands for
// itself, with another one behind it or at the very end.
FormatCheck::Problem problemOfLiteral(const char* text, std::size_t length);

} // namespace HSL

#endif
