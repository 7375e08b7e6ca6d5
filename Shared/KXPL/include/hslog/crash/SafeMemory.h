// Reads memory of this process that may not be there.
#ifndef HSLOG_CRASH_SAFE_MEMORY_H
#define HSLOG_CRASH_SAFE_MEMORY_H

#include <cstddef>
#include <cstdint>

namespace HSL {
namespace CrashLog {

// Through a pipe: the system reads the bytes on this process's behalf and answers EFAULT where a plain read
// would fault (POSIX, write). A call that reads one's own memory directly exists on Linux alone, and containers
// may forbid it.
class SafeMemory {
public:
    SafeMemory();
    ~SafeMemory();

    SafeMemory(const SafeMemory&) = delete;
    SafeMemory& operator=(const SafeMemory&) = delete;

    // False when the system gave no descriptors; then nothing can be read.
    bool IsOpen() const { return mPipe[0] >= 0; }

    // Copies `size` bytes; false when not all of them can be read.
    //
    // Pair CRASH-LEDGER, acquire: what lies behind an address or a position is copied by a later call of the system
    // than the address or position itself.
    bool Read(void* to, std::uintptr_t from, std::size_t size) const;

    template <typename T> bool ReadInto(T& to, std::uintptr_t from) const { return Read(&to, from, sizeof to); }

private:
    int mPipe[2];
};

} // namespace CrashLog
} // namespace HSL

#endif
