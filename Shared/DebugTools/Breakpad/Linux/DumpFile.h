// A dump that Breakpad has just written, changed in place by the process that crashed: nothing but system
// calls, and no stack to speak of.
#ifndef FALLCATCH_BREAKPAD_DUMP_FILE_H
#define FALLCATCH_BREAKPAD_DUMP_FILE_H

#include "google_breakpad/common/minidump_format.h"

#include <cstddef>
#include <cstdint>

namespace BreakpadLinux {

class DumpFile {
public:
    static constexpr std::uint32_t kMostStreams = 48;

    // The file stays the caller's. False for what is no dump.
    bool Open(int file);

    bool Read(std::uint64_t offset, void* bytes, std::size_t count) const;
    bool Write(std::uint64_t offset, const void* bytes, std::size_t count) const;

    // Behind all there is, from an offset that suits any number. The bytes may be memory that cannot be read;
    // then nothing is appended.
    bool Append(const void* bytes, std::size_t count, MDLocationDescriptor& where);
    // As many zeros, which need no room on the disk.
    void AppendZeros(std::size_t count, MDLocationDescriptor& where);

    // Null when there is none.
    MDRawDirectory* Find(std::uint32_t type);

    // A stream more, or in the place of one of the type. It counts after Commit.
    bool Put(std::uint32_t type, const MDLocationDescriptor& where);
    bool Commit();

private:
    int mFile = -1;
    std::uint64_t mEnd = 0;
    MDRawHeader mHeader = {};
    std::uint32_t mCount = 0;
    MDRawDirectory mStreams[kMostStreams] = {};
};

} // namespace BreakpadLinux

#endif
