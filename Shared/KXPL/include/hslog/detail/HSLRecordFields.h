// The fields of a record, for the log calls in HSLLogContext.h. Not for hosts.
//
// Format and values are fields: a byte that tells the kind, and a payload. Visit walks a field, VisitMessage a whole
// message, and hands what lies in the ring to a pass, piece by piece. A log call makes three passes: it measures (Sizes),
// stores behind the write position, where no reader looks (Stores), and then moves the write position over what it
// stored (Publications), piece by piece, as a Write of each would. Writes, in HSLRecord.h, does the last two at once.
//
// Where the call tells a value's type the field is typed, and the passes become plain stores at the call. Everything
// else, a CValue above all, becomes an AnyField and goes through the same walk in the library.
#ifndef HSLOG_HSL_RECORD_FIELDS_H
#define HSLOG_HSL_RECORD_FIELDS_H

#include "../HSLCat.h"
#include "../HSLValue.h"

#include "../../detail/CircularBufferPlace.h"
#include "../../detail/KxAtCall.h"
#include "HSLNullText.h"

#include <cstdint>
#include <cstring>
#include <type_traits>
#include <utility>

namespace HSL {

template <typename Unit> class Bounded;

namespace detail {

// The kinds of a format, where a value has its ValueType.
enum FormatKind : unsigned char {
    kFormatInline = 1,
    kFormatId = 3
};

constexpr int kMostValues = 10;

// Bytes in front of a record's format when it has one category.
constexpr unsigned int kRecordHeaderSize = 16;

// A text's bytes and what its length field says.
struct RecordText {
    const void* mText;
    unsigned int mSize;     // bytes
    unsigned short mLength; // units; of a null wide text bytes
};

// A text is cut to its length modulo 65,536 units.
HSL_AT_CALL inline RecordText MeasureText(const char* text)
{
    const char* shown = text != nullptr ? text : kNullText;
    const unsigned short length = static_cast<unsigned short>(__builtin_strlen(shown));
    return { shown, length, length };
}
RecordText MeasureText(const wchar_t* text);
RecordText MeasureText(const unsigned short* text);

template <unsigned char kTag, typename Payload> struct Field {
    static constexpr unsigned char kKind = kTag;
    Payload mPayload;
};

// One Of for each of CValue's constructors, so that the compiler chooses among them as it would for a CValue.
struct Typed {
    HSL_AT_CALL static Field<kInt8, signed char> Of(signed char v) { return { v }; }
    HSL_AT_CALL static Field<kInt16, short> Of(short v) { return { v }; }
    HSL_AT_CALL static Field<kInt32, int> Of(int v) { return { v }; }
    HSL_AT_CALL static Field<kInt64, long long> Of(long long v) { return { v }; }
    HSL_AT_CALL static Field<kUInt8, unsigned char> Of(unsigned char v) { return { v }; }
    HSL_AT_CALL static Field<kUInt16, unsigned short> Of(unsigned short v) { return { v }; }
    HSL_AT_CALL static Field<kUInt32, unsigned int> Of(unsigned int v) { return { v }; }
    HSL_AT_CALL static Field<kUInt64, unsigned long long> Of(unsigned long long v) { return { v }; }
    HSL_AT_CALL static Field<kFloat, float> Of(float v) { return { v }; }
    HSL_AT_CALL static Field<kDouble, double> Of(double v) { return { v }; }
    HSL_AT_CALL static Field<kLong, long> Of(long v) { return { v }; }
    HSL_AT_CALL static Field<kPointer, const void*> Of(const void* v) { return { v }; }
    HSL_AT_CALL static Field<kString, RecordText> Of(const char* v) { return { MeasureText(v) }; }
    HSL_AT_CALL static Field<kWString, RecordText> Of(const wchar_t* v) { return { MeasureText(v) }; }
    HSL_AT_CALL static Field<kUTF16String, RecordText> Of(const unsigned short* v)
    {
        return { MeasureText(v) };
    }
    template <typename Unit> HSL_AT_CALL static auto Of(const Bounded<Unit>& v) { return Of(v.Text()); }

