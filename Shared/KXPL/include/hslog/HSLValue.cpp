#include "HSLValue.h"

#include "HSLRecord.h"

#include <cstddef>
#include <cwchar>

static_assert(sizeof(wchar_t) == 4, "wide strings are recorded as 32-bit characters");

namespace HSL {
namespace {

constexpr wchar_t kNullWideText[] = L"<NULL>";
constexpr std::size_t kLongestUTF16Text = 65535;

void writeWideText(CCircularBuffer& buffer, const wchar_t* text)
{
    if (text != nullptr) {
        WriteText(buffer, text, std::wcslen(text));
        return;
    }
    // The length field takes the number of bytes here, not of characters.
    constexpr unsigned short kNullWideBytes = sizeof kNullWideText - sizeof(wchar_t);
    WriteField(buffer, kNullWideBytes);
    WriteBytes(buffer, kNullWideText, kNullWideBytes);
}

void writeUTF16Text(CCircularBuffer& buffer, const unsigned short* text)
{
    std::size_t length = 0;
    while (text != nullptr && text[length] != 0 && length < kLongestUTF16Text) {
        ++length;
    }
    WriteText(buffer, text, length);
}

} // namespace

CValue::CValue(signed char v)
    : mType(kInt8)
{
    mValue.mInt8 = v;
}

CValue::CValue(short v)
    : mType(kInt16)
{
    mValue.mInt16 = v;
}

CValue::CValue(int v)
    : mType(kInt32)
{
    mValue.mInt32 = v;
}

CValue::CValue(long long v)
    : mType(kInt64)
{
    mValue.mInt64 = v;
}

CValue::CValue(unsigned char v)
    : mType(kUInt8)
{
    mValue.mUInt8 = v;
}

CValue::CValue(unsigned short v)
    : mType(kUInt16)
{
    mValue.mUInt16 = v;
}

CValue::CValue(unsigned int v)
    : mType(kUInt32)
{
    mValue.mUInt32 = v;
}

CValue::CValue(unsigned long long v)
    : mType(kUInt64)
{
    mValue.mUInt64 = v;
}

CValue::CValue(float v)
    : mType(kFloat)
{
    mValue.mFloat = v;
}

CValue::CValue(double v)
    : mType(kDouble)
{
    mValue.mDouble = v;
}

CValue::CValue(long v)
    : mType(kLong)
{
    mValue.mLong = v;
}

CValue::CValue(const void* p)
    : mType(kPointer)
{
    mValue.mPointer = p;
}

CValue::CValue(const char* s)
    : mType(kString)
{
    mValue.mString = s;
}

CValue::CValue(const wchar_t* s)
    : mType(kWString)
{
    mValue.mWString = s;
}

CValue::CValue(const unsigned short* s)
    : mType(kUTF16String)
{
    mValue.mUTF16String = s;
}

int CValue::Serialize(CCircularBuffer* buffer) const
{
    WriteField(*buffer, mType);
    switch (mType) {
    case kInt8:
    case kUInt8:
        WriteField(*buffer, mValue.mUInt8);
        break;
    case kInt16:
    case kUInt16:
        WriteField(*buffer, mValue.mUInt16);
        break;
    case kInt32:
    case kUInt32:
    case kFloat:
        WriteBytes(*buffer, &mValue, 4);
        break;
    case kInt64:
    case kUInt64:
    case kDouble:
        WriteBytes(*buffer, &mValue, 8);
        break;
    case kLong:
        WriteField(*buffer, mValue.mLong);
        break;
    case kPointer:
        WriteField(*buffer, mValue.mPointer);
        break;
    case kString:
        WriteNarrowText(*buffer, mValue.mString);
        break;
    case kWString:
        writeWideText(*buffer, mValue.mWString);
        break;
    case kUTF16String:
        writeUTF16Text(*buffer, mValue.mUTF16String);
        break;
    default:
        break;
    }
    return 0;
}

} // namespace HSL
