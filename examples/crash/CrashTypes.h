// The crashes that a tester can ask a host for. This list is the only one: hosts perform from it, --help prints
// it, and the tests run through it.
#ifndef FALLCATCH_EXAMPLES_CRASH_TYPES_H
#define FALLCATCH_EXAMPLES_CRASH_TYPES_H

#include <array>
#include <string>

namespace Crash {

struct Type {
    int code; // as GetTestCommandsList gives it
    const char* word;
    const char* what;
    int signal;           // of which the process dies
    const char* reason;   // how the stack reader names that signal
    const char* function; // in which it happens
    bool onTop; // the function is the stack's first frame; otherwise frames of the runtime lie above it
};

const std::array<Type, 8>& Types();

// Null for a code that is none.
const Type* Find(int code);

// Some lines that explain the switches and the words, for a host's --help.
std::string Help();

// The list for programs: a line for each type with its word, signal, reason and function.
std::string List();

// What GetTestCommandsList found: codes[0] the thread, codes[1] the crash type. Does not return when both are
// there and known. prepareThread, where given, is called first on the worker thread.
void Perform(const int* codes, int count, void (*prepareThread)() = nullptr);

} // namespace Crash

#endif