    HSL_AT_CALL static Field<kFormatInline, RecordText> Format(const char* v) { return { MeasureText(v) }; }
    HSL_AT_CALL static Field<kFormatId, short> Format(short v) { return { v }; }
};

// Void where a log call takes values of these types as they are. Classes go through CValue, but for bounded texts. Without
// optimisation everything does, as each combination of types would be a function of its own.
template <typename T> inline constexpr bool kIsTypedAtCall = std::is_scalar_v<T>;
template <typename Unit> inline constexpr bool kIsTypedAtCall<Bounded<Unit>> = true;
#ifdef __OPTIMIZE__
constexpr int kMostTypedAtCall = kMostValues;
#else
constexpr int kMostTypedAtCall = 0;
#endif
template <typename... Values>
using IfTyped = std::enable_if_t<(sizeof...(Values) > 0 && sizeof...(Values) <= kMostTypedAtCall)
                                     && (kIsTypedAtCall<Values> && ...),
                                 std::void_t<decltype(Typed::Of(std::declval<Values>()))...>>;

// A number's bytes, or a text's address, in the low end.
template <typename T> HSL_AT_CALL inline unsigned long long BitsOf(T number)
{
    if constexpr (std::is_pointer_v<T>) {
        return reinterpret_cast<std::uintptr_t>(number);
    } else if constexpr (std::is_integral_v<T>) {
        return static_cast<std::make_unsigned_t<T>>(number);
    } else {
        std::conditional_t<sizeof(T) == 4, std::uint32_t, std::uint64_t> bits;
        std::memcpy(&bits, &number, sizeof bits);
        return bits;
    }
}

// A field whose kind the run tells: format, value, or a reserved tag, which has no payload.
struct AnyField {
    unsigned long long mBits; // BitsOf the number or of the text's address
    unsigned int mSize;       // bytes of the payload, for a text without its length field
    unsigned short mLength;
    unsigned char mKind;
    bool mIsText;

    AnyField() = default; // a place for one
    HSL_AT_CALL AnyField(unsigned char kind, unsigned long long bits, unsigned int size)
        : mBits(bits)
        , mSize(size)
        , mLength(0)
        , mKind(kind)
        , mIsText(false)
    {
    }
    HSL_AT_CALL AnyField(unsigned char kind, RecordText text)
        : mBits(BitsOf(text.mText))
        , mSize(text.mSize)
        , mLength(text.mLength)
        , mKind(kind)
        , mIsText(true)
    {
    }
    template <unsigned char kTag>
    HSL_AT_CALL AnyField(Field<kTag, RecordText> field)
        : AnyField(kTag, field.mPayload)
    {
    }
    template <unsigned char kTag, typename Payload>
    HSL_AT_CALL AnyField(Field<kTag, Payload> field)
        : AnyField(kTag, BitsOf(field.mPayload), sizeof(Payload))
    {
    }

