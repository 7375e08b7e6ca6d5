// Rings of bytes to look into.
#ifndef FALLCATCH_TESTS_BYTE_RING_H
#define FALLCATCH_TESTS_BYTE_RING_H

#include "CircularBuffer.h"

#include <cstddef>
#include <initializer_list>
#include <string>

// A string of bytes given by their numbers, 0 to 255.
inline std::string Raw(std::initializer_list<int> bytes)
{
    std::string raw;
    for (const int byte : bytes) {
        raw += static_cast<char>(static_cast<unsigned char>(byte));
    }
    return raw;
}

// A ring of single bytes, as a log context has one.
class ByteRing : public CCircularBuffer {
public:
    explicit ByteRing(unsigned int capacity = 1000)
        : CCircularBuffer(1, capacity, MallocFunc, FreeFunc, CopyFunc)
    {
    }
};

inline unsigned int UsedIn(const CCircularBuffer& ring)
{
    return cb_get_num_elem_used(ring.mControl);
}

// All bytes that the ring holds, which stay in it.
inline std::string BytesIn(const CCircularBuffer& ring)
{
    std::string bytes(UsedIn(ring), '\0');
    int count = static_cast<int>(bytes.size());
    cb_peek(ring.mControl, 0, &bytes[0], &count);
    bytes.resize(static_cast<std::size_t>(count));
    return bytes;
}

// Takes up to `size` bytes off the ring.
inline std::string TakeFrom(CCircularBuffer& ring, unsigned int size)
{
    std::string bytes(size, '\0');
    int count = static_cast<int>(size);
    ring.Read(&bytes[0], count);
    bytes.resize(static_cast<std::size_t>(count));
    return bytes;
}

// Writes bytes of no meaning until the ring holds `used`, or takes some until it does.
inline void SetUsed(CCircularBuffer& ring, unsigned int used)
{
    const unsigned int now = UsedIn(ring);
    if (now > used) {
        TakeFrom(ring, now - used);
        return;
    }
    const std::string filler(used - now, 'f');
    int count = static_cast<int>(filler.size());
    ring.Write(filler.data(), count);
}

#endif
