#include "HSLStringify.h"

#include <cstdarg>
#include <cstdio>
#include <cstring>

namespace HSL {
namespace {

char gOutputBuffer[kLongestPiece + 1];

} // namespace

bool gShortcuts = true;

void appendFormatted(TextBuffer& text, const char* format, ...)
{
    va_list values;
    va_start(values, format);
    // What it refuses it may have written in part, or not at all; and C17 7.21.6.12 promises no terminator then.
    gOutputBuffer[0] = 0;
    static_cast<void>(std::vsnprintf(gOutputBuffer, sizeof gOutputBuffer, format, values));
    gOutputBuffer[kLongestPiece] = 0;
    va_end(values);
    text.Append(gOutputBuffer, std::strlen(gOutputBuffer));
}

} // namespace HSL
