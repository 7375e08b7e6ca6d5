// Storing a record's fields straight into the ring, for the log calls in HSLLogContext.h. Not for hosts.
//
// A field takes three steps: it is measured, its bytes are stored behind the write position, where no reader
// looks, and then the write position is moved past it, field by field, as a Write of each field would. What
// a value or a format is decides the steps' code. Where the compiler knows the types of all values, and it does
// at nearly every log call, the steps become plain stores at the call; else they are taken out of line.
#ifndef HSLOG_HSL_RECORD_PLACE_H
#define HSLOG_HSL_RECORD_PLACE_H

#include "../HSLCat.h"
#include "../HSLValue.h"

#include "../../CircularBuffer.h"
#include "../../detail/KxAtomic.h"

#include <cstring>

// Inlined at the log call, where it becomes a few stores. A build without optimisation would only swell by it,
// and so would one with sanitizers, whose checks multiply at each call: such a build may define HSL_AT_CALL as
// nothing. The bytes in the ring are the same.
#ifndef HSL_AT_CALL
#ifdef __OPTIMIZE__
#define HSL_AT_CALL [[gnu::always_inline]]
#else
#define HSL_AT_CALL
#endif
#endif

namespace HSL {

enum FormatKind : unsigned char {
    kFormatInline = 1,
    kFormatId = 3
};

constexpr char kNullText[] = "<NULL>";

// Bytes in front of a record's format when it has one category.
constexpr unsigned int kRecordHeaderSize = 16;

// A text's bytes and what its length field says.
struct CRecordText {
    const void* mText;
    unsigned int mSize;     // bytes
    unsigned short mLength; // units; of a null wide string bytes
};

// A text is cut to its length modulo 65,536 units.
HSL_AT_CALL inline CRecordText MeasureText(const char* text)
{
    const char* shown = text != nullptr ? text : kNullText;
    const unsigned short length = static_cast<unsigned short>(__builtin_strlen(shown));
    return { shown, length, length };
}
CRecordText MeasureText(const wchar_t* text);
CRecordText MeasureText(const unsigned short* text);

// Bytes behind the tag of a value that is no text. Like all that a log call needs it is inlined whatever the size of
// the source around it: with limits for the whole source compilers leave it as a call that is made for every value.
HSL_AT_CALL constexpr unsigned int NumberSize(unsigned char type)
{
    switch (type) {
    case kInt8:
    case kUInt8:
        return 1;
    case kInt16:
    case kUInt16:
        return 2;
    case kInt32:
    case kUInt32:
    case kFloat:
        return 4;
    case kInt64:
    case kUInt64:
    case kDouble:
        return 8;
    case kLong:
        return sizeof(long);
    case kPointer:
        return sizeof(void*);
    default:
        return 0;
    }
}

HSL_AT_CALL constexpr bool IsText(unsigned char type)
{
    return type == kString || type == kWString || type == kUTF16String;
}

// A value as it will lie in the record: taken apart, because a CValue handed on as a whole would have to lie in
// memory, and the processor would wait for it there.
struct CRecordValue {
    unsigned char mType;
    unsigned long long mBits; // of a number
    CRecordText mText;        // of a text

    HSL_AT_CALL unsigned int Size() const { return 1 + (IsText(mType) ? 2 + mText.mSize : NumberSize(mType)); }
};

// A format as it will lie in the record: kind, length and text, or kind and id.
struct CRecordFormatText {
    CRecordText mText;

    HSL_AT_CALL unsigned int Size() const { return 3 + mText.mSize; }
};

struct CRecordFormatId {
    short mId;

    HSL_AT_CALL unsigned int Size() const { return 3; }
};

HSL_AT_CALL inline CRecordFormatText MeasureFormat(const char* format)
{
    return { MeasureText(format) };
}

HSL_AT_CALL inline CRecordFormatId MeasureFormat(short formatId)
{
    return { formatId };
}

// Moves a ring's write position over a record whose bytes are stored. The record is in one piece, so that the
// position only grows.
struct CRecordPublisher {
    cb_control* mControl;
    unsigned int mOffset;

    unsigned char* At(unsigned int distance) const
    {
        return reinterpret_cast<unsigned char*>(mControl) + mOffset + distance;
    }

    HSL_AT_CALL void Pass(unsigned int size)
    {
        mOffset += size;
        // Pair RING-WRITTEN, release: publishes the field's bytes.
        KxStoreRelease(mControl->write_offset, mOffset);
    }

