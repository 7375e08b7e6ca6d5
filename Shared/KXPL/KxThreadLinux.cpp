#include "platform/KxThreadPlatform.h"

#include <pthread.h>

#include <cstddef>
#include <cstring>

// pthread_setname_np(3) of Linux refuses a name of more than 16 bytes, the terminating zero included, so a
// longer one is cut.
void KxSetCurrentThreadName(const char* name)
{
    constexpr std::size_t kLongestName = 15;
    char cut[kLongestName + 1] = {};
    std::strncpy(cut, name, kLongestName);
    pthread_setname_np(pthread_self(), cut);
}
