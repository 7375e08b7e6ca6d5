// Linux's <pthread.h> with what macOS's own adds for the sources of that system. No guard: the header behind
// this one has its own, and a function may be declared twice.
#include_next <pthread.h>

// Names the calling thread, with up to 63 characters.
int pthread_setname_np(const char* name);
