// Starts a program that outlives the caller.
#ifndef FALLCATCH_BREAKPAD_SPAWN_H
#define FALLCATCH_BREAKPAD_SPAWN_H

namespace BreakpadLinux {

// Runs the program as nobody's child, in a session of its own, without the caller's files, signal mask and
// terminal; arguments ends with null and starts with the program's name.
//
// Safe in the signal handler of a crashed process: nothing but system calls. Returns false when the system
// refused the process; whether the program itself could be started is not known.
bool StartDetached(const char* program, char* const* arguments);

} // namespace BreakpadLinux

#endif
