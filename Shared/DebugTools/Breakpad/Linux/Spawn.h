// Starts a program that outlives the caller.
#ifndef FALLCATCH_BREAKPAD_SPAWN_H
#define FALLCATCH_BREAKPAD_SPAWN_H

namespace BreakpadLinux {

// Runs the program as nobody's child, in a session of its own, without the caller's files, signal mask and
// terminal; arguments ends with null and starts with the program's name, environment ends with null.
//
// Safe in the signal handler of a crashed process: nothing but system calls. Returns false when the system
// refused the process; whether the program itself could be started is not known.
bool StartDetached(const char* program, char* const* arguments, char* const* environment);

// Whether the process may start others at all. What it tries is safe in a signal handler, too.
bool CanStartProcesses();

// The environment for such a program: the caller's, and nothing of it in a process that runs with more rights
// than whoever started it, who may have written there what he likes.
char* const* TrustedEnvironment();

} // namespace BreakpadLinux

#endif
