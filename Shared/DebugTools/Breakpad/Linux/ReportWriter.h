// Writes the report beside the dump, in the crashed process.
#ifndef FALLCATCH_BREAKPAD_REPORT_WRITER_H
#define FALLCATCH_BREAKPAD_REPORT_WRITER_H

#include <ctime>
#include <string>

namespace BreakpadLinux {

// Writes pairs, the times of the crash and the last line to <guid>.report beside the dump <guid>.dmp; the file
// appears under that name only once it is whole. Nothing but system calls, and no stack to speak of.
//
// Returns the file's path, in memory that lasts, or null when it could not be written; then nothing of it is
// left.
const char* WriteReport(const char* dump, const std::string& pairs, time_t start);

} // namespace BreakpadLinux

#endif
