// File descriptors that are set aside for the crash, since a process that has used up its own can write no
// dump.
#ifndef FALLCATCH_BREAKPAD_RESERVED_FILES_H
#define FALLCATCH_BREAKPAD_RESERVED_FILES_H

#include <cstddef>
#include <sys/stat.h>

namespace BreakpadLinux {

class ReservedFiles {
public:
    ReservedFiles();
    ReservedFiles(const ReservedFiles&) = delete;
    ReservedFiles& operator=(const ReservedFiles&) = delete;
    ~ReservedFiles();

    // The number that the dump will have. The host may have closed it meanwhile, but not taken it for itself:
    // then Place refuses.
    int DumpNumber() const { return mNumbers[0]; }

    // Of these only Place and Release are for the crash. Numbers that the host has closed, and perhaps opened
    // again for something else, are left alone.
    void Release();
    bool Place(int file) const;
    // Sets aside again what was used, in a process that goes on.
    void Renew();

private:
    static constexpr std::size_t kCount = 10;

    void reserve(std::size_t first);
    bool isOurs(int number) const;

    int mNumbers[kCount];
    struct stat mFacts = {};
};

} // namespace BreakpadLinux

#endif
