// macOS's way of naming threads, played on Linux.
#ifndef FALLCATCH_TESTS_DARWIN_THREADS_H
#define FALLCATCH_TESTS_DARWIN_THREADS_H

#include <string>
#include <vector>

// The names that threads asked for since the last clear, as they gave them. Not for use while other threads
// ask.
std::vector<std::string>& darwinThreadNames();

#endif
