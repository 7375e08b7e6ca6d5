#include "hslog/detail/HSLRecordPlace.h"

#include "hslog/HSLLogManager.h"

#include "KxShortBytes.h"

#include <cstddef>
#include <cwchar>

static_assert(sizeof(wchar_t) == 4, "wide strings are recorded as 32-bit characters");

namespace HSL {
namespace {

constexpr wchar_t kNullWideText[] = L"<NULL>";
constexpr std::size_t kLongestUTF16Text = 65535;
constexpr unsigned int kLargestPlainCopy = 32;

} // namespace

CRecordText MeasureText(const wchar_t* text)
{
    if (text == nullptr) {
        if (CLogManager::Instance() != nullptr && CLogManager::Instance()->IsGuarded()) {
            constexpr unsigned short kUnits = sizeof kNullWideText / sizeof(wchar_t) - 1;
            return { kNullWideText, kUnits * sizeof(wchar_t), kUnits };
        }
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
    } else {
        KXPL::copyShort(to, text, size);
    }
}

} // namespace HSL