    // A text without bytes is no field.
    HSL_AT_CALL void PassText(CRecordText text)
    {
        Pass(2);
        if (text.mSize != 0) {
            Pass(text.mSize);
        }
    }
};

// Copies as the ring's own writes do: more than 32 bytes by its copy function, if it has one.
void CopyText(const cb_control* control, unsigned char* to, const void* text, unsigned int size);

template <typename T> HSL_AT_CALL inline unsigned char* StoreField(unsigned char* at, T field)
{
    std::memcpy(at, &field, sizeof field);
    return at + sizeof field;
}

HSL_AT_CALL inline unsigned char* StoreText(const cb_control* control, unsigned char* at, CRecordText text)
{
    at = StoreField(at, text.mLength);
    if (__builtin_constant_p(text.mSize) && text.mSize <= 32) {
        std::memcpy(at, text.mText, text.mSize);
    } else {
        CopyText(control, at, text.mText, text.mSize);
    }
    return at + text.mSize;
}

HSL_AT_CALL inline unsigned char* StoreFormat(const cb_control* control, unsigned char* at,
                                              CRecordFormatText format)
{
    return StoreText(control, StoreField(at, kFormatInline), format.mText);
}

HSL_AT_CALL inline unsigned char* StoreFormat(const cb_control*, unsigned char* at, CRecordFormatId format)
{
    return StoreField(StoreField(at, kFormatId), format.mId);
}

HSL_AT_CALL inline void PublishFormat(CRecordPublisher& publisher, CRecordFormatText format)
{
    publisher.Pass(1);
    publisher.PassText(format.mText);
}

HSL_AT_CALL inline void PublishFormat(CRecordPublisher& publisher, CRecordFormatId)
{
    publisher.Pass(1);
    publisher.Pass(2);
}

template <typename T> HSL_AT_CALL inline unsigned long long BitsOf(T number)
{
    unsigned int bits;
    static_assert(sizeof number == sizeof bits, "for float");
    std::memcpy(&bits, &number, sizeof bits);
    return bits;
}

template <> HSL_AT_CALL inline unsigned long long BitsOf(double number)
{
    unsigned long long bits;
    std::memcpy(&bits, &number, sizeof bits);
    return bits;
}

// The number's bytes, in the low end.
HSL_AT_CALL inline unsigned long long NumberBits(const CValue& value)
{
    switch (value.mType) {
    case kInt8:
        return static_cast<unsigned char>(value.mValue.mInt8);
    case kInt16:
        return static_cast<unsigned short>(value.mValue.mInt16);
    case kInt32:
        return static_cast<unsigned int>(value.mValue.mInt32);
    case kInt64:
        return static_cast<unsigned long long>(value.mValue.mInt64);
    case kUInt8:
        return value.mValue.mUInt8;
    case kUInt16:
        return value.mValue.mUInt16;
    case kUInt32:
        return value.mValue.mUInt32;
    case kUInt64:
        return value.mValue.mUInt64;
    case kFloat:
        return BitsOf(value.mValue.mFloat);
    case kDouble:
        return BitsOf(value.mValue.mDouble);
    case kLong:
        return static_cast<unsigned long>(value.mValue.mLong);
    case kPointer:
        return reinterpret_cast<unsigned long>(value.mValue.mPointer);
    default:
        return 0;
    }
}

HSL_AT_CALL inline unsigned char* StoreNumber(unsigned char* at, unsigned int size, unsigned long long bits)
{
    switch (size) {
    case 1:
        return StoreField(at, static_cast<unsigned char>(bits));
    case 2:
        return StoreField(at, static_cast<unsigned short>(bits));
    case 4:
        return StoreField(at, static_cast<unsigned int>(bits));
    case 8:
        return StoreField(at, bits);
    default:
        return at;
    }
}

HSL_AT_CALL inline CRecordValue MeasureValue(const CValue& value)
{
    switch (value.mType) {
    case kString:
        return { kString, 0, MeasureText(value.mValue.mString) };
    case kWString:
        return { kWString, 0, MeasureText(value.mValue.mWString) };
    case kUTF16String:
        return { kUTF16String, 0, MeasureText(value.mValue.mUTF16String) };
    default:
        return { value.mType, NumberBits(value), { nullptr, 0, 0 } };
    }
}

// All that a value holds besides its type, for a way through registers: a number's bits or a text's address.
HSL_AT_CALL inline unsigned long long ContentOf(const CValue& value)
{
    switch (value.mType) {
    case kString:
        return reinterpret_cast<unsigned long>(value.mValue.mString);
    case kWString:
        return reinterpret_cast<unsigned long>(value.mValue.mWString);
    case kUTF16String:
        return reinterpret_cast<unsigned long>(value.mValue.mUTF16String);
    default:
        return NumberBits(value);
    }
}

// Whether the compiler sees, where a call of these is inlined, that a message has one category, and a value's
// type.
HSL_AT_CALL inline bool IsPlainHere(const CCat& cat)
{
    return __builtin_constant_p(cat.mCount) && cat.mCount == 1;
}

HSL_AT_CALL inline bool IsTypeKnownHere(const CValue& value)
{
    return __builtin_constant_p(value.mType);
}

// MeasureValue for what ContentOf made of a value.
inline CRecordValue MeasureContent(unsigned char type, unsigned long long content)
{
    const unsigned long address = static_cast<unsigned long>(content);
    switch (type) {
    case kString:
        return { kString, 0, MeasureText(reinterpret_cast<const char*>(address)) };
    case kWString:
        return { kWString, 0, MeasureText(reinterpret_cast<const wchar_t*>(address)) };
    case kUTF16String:
        return { kUTF16String, 0, MeasureText(reinterpret_cast<const unsigned short*>(address)) };
    default:
        return { type, content, { nullptr, 0, 0 } };
    }
}

HSL_AT_CALL inline unsigned char* StoreValue(const cb_control* control, unsigned char* at, CRecordValue value)
{
    at = StoreField(at, value.mType);
    return IsText(value.mType) ? StoreText(control, at, value.mText)
                               : StoreNumber(at, NumberSize(value.mType), value.mBits);
}

HSL_AT_CALL inline void PublishValue(CRecordPublisher& publisher, CRecordValue value)
{
    publisher.Pass(1);
    if (IsText(value.mType)) {
        publisher.PassText(value.mText);
    } else if (NumberSize(value.mType) != 0) {
        publisher.Pass(NumberSize(value.mType));
    }
}

} // namespace HSL

#endif
