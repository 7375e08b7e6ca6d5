// Renders the simplest and most frequent pieces without the C library's formatter.
#ifndef HSLOG_HSL_SHORTCUTS_H
#define HSLOG_HSL_SHORTCUTS_H

#include "HSLFormatPieces.h"
#include "HSLTextBuffer.h"

#include <cstddef>

namespace HSL {

// Each appends exactly what vsnprintf makes of the piece, cut at its first zero byte, or returns false and
// appends nothing: then the piece is not one of those that are known here, and the C library has to render it.
// None of them looks for a zero byte in the piece itself, so there must be none.
//
// Known are pieces of any literal text and one conversion without flags, width and precision:
//
//  - of an int (4 bytes): d i u x X o, as they are and with h or hh, and c;
//  - of a 64-bit value: the same, which show its low 32 bits, and with ll; with l where a long has 64 bits;
//  - of a long: those of an int, and with l; with ll where a long has 64 bits;
//  - of a string: s.
//
// A conversion wider than its value reads something that nobody passed, so it is left to the C library, and so
// is one that takes an integer for an address or a number for text.

// `bits` is the value, sign-extended if its type is signed; `size` is that of the argument that a call of the
// formatter would pass.
bool appendInteger(TextBuffer& text, const Piece& piece, unsigned long long bits, std::size_t size);

// The string ends at its first zero byte, or after `length` bytes.
bool appendString(TextBuffer& text, const Piece& piece, const char* string, std::size_t length);

// A piece without a conversion and without any "%".
bool appendLiteral(TextBuffer& text, const char* literal, std::size_t length);

} // namespace HSL

#endif
