#include "LogWriter.h"

#include "Keys.h"
#include "fallcatch_breakpad.h"

#include <atomic>
#include <initializer_list>

#include <errno.h>
#include <fcntl.h>
#include <limits.h>
#include <poll.h>
#include <sched.h>
#include <signal.h>
#include <stdio.h>
#include <string.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

namespace BreakpadLinux {

namespace {

constexpr long kPatienceMilliseconds = 2000;
constexpr int kLookEveryMilliseconds = 5;
// The copy ends by itself should nobody be left to end it.
constexpr unsigned int kLongestLifeSeconds = 10;

std::atomic<LogWriter> gWriter { nullptr };

// The stack of a signal handler is small.
char gPartialPath[PATH_MAX];
char gLogPath[PATH_MAX];

bool makePath(char (&path)[PATH_MAX], const char* dump, const char* suffix)
{
    const size_t stem = strlen(dump) - (sizeof(kDumpSuffix) - 1);
    const size_t length = strlen(suffix) + 1;
    if (stem + length > sizeof(path)) {
        return false;
    }
    memcpy(path, dump, stem);
    memcpy(path + stem, suffix, length);
    return true;
}

int openPartial()
{
    return open(gPartialPath, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC | O_NOFOLLOW, 0600);
}

[[noreturn]] void leave(int status)
{
    for (;;) {
        syscall(SYS_exit_group, status);
    }
}

// The copy has the crashed process's handlers, which would take its own faults for another crash to report.
void dieOfOwnFaults()
{
    struct sigaction action = {};
    action.sa_handler = SIG_DFL;
    for (int signal : { SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGABRT, SIGTRAP, SIGSYS, SIGALRM }) {
        sigaction(signal, &action, nullptr);
    }
    prctl(PR_SET_DUMPABLE, 0); // no core file of a copy
    sigset_t none;
    sigemptyset(&none);
    sigaddset(&none, SIGALRM);
    sigprocmask(SIG_UNBLOCK, &none, nullptr);
    alarm(kLongestLifeSeconds);
}

[[noreturn]] void writeInCopy(LogWriter writer)
{
    dieOfOwnFaults();
    // The copy needs none of these, and the crash may have been one for want of descriptors.
    for (int file = 0; file < 3; ++file) {
        close(file);
    }
    const int file = openPartial();
    if (file < 0) {
        leave(2);
    }
    // What was written is worth having even if some was not.
    writer(file);
    leave(close(file) == 0 ? 0 : 1);
}

long millisecondsSince(const timespec& start)
{
    timespec now = {};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return (now.tv_sec - start.tv_sec) * 1000 + (now.tv_nsec - start.tv_nsec) / 1000000;
}

// Whether the copy ended by itself and in good order; otherwise it is ended.
bool waitFor(pid_t copy, const char*& why)
{
    timespec start = {};
    clock_gettime(CLOCK_MONOTONIC, &start);
    int status = 0;
    for (;;) {
        const pid_t ended = waitpid(copy, &status, __WALL | WNOHANG);
        if (ended == copy) {
            why = "-- the log could not be written: its writer crashed\n";
            return WIFEXITED(status) && WEXITSTATUS(status) == 0;
        }
        if ((ended < 0 && errno != EINTR) || millisecondsSince(start) > kPatienceMilliseconds) {
            why = "-- the log could not be written: its writer did not end within 2 seconds\n";
            kill(copy, SIGKILL);
            waitpid(copy, &status, __WALL | WNOHANG);
            return false;
        }
        poll(nullptr, 0, kLookEveryMilliseconds);
    }
}

// What there is of the log stays, and the reason follows it.
void tell(const char* why)
{
    const int file = open(gPartialPath, O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC | O_NOFOLLOW, 0600);
    if (file >= 0) {
        const size_t size = strlen(why);
        if (write(file, why, size) != static_cast<ssize_t>(size)) {
            why = nullptr; // no room: the log ends where it ends
        }
        close(file);
    }
}

} // namespace

void SetLogWriter(LogWriter writer)
{
    gWriter.store(writer);
}

void WriteLog(const char* dump)
{
    const LogWriter writer = gWriter.load();
    if (writer == nullptr || !makePath(gPartialPath, dump, ".log.part")
        || !makePath(gLogPath, dump, kLogSuffix)) {
        return;
    }
    // The C library's fork takes the allocator's locks, which the crashed thread may hold; the bare call does
    // not. The host gets no signal when the copy ends.
    const pid_t copy = static_cast<pid_t>(syscall(SYS_clone, CLONE_UNTRACED, 0, 0, 0, 0));
    if (copy == 0) {
        writeInCopy(writer);
    }
    const char* why = "-- the log could not be written: the system refused a process for it\n";
    if (copy < 0 || !waitFor(copy, why)) {
        tell(why);
    }
    rename(gPartialPath, gLogPath);
}

} // namespace BreakpadLinux

void FallcatchBreakpadSetLogWriter(int (*write)(int file))
{
    BreakpadLinux::SetLogWriter(write);
}
