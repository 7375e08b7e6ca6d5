// macOS lists no objects, locks none, and cuts their names at 31 characters (PSHMNAMLEN in sys/posix_shm.h). So each
// has an empty file beside it as its entry, in the folder that the system keeps for the user's temporary files
// (confstr(3), _CS_DARWIN_USER_TEMP_DIR), and a name made of the process's number and the entry's name.
#include "platform/KxSharedObjects.h"

#include <cerrno>
#include <cinttypes>
#include <climits>
#include <cstdint>
#include <cstdio>
#include <cstring>

#include <dirent.h>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

namespace KXPL {
namespace {

// With a slash behind it; empty for none.
std::string folder()
{
    char path[PATH_MAX] = {};
    const std::size_t length = confstr(_CS_DARWIN_USER_TEMP_DIR, path, sizeof path);
    return length > 0 && length <= sizeof path ? path : "";
}

// FNV-1a, so that different entries nearly always have objects of different names.
std::string objectName(const char* entryName)
{
    std::uint64_t hash = 14695981039346656037u;
    for (const char* at = entryName; *at != 0; ++at) {
        hash = (hash ^ static_cast<unsigned char>(*at)) * 1099511628211u;
    }
    char name[32];
    std::snprintf(name, sizeof name, "/fallcatch.%016" PRIx64, hash);
    return name;
}

} // namespace

int KxOpenSharedEntry(const char* name, bool make)
{
    std::string path = folder();
    if (path.empty()) {
        errno = ENOENT;
        return -1;
    }
    path += name;
    const int entry =
        open(path.c_str(), O_RDWR | O_NONBLOCK | O_NOFOLLOW | O_CLOEXEC | (make ? O_CREAT | O_EXCL : 0), 0600);
    if (entry >= 0 && make) {
        fchmod(entry, 0600);
    }
    return entry;
}

int KxOpenSharedObject(int, const char* name, std::size_t bytes, bool make)
{
    const int object = shm_open(objectName(name).c_str(), O_RDWR | (make ? O_CREAT | O_EXCL : 0), 0600);
    if (object < 0) {
        return -1;
    }
    fcntl(object, F_SETFD, FD_CLOEXEC);
    if (make && ftruncate(object, static_cast<off_t>(bytes)) != 0) {
        const int error = errno;
        close(object);
        shm_unlink(objectName(name).c_str());
        errno = error;
        return -1;
    }
    return object;
}

// The object is memory like any other, of no file system that could be full.
int KxCommitSharedObject(int, std::size_t, std::size_t)
{
    return 0;
}

// Its size cannot change any more once it has one (shm_open(2) of macOS), so reading a mapping cannot fault.
bool KxReadSharedObject(int object, std::size_t bytes, std::string& copy)
{
    struct stat status = {};
    if (fstat(object, &status) != 0 || static_cast<std::size_t>(status.st_size) < bytes) {
        return false;
    }
    void* memory = mmap(nullptr, bytes, PROT_READ, MAP_SHARED, object, 0);
    if (memory == MAP_FAILED) {
        return false;
    }
    copy.assign(static_cast<const char*>(memory), bytes);
    munmap(memory, bytes);
    return true;
}

void KxRemoveSharedObject(const char* name)
{
    shm_unlink(objectName(name).c_str());
    unlink((folder() + name).c_str());
}

bool KxListSharedObjects(const std::string& beginning, std::vector<std::string>& names)
{
    DIR* entries = opendir(folder().c_str());
    if (entries == nullptr) {
        return false;
    }
    while (const dirent* entry = readdir(entries)) {
        if (std::strncmp(entry->d_name, beginning.c_str(), beginning.size()) == 0) {
            names.emplace_back(entry->d_name);
        }
    }
    closedir(entries);
    return true;
}

} // namespace KXPL
