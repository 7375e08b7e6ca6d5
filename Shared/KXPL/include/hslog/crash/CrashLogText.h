// Makes text of a crash log.
#ifndef HSLOG_CRASH_CRASH_LOG_TEXT_H
#define HSLOG_CRASH_CRASH_LOG_TEXT_H

#include "LeaveOut.h"

#include <cstddef>
#include <string>

namespace HSL {
namespace CrashLog {

struct TextOptions {
    bool mWithHidden = false; // also what the filter hides
    bool mAsJson = false;     // an object a line
    LeaveOut mLeaveOut;       // what is shown as "<LEFT OUT>"
    std::size_t mNewest = 0;  // bytes of lines, cut at a line with one in front that says so; 0: all
};

struct CrashLogText {
    bool mIsLog = false;
    std::string mWhy;   // if not
    std::string mLines; // bytes as the program logged them; JSON is UTF-8
    // What became of the rest: a line each, without JSON's form; the first one sums up.
    std::string mNotes;
    bool mIsDamaged = false;
};

// The lines as the plain callback would have got them, in the order of their numbers. Texts of wide characters
// take the form that the C library's locale gives them. Uses the renderer's own buffers: not in a process that
// runs a collection pass, nor on two threads at once. May run out of memory (std::bad_alloc), after some 100
// bytes for each of the file's.
CrashLogText textOf(const std::string& file, const TextOptions& options);

// Replaces what is no UTF-8.
std::string asUtf8(const std::string& text);

// As a string of JSON, quotes included.
void appendEscaped(std::string& json, const std::string& text);

} // namespace CrashLog
} // namespace HSL

#endif
