// How a line looks: plain text by a pattern, or a JSON object.
#ifndef HSLOG_HSL_LAYOUT_H
#define HSLOG_HSL_LAYOUT_H

#include "HSLSink.h"

#include <ctime>
#include <memory>
#include <string>
#include <vector>

namespace HSL {
namespace Sinks {

// Appends a line with its newline. One object belongs to one sink.
class Layout {
public:
    virtual ~Layout() = default;
    // Lines come one after the other, on the collection thread.
    virtual void Append(std::string& to, const Line& line) = 0;
};

// {date} 2026-11-22, {time} 14:03:07.250000, {zone} +01:00, {level}, {category}, {thread}, {number}, {source}
// file:line, {function}, {message}; {indent} is "|  " for each step of depth. {level:7} fills with blanks up to 7
// characters. {colour} and {plain} switch the level's colour on and off where colours are wanted. Other braces mean
// themselves. Date and time are local.
extern const char kUsualPattern[];

// hasColours: whether {colour} and {plain} mean anything.
std::unique_ptr<Layout> MakePatternLayout(const char* pattern = kUsualPattern, bool hasColours = false);

// Names of an object's members; an empty one is left out.
struct JsonNames {
    std::string mTime = "timestamp";    // RFC 3339, UTC, with microseconds
    std::string mLevel = "level";       // "Info"
    std::string mMessage = "message";   // without the place of the call
    std::string mThread = "thread";     // the context's name
    std::string mCategory = "category"; // left out when empty, like the three below
    std::string mNumber = "number";     // the sequence number
    std::string mFile = "file";         // the place of the call, if it told it
    std::string mLine = "line";         // likewise
    std::string mFunction = "function"; // likewise

    // The names that the data model of OpenTelemetry gives the fields of a log record.
    static JsonNames OpenTelemetry();
};

// One object a line, as RFC 8259 has it. Bytes that are no UTF-8 become U+FFFD.
std::unique_ptr<Layout> MakeJsonLayout(const JsonNames& names = JsonNames());

// Appends a text as a JSON string, in its quotes.
void AppendJson(std::string& to, std::string_view text);

} // namespace Sinks
} // namespace HSL

#endif
