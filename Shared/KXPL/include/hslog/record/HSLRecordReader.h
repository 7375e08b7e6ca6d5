// Taking a record's fields off a ring.
#ifndef HSLOG_HSL_RECORD_READER_H
#define HSLOG_HSL_RECORD_READER_H

#include "ring/CircularBufferCursor.h"

#include <cstddef>
#include <cstring>

namespace HSL {

using KXPL::RingCursor;

// Takes one field. Where the ring holds fewer bytes, the rest of the field is zero.
template <typename T> inline T ReadField(RingCursor& ring)
{
    T field;
    ring.Read(&field, sizeof field);
    return field;
}

// A field at an offset of bytes that were taken.
template <typename T> inline T fieldAt(const unsigned char* bytes, std::size_t offset)
{
    T field;
    std::memcpy(&field, bytes + offset, sizeof field);
    return field;
}

} // namespace HSL

#endif
