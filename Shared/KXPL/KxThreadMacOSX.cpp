#include "platform/KxThreadPlatform.h"

#include <pthread.h>

// pthread_setname_np(3) of macOS names the calling thread and takes up to 63 characters.
void KxSetCurrentThreadName(const char* name)
{
    pthread_setname_np(name);
}
