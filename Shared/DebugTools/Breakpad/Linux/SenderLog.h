// The log that a crashed host left beside its dump, as text.
#ifndef FALLCATCH_BREAKPAD_SENDER_LOG_H
#define FALLCATCH_BREAKPAD_SENDER_LOG_H

#include "SenderReport.h"

#include "hslog/crash/LeaveOut.h"

#include <cstddef>
#include <string>

namespace BreakpadLinux {

constexpr std::size_t kUsualLogBytes = 262144;
// A file of more is none that a host of this kind writes: rings of some hundred threads.
constexpr std::size_t kLargestLogFile = 1u << 30;

// Plain UTF-8 text of what the file holds, at most `newest` bytes and some lines about what is missing. The
// file may be damaged or made up: whatever it is, the text says so. Messages that are to be left out are left out
// before anything else looks at them.
std::string TextOfLog(const std::string& file, std::size_t newest,
                      const HSL::CrashLog::LeaveOut& leaveOut = {});

// Makes the text of the report's log a file of the form, unless there is no log or the host wants none sent.
void AddLog(const StoredReport& report, Submission& submission);

// The value of "FallcatchLogBytes" as a number of bytes: the default for what is none, at least 1,024 and at
// most 64 MiB.
std::size_t LogBytesFrom(const std::string& text);

} // namespace BreakpadLinux

#endif
