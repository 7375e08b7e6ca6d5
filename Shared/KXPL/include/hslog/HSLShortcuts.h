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
//   value                     conversions
//   an int (size 4)           d i u x X o, all with h or hh as well; c
//   64 bits (size 8)          the same, which show the low 32 bits, and with ll; with l where a long has 64
//   bits a long (size of a long)   those of an int, and with l; with ll where a long has 64 bits a string s
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
