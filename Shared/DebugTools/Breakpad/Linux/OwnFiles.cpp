#include "OwnFiles.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace BreakpadLinux {

namespace {

std::string reasonFor(int error)
{
    switch (error) {
    case ENOENT:
        return "is not there";
    case ELOOP:
        return "is a link";
    case ENOTDIR:
        return "is a link or no folder";
    default:
        return std::string("cannot be opened: ") + std::strerror(error);
    }
}

// Empty when the user alone decides what is in it.
std::string distrust(const struct stat& facts)
{
    if (facts.st_uid != geteuid()) {
        return "belongs to another user";
    }
    if ((facts.st_mode & (S_IWGRP | S_IWOTH)) != 0) {
        return "can be written by others";
    }
    return std::string();
}

bool writeAll(int file, const std::string& text)
{
    std::size_t done = 0;
    while (done < text.size()) {
        const ssize_t written = write(file, text.data() + done, text.size() - done);
        if (written <= 0 && errno != EINTR) {
            return false;
        }
        done += written > 0 ? static_cast<std::size_t>(written) : 0;
    }
    return true;
}

} // namespace

Descriptor::~Descriptor()
{
    if (mNumber >= 0) {
        close(mNumber);
    }
}

Descriptor OpenOwnFolder(const std::string& path, std::string& why)
{
    Descriptor folder(open(path.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    struct stat facts = {};
    if (!folder || fstat(folder.Number(), &facts) != 0) {
        why = reasonFor(errno);
        return Descriptor();
    }
    why = distrust(facts);
    return why.empty() ? std::move(folder) : Descriptor();
}

Descriptor OpenOwnFile(int folder, const std::string& name, FileFacts& facts, std::string& why)
{
    // Whoever opens a pipe that nobody writes waits for ever without O_NONBLOCK.
    Descriptor file(openat(folder, name.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
    struct stat found = {};
    if (!file || fstat(file.Number(), &found) != 0) {
        why = reasonFor(errno);
        return Descriptor();
    }
    why = S_ISREG(found.st_mode) ? distrust(found) : "is no regular file";
    if (!why.empty()) {
        return Descriptor();
    }
    facts.bytes = static_cast<std::uint64_t>(found.st_size);
    facts.changed = found.st_mtim;
    return file;
}

std::optional<std::string> ReadOwnFile(int folder, const std::string& name, std::size_t limit, std::string& why)
{
    FileFacts facts;
    const Descriptor file = OpenOwnFile(folder, name, facts, why);
    if (!file) {
        return std::nullopt;
    }
    std::string text;
    char some[4096];
    while (text.size() <= limit) {
        const ssize_t count = read(file.Number(), some, sizeof(some));
        if (count < 0 && errno == EINTR) {
            continue;
        }
        if (count < 0) {
            why = std::string("cannot be read: ") + std::strerror(errno);
            return std::nullopt;
        }
        if (count == 0) {
            return text;
        }
        text.append(some, static_cast<std::size_t>(count));
    }
    why = "is too long";
    return std::nullopt;
}

bool WriteOwnFile(int folder, const std::string& name, const std::string& text)
{
    const std::string partial = name + ".part";
    unlinkat(folder, partial.c_str(), 0); // of a sender that was ended
    const int flags = O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC;
    Descriptor file(openat(folder, partial.c_str(), flags, 0600));
    if (!file) {
        return false;
    }
    const bool written = writeAll(file.Number(), text) && fsync(file.Number()) == 0;
    const bool closed = close(file.Release()) == 0;
    if (written && closed && renameat(folder, partial.c_str(), folder, name.c_str()) == 0) {
        return true;
    }
    unlinkat(folder, partial.c_str(), 0);
    return false;
}

} // namespace BreakpadLinux
