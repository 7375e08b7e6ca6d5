// System calls that fail, and signals that interrupt them.
#ifndef FALLCATCH_TESTS_REFUSE_H
#define FALLCATCH_TESTS_REFUSE_H

#include <cerrno>
#include <csignal>
#include <cstddef>
#include <gtest/gtest.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <optional>
#include <sys/prctl.h>
#include <sys/time.h>

// From now on, in this process and its children for good: system calls of this number fail, or end the process,
// those with another first argument excepted if one is given. For processes that end with the test.
inline void Refuse(unsigned int call, std::optional<unsigned int> argument = std::nullopt,
                   unsigned int action = SECCOMP_RET_ERRNO | EPERM)
{
    const unsigned char skipOther = argument ? 1 : 0;
    sock_filter program[] = {
        BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, call, 0, 3),
        BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, args)), // its low half
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, argument.value_or(0), 0, skipOther),
        BPF_STMT(BPF_RET | BPF_K, action),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW),
    };
    const sock_fprog filter = { sizeof program / sizeof *program, program };
    ASSERT_EQ(prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0), 0);
    ASSERT_EQ(prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &filter), 0);
}

// While it lives, signals interrupt the process's system calls again and again.
class Ticks {
public:
    explicit Ticks(int microseconds)
    {
        struct sigaction action = {};
        action.sa_handler = [](int) { sSeen = sSeen + 1; };
        sigaction(SIGALRM, &action, &mBefore); // without SA_RESTART
        sSeen = 0;
        const itimerval every = { { 0, microseconds }, { 0, microseconds } };
        setitimer(ITIMER_REAL, &every, nullptr);
    }
    ~Ticks()
    {
        const itimerval never = {};
        setitimer(ITIMER_REAL, &never, nullptr);
        sigaction(SIGALRM, &mBefore, nullptr);
    }

    Ticks(const Ticks&) = delete;
    Ticks& operator=(const Ticks&) = delete;

    int Seen() const { return sSeen; }

private:
    static inline volatile std::sig_atomic_t sSeen = 0;
    struct sigaction mBefore = {};
};

// Keeps the ticks from a thread that is not to be interrupted.
inline void LeaveTicksToOthers()
{
    sigset_t alarm;
    sigemptyset(&alarm);
    sigaddset(&alarm, SIGALRM);
    pthread_sigmask(SIG_BLOCK, &alarm, nullptr);
}

#endif
