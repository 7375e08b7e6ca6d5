// The one place where a format that is known only at run time meets the C library's formatter.
#ifndef HSLOG_HSL_STRINGIFY_H
#define HSLOG_HSL_STRINGIFY_H

#include "HSLTextBuffer.h"

#include <cstddef>

namespace HSL {

// Pieces are cut at this length.
constexpr std::size_t kLongestPiece = 65535;

// The line header's and the renderer's stringify: appends what vsnprintf makes of the format and the values, up to its
// first zero byte and at most 65,535 bytes. Whether vsnprintf reports an error is not looked at: of a piece that it
// refuses, what it wrote before stays, and never anything of an earlier piece.
//
// One function for both users and no std::string between: they share the one buffer, this is the one source that is
// compiled to take formats that only the run knows, and a line is built without an allocation. Only during a
// collection pass, under the manager's lock: the buffer is shared by the whole module.
void appendFormatted(TextBuffer& text, const char* format, ...);

// Whether pieces that are simple enough are written without the C library. The texts are the same either way;
// the tests, which compare the two, turn it off.
extern bool gShortcuts;

} // namespace HSL

#endif
