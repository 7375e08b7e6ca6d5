#include "DumpFile.h"

#include <errno.h>
#include <unistd.h>

namespace BreakpadLinux {

bool DumpFile::Read(std::uint64_t offset, void* bytes, std::size_t count) const
{
    auto* next = static_cast<char*>(bytes);
    while (count > 0) {
        const ssize_t done = pread(mFile, next, count, static_cast<off_t>(offset));
        if (done <= 0) {
            if (done < 0 && errno == EINTR) {
                continue;
            }
            return false;
        }
        next += done;
        offset += static_cast<std::uint64_t>(done);
        count -= static_cast<std::size_t>(done);
    }
    return true;
}

bool DumpFile::Write(std::uint64_t offset, const void* bytes, std::size_t count) const
{
    const auto* next = static_cast<const char*>(bytes);
    while (count > 0) {
        const ssize_t done = pwrite(mFile, next, count, static_cast<off_t>(offset));
        if (done <= 0) {
            if (done < 0 && errno == EINTR) {
                continue;
            }
            return false;
        }
        next += done;
        offset += static_cast<std::uint64_t>(done);
        count -= static_cast<std::size_t>(done);
    }
    return true;
}

bool DumpFile::Open(int file)
{
    mFile = file;
    const off_t end = lseek(file, 0, SEEK_END);
    mEnd = end < 0 ? 0 : (static_cast<std::uint64_t>(end) + 7) / 8 * 8;
    if (!Read(0, &mHeader, sizeof(mHeader)) || mHeader.signature != MD_HEADER_SIGNATURE
        || mHeader.stream_count > kMostStreams) {
        return false;
    }
    mCount = mHeader.stream_count;
    return Read(mHeader.stream_directory_rva, mStreams, mCount * sizeof(*mStreams));
}

bool DumpFile::Append(const void* bytes, std::size_t count, MDLocationDescriptor& where)
{
    if (!Write(mEnd, bytes, count)) {
        return false;
    }
    AppendZeros(count, where);
    return true;
}

void DumpFile::AppendZeros(std::size_t count, MDLocationDescriptor& where)
{
    where.rva = static_cast<MDRVA>(mEnd);
    where.data_size = static_cast<std::uint32_t>(count);
    mEnd = (mEnd + count + 7) / 8 * 8;
}

MDRawDirectory* DumpFile::Find(std::uint32_t type)
{
    for (std::uint32_t i = 0; i < mCount; ++i) {
        if (mStreams[i].stream_type == type) {
            return &mStreams[i];
        }
    }
    return nullptr;
}

bool DumpFile::Put(std::uint32_t type, const MDLocationDescriptor& where)
{
    MDRawDirectory* place = Find(type);
    if (place == nullptr && mCount < kMostStreams) {
        place = &mStreams[mCount++];
    }
    if (place == nullptr) {
        return false;
    }
    place->stream_type = type;
    place->location = where;
    return true;
}

// The header last: until then the old directory counts.
bool DumpFile::Commit()
{
    MDLocationDescriptor where = {};
    if (!Append(mStreams, mCount * sizeof(*mStreams), where)) {
        return false;
    }
    mHeader.stream_count = mCount;
    mHeader.stream_directory_rva = where.rva;
    return Write(0, &mHeader, sizeof(mHeader)) && ftruncate(mFile, static_cast<off_t>(mEnd)) == 0;
}

} // namespace BreakpadLinux
