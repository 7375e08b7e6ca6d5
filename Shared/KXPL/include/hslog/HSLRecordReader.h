// Taking a record's fields off a ring.
#ifndef HSLOG_HSL_RECORD_READER_H
#define HSLOG_HSL_RECORD_READER_H

#include "../CircularBuffer.h"

#include <cstddef>
#include <cstring>

namespace HSL {

// Takes `size` bytes. Where the ring holds fewer, the rest of the destination becomes zero.
inline void ReadBytes(CCircularBuffer& buffer, void* destination, std::size_t size)
{
    int count = static_cast<int>(size);
    if (buffer.Read(destination, count) == CB_ERR_NULL) {
        count = 0;
    }
    const std::size_t taken = static_cast<std::size_t>(count);
    if (taken < size) {
        std::memset(static_cast<char*>(destination) + taken, 0, size - taken);
    }
}

template <typename T> inline T ReadField(CCircularBuffer& buffer)
{
    T field;
    ReadBytes(buffer, &field, sizeof field);
    return field;
}

} // namespace HSL

#endif
