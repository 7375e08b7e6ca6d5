// What differs between systems in KxThread. One source per system implements it.
#ifndef KXPL_KX_THREAD_PLATFORM_H
#define KXPL_KX_THREAD_PLATFORM_H

// Gives the calling thread a name that debuggers and system monitors show, as long as the system takes it.
void KxSetCurrentThreadName(const char* name);

#endif
