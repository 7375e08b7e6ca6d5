// On Linux the object is a file in memory, mounted where shm_overview(7) says, and so its own entry: it can be listed,
// read and locked.
#include "platform/KxSharedObjects.h"

#include <cerrno>
#include <csignal>
#include <cstring>

#include <dirent.h>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

namespace KXPL {
namespace {

constexpr char kFolder[] = "/dev/shm";

// A file beyond that would end the process by SIGXFSZ.
bool isAllowed(std::size_t bytes)
{
    rlimit limit = {};
    return getrlimit(RLIMIT_FSIZE, &limit) != 0 || limit.rlim_cur == RLIM_INFINITY || bytes <= limit.rlim_cur;
}

// shm_open(3): a slash and then none.
std::string pathOf(const char* name)
{
    std::string path = "/";
    path += name;
    return path;
}

} // namespace

int KxOpenSharedEntry(const char* name, bool make)
{
    // The C library adds O_NOFOLLOW and O_CLOEXEC (shm_open(3)).
    const int entry = shm_open(pathOf(name).c_str(), O_RDWR | O_NONBLOCK | (make ? O_CREAT | O_EXCL : 0), 0600);
    if (entry >= 0 && make) {
        fchmod(entry, 0600); // the process's mask may have taken that away
    }
    return entry;
}

int KxOpenSharedObject(int entry, const char*, std::size_t bytes, bool make)
{
    if (make && !isAllowed(bytes)) {
        errno = EFBIG;
        return -1;
    }
    if (make && ftruncate(entry, static_cast<off_t>(bytes)) != 0) {
        return -1;
    }
    return fcntl(entry, F_DUPFD_CLOEXEC, 0);
}

// Without this a full file system would show as SIGBUS, on whatever thread stores there first.
int KxCommitSharedObject(int object, std::size_t from, std::size_t bytes)
{
    int error = 0;
    do {
        error = posix_fallocate(object, static_cast<off_t>(from), static_cast<off_t>(bytes));
    } while (error == EINTR);
    return error;
}

// By read and not through a mapping, where whoever makes the file shorter makes the reader fault.
bool KxReadSharedObject(int object, std::size_t bytes, std::string& copy)
{
    copy.resize(bytes);
    for (std::size_t got = 0; got < bytes;) {
        const ssize_t taken = pread(object, &copy[got], bytes - got, static_cast<off_t>(got));
        if (taken <= 0 && !(taken < 0 && errno == EINTR)) {
            return false;
        }
        got += taken > 0 ? static_cast<std::size_t>(taken) : 0;
    }
    return true;
}

void KxRemoveSharedObject(const char* name)
{
    shm_unlink(pathOf(name).c_str());
}

bool KxListSharedObjects(const std::string& beginning, std::vector<std::string>& names)
{
    DIR* folder = opendir(kFolder);
    if (folder == nullptr) {
        return false;
    }
    while (const dirent* entry = readdir(folder)) {
        if (std::strncmp(entry->d_name, beginning.c_str(), beginning.size()) == 0) {
            names.emplace_back(entry->d_name);
        }
    }
    closedir(folder);
    return true;
}

} // namespace KXPL
