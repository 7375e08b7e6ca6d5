// What a host asks of the adapter without a reporter's handle.
#ifndef FALLCATCH_BREAKPAD_HOST_CALLS_H
#define FALLCATCH_BREAKPAD_HOST_CALLS_H

namespace BreakpadLinux {

class Reporter;

// From its creation on a reporter gets what the host has set before and sets from now on; until it is
// forgotten.
void Introduce(Reporter& reporter);
void Forget(Reporter& reporter);

} // namespace BreakpadLinux

#endif
