// Completes the crashed thread's stack after an overflow.
#ifndef FALLCATCH_BREAKPAD_DUMP_STACK_H
#define FALLCATCH_BREAKPAD_DUMP_STACK_H

#include "DumpFile.h"

namespace BreakpadLinux {

// Breakpad takes the page of the stack pointer and what follows it in the same mapping. After an overflow that
// is the guard page or nothing at all. Where it is so for the thread, the guard's place is filled with zeros
// and the innermost 32 KiB above it are added. To be called on the thread itself, whose stack must still be
// there.
void CompleteStack(DumpFile& dump, std::uint32_t thread);

} // namespace BreakpadLinux

#endif
