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

#include "../CircularBuffer.h"

#include <cstddef>
#include <cstring>

namespace HSL {

enum FormatKind : unsigned char {
    kFormatInline = 1,
    kFormatId = 3
};

constexpr short kUninitializedFormatId = -1;

constexpr char kNullText[] = "<NULL>";
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

// Appends a 16-bit length and that many units; a longer text is cut to its length modulo 65,536.
template <typename Unit> inline void WriteText(CCircularBuffer& buffer, const Unit* text, std::size_t length)
{
    const unsigned short kept = static_cast<unsigned short>(length);
    WriteField(buffer, kept);
    if (kept != 0) {
        WriteBytes(buffer, text, static_cast<int>(kept * sizeof(Unit)));
    }
}

// Appends a narrow text or, for null, kNullText.
inline void WriteNarrowText(CCircularBuffer& buffer, const char* text)
{
    const char* shown = text != nullptr ? text : kNullText;
    WriteText(buffer, shown, std::strlen(shown));
}

} // namespace HSL

#endif
