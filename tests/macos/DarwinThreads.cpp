#include "DarwinThreads.h"

#include <pthread.h>

#include <cerrno>
#include <cstring>
#include <mutex>

std::vector<std::string>& darwinThreadNames()
{
    static std::vector<std::string> names;
    return names;
}

int pthread_setname_np(const char* name)
{
    constexpr std::size_t kLongest = 63;
    constexpr std::size_t kLongestOnLinux = 15;
    {
        static std::mutex mutex;
        const std::lock_guard<std::mutex> lock(mutex);
        darwinThreadNames().push_back(name);
    }
    if (std::strlen(name) > kLongest) {
        return ENAMETOOLONG;
    }
    return pthread_setname_np(pthread_self(), std::string(name).substr(0, kLongestOnLinux).c_str());
}
