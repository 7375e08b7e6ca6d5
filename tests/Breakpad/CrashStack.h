// What Breakpad's stack reader says of a dump.
#ifndef FALLCATCH_TESTS_CRASH_STACK_H
#define FALLCATCH_TESTS_CRASH_STACK_H

#include <string>
#include <vector>

struct CrashStack {
    std::string reason;
    int thread = -1; // that crashed; 0 is the main one
    std::vector<std::string> frames;

    // The index of the first frame of the function with its file and line; -1 without one.
    int Find(const std::string& function) const;
};

// Reads a dump's bytes with the host's symbols.
CrashStack ReadStack(const std::string& dump, const std::string& folder);

#endif
