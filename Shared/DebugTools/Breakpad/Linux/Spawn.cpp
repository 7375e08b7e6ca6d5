#include "Spawn.h"

#include <errno.h>
#include <fcntl.h>
#include <sched.h>
#include <signal.h>
#include <sys/auxv.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

namespace BreakpadLinux {

namespace {

// The C library's fork takes the allocator's locks, which a crashed thread may hold for ever; the bare call
// does not. A debugger that follows children leaves these alone.
pid_t forkBare(int exitSignal)
{
    return static_cast<pid_t>(syscall(SYS_clone, CLONE_UNTRACED | exitSignal, 0, 0, 0, 0));
}

[[noreturn]] void leave(int status)
{
    for (;;) {
        syscall(SYS_exit_group, status);
    }
}

void closeFilesFrom(int first)
{
#ifdef SYS_close_range
    if (syscall(SYS_close_range, static_cast<unsigned int>(first), ~0U, 0U) == 0) {
        return;
    }
#endif
    rlimit limit = {};
    int end = 65536;
    if (getrlimit(RLIMIT_NOFILE, &limit) == 0 && limit.rlim_cur < static_cast<rlim_t>(end)) {
        end = static_cast<int>(limit.rlim_cur);
    }
    for (int file = first; file < end; ++file) {
        close(file);
    }
}

bool endsWell(pid_t child)
{
    int status = 0;
    while (waitpid(child, &status, __WALL) < 0) {
        if (errno != EINTR) {
            return false;
        }
    }
    return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

[[noreturn]] void become(const char* program, char* const* arguments, char* const* environment)
{
    sigset_t none;
    sigemptyset(&none);
    sigprocmask(SIG_SETMASK, &none, nullptr);
    closeFilesFrom(0);
    // The lowest free numbers are taken: 0, 1 and 2.
    open("/dev/null", O_RDWR);
    open("/dev/null", O_RDWR);
    open("/dev/null", O_RDWR);
    if (chdir("/") == 0) {
        execve(program, arguments, environment);
    }
    leave(127);
}

} // namespace

bool StartDetached(const char* program, char* const* arguments, char* const* environment)
{
    // The child in between ends without a signal to the host, whose handler for ended children must not run in
    // the middle of a crash.
    const pid_t between = forkBare(0);
    if (between == 0) {
        setsid();
        const pid_t last = forkBare(SIGCHLD);
        if (last == 0) {
            become(program, arguments, environment);
        }
        leave(last > 0 ? 0 : 1);
    }
    return between > 0 && endsWell(between);
}

bool CanStartProcesses()
{
    const pid_t child = forkBare(0);
    if (child == 0) {
        leave(0);
    }
    return child > 0 && endsWell(child);
}

char* const* TrustedEnvironment()
{
    static char* const none[] = { nullptr };
    return getauxval(AT_SECURE) != 0 ? none : environ;
}

} // namespace BreakpadLinux
