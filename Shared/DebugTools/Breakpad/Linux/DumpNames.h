// Adds to a dump what Breakpad's writer leaves out: the threads' names, the distribution, and notes of the
// host's that common readers show.
#ifndef FALLCATCH_BREAKPAD_DUMP_NAMES_H
#define FALLCATCH_BREAKPAD_DUMP_NAMES_H

#include "DumpFile.h"

#include <cstddef>

namespace BreakpadLinux {

struct Note {
    const char* name;
    const char* text; // null: none
    std::size_t length;
};

void AddThreadNames(DumpFile& dump);

// /etc/os-release, where the system has no /etc/lsb-release.
void AddDistribution(DumpFile& dump);

// In the form of Crashpad's simple annotations. At most 16.
void AddNotes(DumpFile& dump, const Note* notes, std::size_t count);

// What the C library keeps of the reason for which it aborted: a failed assertion, a damaged heap. Not for
// signal handlers; what it returns is, and asks for the text. Null where the library keeps none.
using AbortText = const char* const*;
AbortText FindAbortText();
Note AbortNote(AbortText text);

} // namespace BreakpadLinux

#endif
