// One system call after another that fails, for the tests that put their own in front of the C library's.
#ifndef TESTS_BREAKPAD_FAILING_CALLS_H
#define TESTS_BREAKPAD_FAILING_CALLS_H

#include <cerrno>

inline int gUntilFailure = -1; // calls that succeed before; below 0: all do
inline int gError = 0;

// Whether the call that asks is the one that fails; errno tells why.
inline bool fails()
{
    if (gUntilFailure < 0 || gUntilFailure-- != 0) {
        return false;
    }
    errno = gError;
    return true;
}

#endif