    HSL_AT_CALL RecordText Text() const
    {
        return { reinterpret_cast<const void*>(static_cast<std::uintptr_t>(mBits)), mSize, mLength };
    }
};

// Bytes behind the tag of a value that is no text.
HSL_AT_CALL constexpr unsigned int NumberSize(unsigned char tag)
{
    switch (static_cast<ValueType>(tag)) {
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
    case kString:
    case kWString:
    case kUTF16String:
        break;
    }
    return 0;
}

HSL_AT_CALL constexpr bool IsText(unsigned char tag)
{
    return tag == kString || tag == kWString || tag == kUTF16String;
}

template <typename T> HSL_AT_CALL inline unsigned long long LeadingBytes(const CValue& value)
{
    T bytes;
    std::memcpy(&bytes, &value.mValue, sizeof bytes);
    return bytes;
}

// The first so many bytes of a value: 1, 2, 4, 8, or none.
HSL_AT_CALL inline unsigned long long LeadingBytes(const CValue& value, unsigned int size)
{
    if (size == 4) {
        return LeadingBytes<std::uint32_t>(value);
    }
    if (size == 8) {
        return LeadingBytes<std::uint64_t>(value);
    }
    if (size == 1) {
        return LeadingBytes<std::uint8_t>(value);
    }
    return size == 2 ? LeadingBytes<std::uint16_t>(value) : 0;
}

// All that a value holds besides its type, as BitsOf tells it.
HSL_AT_CALL inline unsigned long long ContentOf(const CValue& value)
{
    return LeadingBytes(value, IsText(value.mType) ? sizeof(void*) : NumberSize(value.mType));
}

template <class Pass, unsigned char kTag, typename Payload>
HSL_AT_CALL inline void Visit(Pass& pass, const Field<kTag, Payload>& field)
{
    pass.Put(kTag);
    if constexpr (std::is_same_v<Payload, RecordText>) {
        pass.Text(field.mPayload);
    } else {
        pass.Put(field.mPayload);
    }
}

template <class Pass> HSL_AT_CALL inline void Visit(Pass& pass, const AnyField& field)
{
    pass.Put(field.mKind);
    if (field.mIsText) {
        pass.Text(field.Text());
    } else {
        pass.Number(field.mBits, field.mSize);
    }
}

template <class Pass, class Format, class... Values>
HSL_AT_CALL inline void VisitMessage(Pass& pass, const Format& format, const Values&... values)
{
    Visit(pass, format);
    pass.Put(static_cast<unsigned char>(sizeof...(values)));
    (Visit(pass, values), ...);
}

struct Sizes {
    unsigned int mSize = 0;

    template <typename T> HSL_AT_CALL constexpr void Put(const T&) { mSize += sizeof(T); }
    HSL_AT_CALL void Text(const RecordText& text) { mSize += 2 + text.mSize; }
    HSL_AT_CALL void Number(unsigned long long, unsigned int size) { mSize += size; }
    HSL_AT_CALL constexpr void Bytes(const void*, unsigned int size) { mSize += size; }
};

struct Stores {
    const cb_control* mRing;
    unsigned char* mAt;

    template <typename T> HSL_AT_CALL void Put(const T& field)
    {
        std::memcpy(mAt, &field, sizeof field);
        mAt += sizeof field;
    }
    HSL_AT_CALL void Text(const RecordText& text)
    {
        Put(text.mLength);
        if (__builtin_constant_p(text.mSize) && text.mSize <= CCircularBuffer::kLargestPlainCopy) {
            std::memcpy(mAt, text.mText, text.mSize);
        } else {
            KXPL::RingPlace::Copy(mRing, mAt, text.mText, text.mSize);
        }
        mAt += text.mSize;
    }
    HSL_AT_CALL void Bytes(const void* bytes, unsigned int size)
    {
        std::memcpy(mAt, bytes, size);
        mAt += size;
    }
    HSL_AT_CALL void Number(unsigned long long bits, unsigned int size)
    {
        if (size == 4) {
            Put(static_cast<std::uint32_t>(bits));
        } else if (size == 8) {
            Put(bits);
        } else if (size == 2) {
            Put(static_cast<std::uint16_t>(bits));
        } else if (size == 1) {
            Put(static_cast<std::uint8_t>(bits));
        }
    }
};

// What is empty is no piece.
struct Publications {
    KXPL::RingPlace& mPlace;

    template <typename T> HSL_AT_CALL void Put(const T&) { mPlace.Publish(sizeof(T)); }
    HSL_AT_CALL void Text(const RecordText& text)
    {
        Put(text.mLength);
        Bytes(text.mText, text.mSize);
    }
    HSL_AT_CALL void Number(unsigned long long, unsigned int size) { Bytes(nullptr, size); }
    HSL_AT_CALL void Bytes(const void*, unsigned int size)
    {
        if (size != 0) {
            mPlace.Publish(size);
        }
    }
};

// Whether the compiler sees, where a call of these is inlined, that a message has one category, and a value's type.
HSL_AT_CALL inline bool IsPlainHere(const CCat& cat)
{
    return __builtin_constant_p(cat.mCount) && cat.mCount == 1;
}

HSL_AT_CALL inline bool IsTypeKnownHere(const CValue& value)
{
    return __builtin_constant_p(value.mType);
}

} // namespace detail
} // namespace HSL

#endif
