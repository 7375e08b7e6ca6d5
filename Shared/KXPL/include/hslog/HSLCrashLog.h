// The log in a crash: what no pass has output yet, and what was output last, saved for a healthy process to
// render.
//
//     HSL::KeepLines();                             // once, before Initialize
//     FallcatchBreakpadSetLogWriter(HSL::WriteCrashLog);
//
// Any other crash reporter's callback may call WriteCrashLog with a file of its own. `fallcatch_log FILE`
// prints the lines. docs/crash-log.md tells what is promised.
#ifndef HSLOG_HSL_CRASH_LOG_H
#define HSLOG_HSL_CRASH_LOG_H

#include "../detail/KxHost.h"

namespace HSL {

// Writes the module's pending records, registered formats and kept lines to a file that is open for writing.
//
// For signal handlers and for a child that was forked in one: takes no lock, allocates nothing, needs about
// 1,500 bytes of stack, and calls nothing but what POSIX lists as async-signal-safe (pipe, read, write, close,
// time, getpid). errno stays as it is. It reads the logger's memory through the system, so that whatever was
// overwritten or unmapped costs that part of the log and no fault. It may also be called in a healthy process,
// on any thread, while others log and passes run: a record that such a pass takes meanwhile may be missing,
// unless lines are kept.
//
// Returns 0, or an error number (errno's) when something could not be written; what was written up to then can
// be rendered. Needs two descriptors for as long as it runs. Without a manager the file says so.
//
// In a module that adopted another's manager it writes the contexts and formats of both and the owner's kept
// lines.
int WriteCrashLog(int file);

// What KeepLines keeps unless told otherwise.
constexpr unsigned int kKeptBytes = 65536;

// Keeps the newest rendered lines in memory, at least `bytes` of them (rounded up to a power of two; at most 1
// GiB), for WriteCrashLog. Off until this is called; once on it stays on for the module's managers. Call it
// before anything is logged: what is output before is not kept. Each line is kept before its record leaves the
// ring, so that at any moment a message is in the one or the other. Costs the collection pass a copy of each
// line and the log call nothing.
//
// False when there is no memory. Not in two threads at once.
bool KeepLines(unsigned int bytes = kKeptBytes);

} // namespace HSL

#endif
