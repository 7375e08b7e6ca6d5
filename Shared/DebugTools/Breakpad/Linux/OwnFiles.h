// Files and folders that may be believed: the effective user's own, writable by nobody else, reached without
// following a link. Whoever else could put a file where reports lie could have any of the user's files sent.
#ifndef FALLCATCH_BREAKPAD_OWN_FILES_H
#define FALLCATCH_BREAKPAD_OWN_FILES_H

#include <cstddef>
#include <cstdint>
#include <ctime>
#include <optional>
#include <string>
#include <utility>

namespace BreakpadLinux {

// Owns one descriptor; -1 is none.
class Descriptor {
public:
    Descriptor() = default;
    explicit Descriptor(int number)
        : mNumber(number)
    {
    }
    Descriptor(Descriptor&& other) noexcept
        : mNumber(std::exchange(other.mNumber, -1))
    {
    }
    Descriptor& operator=(Descriptor&& other) noexcept
    {
        std::swap(mNumber, other.mNumber);
        return *this;
    }
    ~Descriptor();

    explicit operator bool() const { return mNumber >= 0; }
    int Number() const { return mNumber; }
    int Release() { return std::exchange(mNumber, -1); }

private:
    int mNumber = -1;
};

struct FileFacts {
    std::uint64_t bytes = 0;
    timespec changed = {};
};

// A folder may be entered by others, not written. When there is none to be had, why says so in words that may
// follow the folder's name: "is not there".
Descriptor OpenOwnFolder(const std::string& path, std::string& why);

// A regular file in the folder, opened to be read. Pipes and devices are neither waited for nor touched.
Descriptor OpenOwnFile(int folder, const std::string& name, FileFacts& facts, std::string& why);

// All of it, or nothing for one that is no file of the user's or has more bytes than the limit.
std::optional<std::string> ReadOwnFile(int folder, const std::string& name, std::size_t limit,
                                       std::string& why);

// Whole or not at all, with the mode 0600. Returns whether it is on the disk.
bool WriteOwnFile(int folder, const std::string& name, const std::string& text);

} // namespace BreakpadLinux

#endif
