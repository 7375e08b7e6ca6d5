// Waits while another process runs.
#ifndef FALLCATCH_BREAKPAD_SENDER_WAIT_H
#define FALLCATCH_BREAKPAD_SENDER_WAIT_H

#include "OwnFiles.h"

#include <ctime>

namespace BreakpadLinux {

// Looks after one process, by a descriptor of it that no later process of the same number answers to. Kernels
// before Linux 5.3 have none; there nobody waits.
class HostWatch {
public:
    // 0: none.
    explicit HostWatch(long process);

    // Returns true at the time, in seconds since 1970 by the system's clock, and false when the process has
    // ended before or there is none.
    bool WaitUntil(time_t when) const;

private:
    Descriptor mProcess;
};

} // namespace BreakpadLinux

#endif
