#include "HSLStringify.h"

#include <cstdarg>
#include <cstdio>

namespace HSL {
namespace {

char gOutputBuffer[65536];

} // namespace

std::string stringify(bool enabled, const char* format, ...)
{
    if (!enabled) {
        return std::string();
    }
    // A formatter that fails keeps what it wrote in front of the fault, or leaves the buffer as it was.
    gOutputBuffer[0] = 0;
    va_list values;
    va_start(values, format);
    std::vsnprintf(gOutputBuffer, sizeof gOutputBuffer, format, values);
    va_end(values);
    return gOutputBuffer;
}

} // namespace HSL
