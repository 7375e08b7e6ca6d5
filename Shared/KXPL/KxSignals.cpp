#include "platform/KxSignals.h"

#include <pthread.h>

#include <initializer_list>

KxSignalsBlocked::KxSignalsBlocked()
{
    sigset_t outside;
    sigfillset(&outside);
    for (const int fault : { SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGTRAP, SIGSYS, SIGABRT }) {
        sigdelset(&outside, fault);
    }
    pthread_sigmask(SIG_BLOCK, &outside, &mBefore);
}

KxSignalsBlocked::~KxSignalsBlocked()
{
    pthread_sigmask(SIG_SETMASK, &mBefore, nullptr);
}
