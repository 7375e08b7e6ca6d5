// The one place where a format that is known only at run time meets the C library's formatter.
#ifndef HSLOG_HSL_STRINGIFY_H
#define HSLOG_HSL_STRINGIFY_H

#include "HSLTextBuffer.h"

#include <cstddef>

namespace HSL {

// Pieces are cut at this length.
constexpr std::size_t kLongestPiece = 65535;

// Appends what vsnprintf makes of the format and the values, up to its first zero byte and at most 65,535
// bytes; nothing where vsnprintf fails. Only during a collection pass, under the manager's lock: the buffer
// behind it is shared by the whole module.
void appendFormatted(TextBuffer& text, const char* format, ...);

// Whether pieces that are simple enough are written without the C library. The texts are the same either way;
// the tests, which compare the two, turn it off.
extern bool gShortcuts;

} // namespace HSL

#endif
