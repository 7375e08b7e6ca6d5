// Measures the wide texts of a record.
#include "hslog/HSLLogManager.h"
#include "hslog/detail/HSLRecordFields.h"

#include <cstddef>
#include <cwchar>

static_assert(sizeof(wchar_t) == 4, "wide strings are recorded as 32-bit characters");

namespace HSL {
namespace detail {
namespace {

constexpr std::size_t kLongestUTF16Text = 65535;

} // namespace

RecordText MeasureText(const wchar_t* text)
{
    if (text == nullptr) {
        // The length field takes the number of bytes here, not of characters, unless a manager is guarded.
        const CLogManager* manager = CLogManager::Instance();
        constexpr unsigned short kUnits = sizeof kNullWideText / sizeof(wchar_t) - 1;
        constexpr unsigned short kBytes = kUnits * sizeof(wchar_t);
        return { kNullWideText, kBytes, manager != nullptr && manager->IsGuarded() ? kUnits : kBytes };
    }
    const unsigned short length = static_cast<unsigned short>(std::wcslen(text));
    return { text, static_cast<unsigned int>(length * sizeof(wchar_t)), length };
}

RecordText MeasureText(const unsigned short* text)
{
    std::size_t length = 0;
    while (text != nullptr && length < kLongestUTF16Text && text[length] != 0) {
        ++length;
    }
    return { text, static_cast<unsigned int>(length * sizeof(unsigned short)),
             static_cast<unsigned short>(length) };
}

} // namespace detail
} // namespace HSL
