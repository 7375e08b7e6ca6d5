// The bytes of log records, put together by the tests themselves, and rings to look into.
#ifndef FALLCATCH_TESTS_RECORD_BYTES_H
#define FALLCATCH_TESTS_RECORD_BYTES_H

#include "CircularBuffer.h"

#include <cstddef>
#include <cstring>
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

// Builds a run of records field by field, in the processor's byte order.
class RecordBytes {
public:
    template <typename Field> RecordBytes& Add(Field field)
    {
        char bytes[sizeof field];
        std::memcpy(bytes, &field, sizeof field);
        mBytes.append(bytes, sizeof field);
        return *this;
    }

    RecordBytes& AddRaw(const std::string& bytes)
    {
        mBytes += bytes;
        return *this;
    }

    // Marker, sequence number, time, depth and categories.
    RecordBytes& Header(int sequence, unsigned int seconds, unsigned int microseconds, unsigned char depth,
                        std::initializer_list<int> codes)
    {
        Add<unsigned char>(0).Add(sequence).Add(seconds).Add(microseconds).Add(depth);
        return Add(static_cast<unsigned char>(codes.size())).AddRaw(Raw(codes));
    }

    RecordBytes& InlineFormat(const std::string& text) { return Add<unsigned char>(1).Text(text); }
    RecordBytes& FormatId(short id) { return Add<unsigned char>(3).Add(id); }
    RecordBytes& ValueCount(int count) { return Add(static_cast<unsigned char>(count)); }
    RecordBytes& Int32(int value) { return Add<unsigned char>(6).Add(value); }
    RecordBytes& String(const std::string& text) { return Add<unsigned char>(16).Text(text); }

    // A 16-bit length and the text.
    RecordBytes& Text(const std::string& text)
    {
        return Add(static_cast<unsigned short>(text.size())).AddRaw(text);
    }

    // The record that a context writes when it starts dropping, from its format kind on.
    RecordBytes& Dropped() { return InlineFormat("*** HSLOG DROPPED MESSAGE(S) ***").ValueCount(0); }

    const std::string& Bytes() const { return mBytes; }

private:
    std::string mBytes;
};

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
