// Makes text of what dead processes left in shared memory.
#ifndef HSLOG_CRASH_DEAD_LOGS_H
#define HSLOG_CRASH_DEAD_LOGS_H

#include "CrashLogText.h"

#include <cstdint>
#include <functional>
#include <string>

namespace HSL {
namespace CrashLog {

struct DeadLog {
    std::int32_t mProcess = 0;
    std::int64_t mStarted = 0; // seconds since 1970
    std::string mFile;         // the same as a crash log
    std::string mWhy;          // why there is none
};

// Makes a crash log of an object's bytes, which may be anything: what they tell is looked for in them and nowhere else,
// and no more comes out than is worth reading. False when they are none of this build's; then mWhy is set.
bool crashLogOf(const std::string& image, DeadLog& log);

// Hands over one after another, oldest first, and removes it where `take` returns true. Returns how many were removed,
// -1 when they cannot be listed. May run out of memory (std::bad_alloc).
int takeDeadLogs(const char* product, const std::function<bool(const DeadLog& log)>& take);

} // namespace CrashLog
} // namespace HSL

#endif
