// Keeping a thread of the library's own out of the host's signals.
#ifndef KXPL_KX_SIGNALS_H
#define KXPL_KX_SIGNALS_H

#include <signal.h>

// While it lives, the calling thread takes no signal that may come from outside, and a thread that it creates
// inherits that from its first instruction on. Signals that the thread causes itself stay as they are (SIGSEGV,
// SIGBUS, SIGFPE, SIGILL, SIGTRAP, SIGSYS and SIGABRT): one of them that is blocked when it happens would end
// the process past the handler of a crash reporter. SIGPIPE is blocked: a write without a reader then fails
// with EPIPE.
//
// To be destroyed on the thread that made it.
class KxSignalsBlocked {
public:
    KxSignalsBlocked();
    ~KxSignalsBlocked();

    KxSignalsBlocked(const KxSignalsBlocked&) = delete;
    KxSignalsBlocked& operator=(const KxSignalsBlocked&) = delete;

private:
    sigset_t mBefore;
};

#endif
