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
    const int length = std::vsnprintf(gOutputBuffer, sizeof gOutputBuffer, format, values);
    va_end(values);
    if (length >= 0) {
        text.Append(gOutputBuffer, std::strlen(gOutputBuffer));
    }
}

} // namespace HSL
