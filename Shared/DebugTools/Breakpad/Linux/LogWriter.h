// Has the host write its log beside a dump, in a process of its own.
#ifndef FALLCATCH_BREAKPAD_LOG_WRITER_H
#define FALLCATCH_BREAKPAD_LOG_WRITER_H

namespace BreakpadLinux {

typedef int (*LogWriter)(int file);

// Null for none. Any thread, at any time.
void SetLogWriter(LogWriter writer);

// In the crash, when dump and report are on the disk: <guid>.log beside the dump <guid>.dmp, written by a bare
// copy of the process. Whatever happens there ends only the copy, and after two seconds this one goes on
// without it; then the file holds a line that says so. Nothing but system calls. Does nothing when there is no
// writer.
void WriteLog(const char* dump);

} // namespace BreakpadLinux

#endif
