#include "SafeMemory.h"

#include <errno.h>
#include <unistd.h>

namespace HSL {
namespace CrashLog {

namespace {

// What any pipe takes at once; the least that POSIX allows for PIPE_BUF.
constexpr std::size_t kPiece = 512;

} // namespace

SafeMemory::SafeMemory()
{
    if (pipe(mPipe) != 0) {
        mPipe[0] = -1;
        mPipe[1] = -1;
    }
}

SafeMemory::~SafeMemory()
{
    if (IsOpen()) {
        close(mPipe[0]);
        close(mPipe[1]);
    }
}

bool SafeMemory::Read(void* to, std::uintptr_t from, std::size_t size) const
{
    char* at = static_cast<char*>(to);
    while (size > 0) {
        const std::size_t piece = size < kPiece ? size : kPiece;
        const ssize_t sent = write(mPipe[1], reinterpret_cast<const void*>(from), piece);
        if (sent < 0 && errno == EINTR) {
            continue;
        }
        if (sent <= 0) {
            return false;
        }
        for (std::size_t got = 0; got < static_cast<std::size_t>(sent);) {
            const ssize_t taken = read(mPipe[0], at + got, static_cast<std::size_t>(sent) - got);
            if (taken < 0 && errno == EINTR) {
                continue;
            }
            if (taken <= 0) {
                return false;
            }
            got += static_cast<std::size_t>(taken);
        }
        at += sent;
        from += static_cast<std::uintptr_t>(sent);
        size -= static_cast<std::size_t>(sent);
    }
    return true;
}

} // namespace CrashLog
} // namespace HSL
