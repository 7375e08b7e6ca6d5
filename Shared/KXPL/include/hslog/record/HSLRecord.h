// The bytes of one log call in a context's ring, shared by the writers and the readers.
//
//  1  marker, always 0
//  4  sequence number, signed
//  4  seconds since 1 January 1970 UTC, unsigned
//  4  microseconds, 0 to 999,999
//  1  depth
//  1  number n of category codes, then n codes
//  1  format kind: kFormatInline or kFormatId
//  2  format id (signed), or the length of the format's text (unsigned) and then the text, unterminated
//  1  number of values, then each value: its tag and payload
//
// Numbers are in the processor's byte order, without padding. Nothing tells a record's length: a reader finds
// the end by taking every field.
#ifndef HSLOG_HSL_RECORD_H
#define HSLOG_HSL_RECORD_H

#include "hslog/detail/HSLRecordPlace.h"

#include "CircularBuffer.h"

#include <cstddef>
#include <cstring>

namespace HSL {

constexpr short kUninitializedFormatId = -1;

constexpr char kDroppedText[] = "*** HSLOG DROPPED MESSAGE(S) ***";

// Fill levels are measured before a record is begun, so this much is kept free for the record itself.
constexpr int kReserveBytes = 4096;

// Appends one field. What does not fit is lost without a word; see the reserve above.
inline void WriteBytes(CCircularBuffer& buffer, const void* bytes, int size)
{
    buffer.Write(bytes, size);
}

template <typename T> inline void WriteField(CCircularBuffer& buffer, const T& field)
{
    WriteBytes(buffer, &field, static_cast<int>(sizeof field));
}

// Appends a text's length field and its bytes.
inline void WriteText(CCircularBuffer& buffer, CRecordText text)
{
    WriteField(buffer, text.mLength);
    if (text.mSize != 0) {
        WriteBytes(buffer, text.mText, static_cast<int>(text.mSize));
    }
}

inline void WriteValue(CCircularBuffer& buffer, CRecordValue value)
{
    WriteField(buffer, value.mType);
    if (IsText(value.mType)) {
        WriteText(buffer, value.mText);
        return;
    }
    unsigned char number[sizeof value.mBits];
    const unsigned int size = NumberSize(value.mType);
    StoreNumber(number, size, value.mBits);
    if (size != 0) {
        WriteBytes(buffer, number, static_cast<int>(size));
    }
}

} // namespace HSL

#endif
