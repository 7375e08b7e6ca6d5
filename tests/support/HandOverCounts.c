/* Hands over what was counted for coverage where a process ends without passing its exit: when a crash handler
 * puts the signals' former handlers back, which is the last that it does, and when a child of a crashed process
 * leaves. For coverage builds only, into whose library the linker leads the calls. Crashed processes that no
 * longer can do even this lose their counts as before. */
#include <signal.h>
#include <stdarg.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

extern void __gcov_dump(void);
extern void __gcov_reset(void);

typedef void (*handler)(int);

extern handler __real_signal(int number, handler action);
extern int __real_sigaction(int number, const struct sigaction* action, struct sigaction* old);
extern long __real_syscall(long number, ...);

static void handOver(void)
{
    /* Where files may not grow, what others handed over before would be lost as well. */
    struct rlimit size = { 0, 0 };
    if (getrlimit(RLIMIT_FSIZE, &size) == 0 && size.rlim_cur == RLIM_INFINITY) {
        __gcov_dump();
        __gcov_reset();
    }
}

handler __wrap_signal(int number, handler action)
{
    handOver();
    return __real_signal(number, action);
}

int __wrap_sigaction(int number, const struct sigaction* action, struct sigaction* old)
{
    if (action != NULL) {
        handOver();
    }
    return __real_sigaction(number, action, old);
}

long __wrap_syscall(long number, ...)
{
    va_list arguments;
    va_start(arguments, number);
    long values[6];
    for (int i = 0; i < 6; ++i) {
        values[i] = va_arg(arguments, long);
    }
    va_end(arguments);
    if (number == SYS_exit_group) {
        handOver();
    }
    return __real_syscall(number, values[0], values[1], values[2], values[3], values[4], values[5]);
}
