#include "HSLRecordPlace.h"

#include <cstddef>
#include <cwchar>

static_assert(sizeof(wchar_t) == 4, "wide strings are recorded as 32-bit characters");

namespace HSL {
namespace {

constexpr wchar_t kNullWideText[] = L"<NULL>";
constexpr std::size_t kLongestUTF16Text = 65535;
constexpr unsigned int kLargestPlainCopy = 32;

// Two copies of N bytes that may overlap make any size from N to 2 N; each is one load and one store.
template <std::size_t N> void copyBothEnds(unsigned char* to, const unsigned char* from, std::size_t size)
{
    unsigned char first[N];
    unsigned char last[N];
    std::memcpy(first, from, N);
    std::memcpy(last, from + size - N, N);
    std::memcpy(to, first, N);
    std::memcpy(to + size - N, last, N);
}

// Most strings are short, and for those a call of memcpy costs more than the copy.
void copyShortText(unsigned char* to, const unsigned char* from, std::size_t size)
{
    if (size >= 16) {
        copyBothEnds<16>(to, from, size);
    } else if (size >= 8) {
        copyBothEnds<8>(to, from, size);
    } else if (size >= 4) {
        copyBothEnds<4>(to, from, size);
    } else if (size >= 2) {
        copyBothEnds<2>(to, from, size);
    } else if (size == 1) {
        *to = *from;
    }
}

} // namespace

CRecordText MeasureText(const wchar_t* text)
{
    if (text == nullptr) {
        // The length field takes the number of bytes here, not of characters.
        constexpr unsigned short kBytes = sizeof kNullWideText - sizeof(wchar_t);
        return { kNullWideText, kBytes, kBytes };
    }
    const unsigned short length = static_cast<unsigned short>(std::wcslen(text));
    return { text, static_cast<unsigned int>(length * sizeof(wchar_t)), length };
}

CRecordText MeasureText(const unsigned short* text)
{
    std::size_t length = 0;
    while (text != nullptr && length < kLongestUTF16Text && text[length] != 0) {
        ++length;
    }
    return { text, static_cast<unsigned int>(length * sizeof(unsigned short)),
             static_cast<unsigned short>(length) };
}

void CopyText(const cb_control* control, unsigned char* to, const void* text, unsigned int size)
{
    if (size > kLargestPlainCopy && control->copy_func != nullptr) {
        control->copy_func(to, text, size);
    } else if (size > kLargestPlainCopy) {
        std::memcpy(to, text, size);
    } else {
        copyShortText(to, static_cast<const unsigned char*>(text), size);
    }
}

CRecordValue MeasureAnyValue(CValue value)
{
    return MeasureKnownValue(value);
}

unsigned char* StoreAnyValue(const cb_control* control, unsigned char* at, CRecordValue value)
{
    return StoreKnownValue(control, at, value);
}

CRecordPublisher PublishAnyValue(CRecordPublisher publisher, CRecordValue value)
{
    PublishKnownValue(publisher, value);
    return publisher;
}

} // namespace HSL
