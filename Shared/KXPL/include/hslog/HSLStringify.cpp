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
    va_list values;
    va_start(values, format);
    const int length = std::vsnprintf(gOutputBuffer, sizeof gOutputBuffer, format, values);
    va_end(values);
    return length < 0 ? std::string() : std::string(gOutputBuffer);
}

} // namespace HSL
