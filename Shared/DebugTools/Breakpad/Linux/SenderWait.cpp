#include "SenderWait.h"

#include <algorithm>
#include <cerrno>
#include <poll.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace BreakpadLinux {

namespace {

// The clock may be set, and the machine may sleep, so it is looked at from time to time.
constexpr time_t kLongestNap = 300;

int openProcess(long process)
{
#ifdef SYS_pidfd_open
    return process > 0 ? static_cast<int>(syscall(SYS_pidfd_open, process, 0)) : -1;
#else
    static_cast<void>(process);
    return -1;
#endif
}

} // namespace

HostWatch::HostWatch(long process)
    : mProcess(openProcess(process))
{
}

bool HostWatch::WaitUntil(time_t when) const
{
    while (mProcess) {
        const time_t now = std::time(nullptr);
        pollfd host = { mProcess.Number(), POLLIN, 0 };
        const time_t nap = std::clamp<time_t>(when - now, 0, kLongestNap);
        const int ended = poll(&host, 1, static_cast<int>(nap) * 1000);
        if (ended > 0 || (ended < 0 && errno != EINTR)) {
            return false;
        }
        if (ended == 0 && std::time(nullptr) >= when) {
            return true;
        }
    }
    return false;
}

} // namespace BreakpadLinux
