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

#include "hslog/detail/HSLRecordFields.h"

#include "CircularBuffer.h"
#include "KxSplitTime.h"

#include <cstddef>
#include <cstring>

namespace HSL {

using detail::AnyField;
using detail::kFormatId;
using detail::kFormatInline;
using detail::NumberSize;

constexpr short kUninitializedFormatId = -1;

constexpr char kDroppedText[] = "*** HSLOG DROPPED MESSAGE(S) ***";

// Fill levels are measured before a record is begun, so this much is kept free for the record itself.
constexpr int kReserveBytes = 4096;

// What stands in front of a record's format. The codes need at most kMaxCodes bytes.
struct RecordHeader {
    int mSequence;
    KxSplitTime mTime;
    unsigned char mDepth;
    unsigned char mCount;
    const unsigned char* mCodes;
};

// The category codes are one piece.
template <class Pass>
constexpr void VisitCategories(Pass& pass, unsigned char count, const unsigned char* codes)
{
    pass.Put(count);
    pass.Bytes(codes, count);
}

template <class Pass> constexpr void VisitHeader(Pass& pass, const RecordHeader& header)
{
    constexpr unsigned char kMarker = 0;
    pass.Put(kMarker);
    pass.Put(header.mSequence);
    pass.Put(header.mTime.mSeconds);
    pass.Put(header.mTime.mMicroseconds);
    pass.Put(header.mDepth);
    VisitCategories(pass, header.mCount, header.mCodes);
}

constexpr unsigned int HeaderSize(unsigned char count)
{
    detail::Sizes sizes;
    VisitHeader(sizes, RecordHeader { 0, { 0, 0 }, 0, count, nullptr });
    return sizes.mSize;
}
static_assert(HeaderSize(1) == detail::kRecordHeaderSize, "the front end has to know it");

// VisitMessage for a format and `count` values behind it.
template <class Pass> inline void VisitMessage(Pass& pass, const AnyField* fields, int count)
{
    Visit(pass, fields[0]);
    pass.Put(static_cast<unsigned char>(count));
    for (int i = 1; i <= count; ++i) {
        Visit(pass, fields[i]);
    }
}

// A value whose type the run tells, by its content (ContentOf). A tag that is none of ValueType has no payload.
inline AnyField Measured(unsigned char tag, unsigned long long content)
{
    const std::uintptr_t address = static_cast<std::uintptr_t>(content);
    if (tag == kString) {
        return detail::Typed::Of(reinterpret_cast<const char*>(address));
    }
    if (tag == kWString) {
        return detail::Typed::Of(reinterpret_cast<const wchar_t*>(address));
    }
    if (tag == kUTF16String) {
        return detail::Typed::Of(reinterpret_cast<const unsigned short*>(address));
    }
    return AnyField(tag, content, NumberSize(tag));
}

inline AnyField Measured(const CValue& value)
{
    const unsigned int size = NumberSize(value.mType);
    return size != 0 ? AnyField(value.mType, detail::LeadingBytes(value, size), size)
                     : Measured(value.mType, detail::ContentOf(value));
}

// The pass that appends each piece by a Write of its own, an empty one by none. What does not fit is lost without a
// word; see the reserve above.
struct Writes {
    CCircularBuffer& mBuffer;

    template <typename T> void Put(const T& field) { Bytes(&field, sizeof field); }
    void Text(const detail::RecordText& text)
    {
        Put(text.mLength);
        Bytes(text.mText, text.mSize);
    }
    void Number(unsigned long long bits, unsigned int size) { Bytes(&bits, size); }
    void Bytes(const void* bytes, unsigned int size)
    {
        int count = static_cast<int>(size);
        if (count != 0) {
            mBuffer.Write(bytes, count);
        }
    }
};

} // namespace HSL

#endif
