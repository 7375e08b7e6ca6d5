// One typed argument of a message.
#ifndef HSLOG_HSL_VALUE_H
#define HSLOG_HSL_VALUE_H

#include "../detail/KxHost.h"

class CCircularBuffer;

namespace HSL {

// Type tags, one byte in a record. All other numbers are reserved and carry no payload.
enum ValueType : unsigned char {
    kInt8 = 4,
    kInt16 = 5,
    kInt32 = 6,
    kInt64 = 7,
    kUInt8 = 8,
    kUInt16 = 9,
    kUInt32 = 10,
    kUInt64 = 11,
    kFloat = 12,
    kDouble = 13,
    kLong = 14,    // 8 bytes in a 64-bit build, 4 in a 32-bit one
    kPointer = 15, // likewise
    kString = 16,
    kWString = 17,
    kUTF16String = 18
};

// Made implicitly from an argument of a log call. Holds a pointer to string data, never a copy: the string
// must stay valid until the log call has returned, which copies it into the record.
//
// There is no constructor for unsigned long; such a value (size_t on most systems) is ambiguous and needs a
// cast to unsigned long long or unsigned int. char, bool and enumerations become int. A char16_t* converts
// to an untyped pointer; cast it to const unsigned short* to log its text.
//
// Strings:
//  - const char*: up to 65,535 bytes. A longer one is cut to its length modulo 65,536: 65,536 bytes show as nothing.
//    All that one call logs has to stay below 4,096 bytes; HSLBounded.h bounds texts from outside.
//  - const wchar_t*: 32-bit characters, likewise.
//  - const unsigned short*: UTF-16, up to 65,535 units.
//  - A null const char* shows as "<NULL>", a null const unsigned short* as nothing.
//  - Beware of a null const wchar_t*: it is stored with a byte count where the collector expects a character
//    count, which garbles that record and whatever follows it in the thread's ring.
class CValue {
public:
    // One for each tag, in the tags' order.
    CValue(signed char v)
        : mType(kInt8)
    {
        mValue.mInt8 = v;
    }
    CValue(short v)
        : mType(kInt16)
    {
        mValue.mInt16 = v;
    }
    CValue(int v)
        : mType(kInt32)
    {
        mValue.mInt32 = v;
    }
    CValue(long long v)
        : mType(kInt64)
    {
        mValue.mInt64 = v;
    }
    CValue(unsigned char v)
        : mType(kUInt8)
    {
        mValue.mUInt8 = v;
    }
    CValue(unsigned short v)
        : mType(kUInt16)
    {
        mValue.mUInt16 = v;
    }
    CValue(unsigned int v)
        : mType(kUInt32)
    {
        mValue.mUInt32 = v;
    }
    CValue(unsigned long long v)
        : mType(kUInt64)
    {
        mValue.mUInt64 = v;
    }
    CValue(float v)
        : mType(kFloat)
    {
        mValue.mFloat = v;
    }
    CValue(double v)
        : mType(kDouble)
    {
        mValue.mDouble = v;
    }
    CValue(long v)
        : mType(kLong)
    {
        mValue.mLong = v;
    }
    CValue(const void* p)
        : mType(kPointer)
    {
        mValue.mPointer = p;
    }
    CValue(const char* s)
        : mType(kString)
    {
        mValue.mString = s;
    }
    CValue(const wchar_t* s)
        : mType(kWString)
    {
        mValue.mWString = s;
    }
    CValue(const unsigned short* s)
        : mType(kUTF16String)
    {
        mValue.mUTF16String = s;
    }
    ~CValue() = default;

    // A copy holds the same pointer.
    CValue(const CValue&) = default;
    CValue& operator=(const CValue&) = default;

    // Appends the tag and the payload, each piece by a Write of its own; always 0. A tag without payload is
    // written alone.
    int Serialize(CCircularBuffer* buffer) const;

    unsigned char mType; // a tag, which tells the member below that holds the value
    union {
        signed char mInt8;
        short mInt16;
        int mInt32;
        long long mInt64;
        unsigned char mUInt8;
        unsigned short mUInt16;
        unsigned int mUInt32;
        unsigned long long mUInt64;
        float mFloat;
        double mDouble;
        long mLong;
        const void* mPointer;
        const char* mString;
        const wchar_t* mWString;
        const unsigned short* mUTF16String;
    } mValue; // of the type that mType tells; pointers are the caller's
};

} // namespace HSL

#endif
