// Log calls in a source that has much else to inline, where a compiler's limits for a whole source make it leave
// small functions as calls.
#include "hslog/HSL.h"

#include <cstdio>
#include <regex>
#include <string>

std::size_t countMatches(const std::string& text, const std::string& pattern)
{
    const std::regex expression(pattern);
    const auto begin = std::sregex_iterator(text.begin(), text.end(), expression);
    return static_cast<std::size_t>(std::distance(begin, std::sregex_iterator()));
}

std::string replaceMatches(const std::string& text, const std::string& pattern, const std::string& with)
{
    return std::regex_replace(text, std::regex(pattern, std::regex::icase), with);
}

void logMuch(HSL::CLogContext& log, int i, const char* text, double real, short id, const void* place)
{
    log.Log(3, "%d %d %d %d", i, i, i, i);
    log.Log(3, "%d %s %d %s", i, text, i, text);
    log.Log(3, "%g %g %g %g", real, real, real, real);
    log.Log(3, id, i, text, real, place);
    log.Log(3, "%d %d %d %d %d", i, i, i, i, i);
    log.Log(3, "%d %s %d %s %g", i, text, i, text, real);
    log.Log(3, "%d %s %d %p %s", i, text, i, place, text);
    log.Log(3, id, i, text, real, place, i);
    log.Log(3, "%d %d %d %d %d %d", i, i, i, i, i, i);
    log.Log(3, "%d %s %d %s %g %g", i, text, i, text, real, real);
    log.Log(3, "%d %s %d %p %s %s", i, text, i, place, text, text);
    log.Log(3, id, i, text, real, place, i, text);
    log.Log(3, "%d %d %d %d %d %d %d", i, i, i, i, i, i, i);
    log.Log(3, "%d %s %d %s %g %g %d", i, text, i, text, real, real, i);
    log.Log(3, "%d %s %d %p %s %s %d", i, text, i, place, text, text, i);
    log.Log(3, id, i, text, real, place, i, text, real);
    log.Log(3, "%d %d %d %d %d %d %d %d", i, i, i, i, i, i, i, i);
    log.Log(3, "%d %s %d %s %g %g %d %d", i, text, i, text, real, real, i, i);
    log.Log(3, "%d %s %d %p %s %s %d %d", i, text, i, place, text, text, i, i);
    log.Log(3, id, i, text, real, place, i, text, real, place);
    log.Log(3, "%s %s %s %s %s %s %s %s", text, text, text, text, text, text, text, text);
    log.Log(3, "%g %g %g %g %g %g %g %g", real, real, real, real, real, real, real, real);
    log.Log(3, "%p %p %p %p %p %p %p %p", place, place, place, place, place, place, place, place);
    log.Log(3, id, i, i, i, i, text, text, text, text);
}

void logTenInts(HSL::CLogContext& log, int i)
{
    log.Log(3, "%d %d %d %d %d %d %d %d %d %d", i, i, i, i, i, i, i, i, i, i);
}
