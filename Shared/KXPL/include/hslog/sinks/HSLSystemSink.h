// Lines to the system's own log.
#ifndef HSLOG_HSL_SYSTEM_SINK_H
#define HSLOG_HSL_SYSTEM_SINK_H

#include "HSLSink.h"

namespace HSL {
namespace Sinks {

// By syslog(3), with the process's number: "Catastrophy" as LOG_CRIT, "Error" as LOG_ERR, "Warning" as LOG_WARNING,
// "Info" as LOG_INFO and what is lower as LOG_DEBUG. `facility` is one of syslog.h's; 0 means LOG_USER. `program` is
// copied; null takes the program's own name. syslog(3) has one name for a process: make one such sink.
std::unique_ptr<Sink> MakeSyslogSink(const char* program = nullptr, int facility = 0);

// To systemd's journal, by its socket: nothing but the socket is needed. Fields: MESSAGE, PRIORITY, SYSLOG_IDENTIFIER,
// CODE_FILE, CODE_LINE, CODE_FUNC, and HSL_NUMBER, HSL_LEVEL, HSL_CATEGORY, HSL_THREAD, HSL_TIMESTAMP (microseconds since
// 1970). Without a journal that listens, lines are lost and counted; the number goes to it once it listens.
// https://systemd.io/JOURNAL_NATIVE_PROTOCOL/
std::unique_ptr<Sink> MakeJournalSink(const char* program, const char* socket = "/run/systemd/journal/socket");

} // namespace Sinks
} // namespace HSL

#endif
