// Where a text may be cut without splitting a character.
#ifndef HSLOG_HSL_TEXT_CUT_H
#define HSLOG_HSL_TEXT_CUT_H

#include <cstddef>
#include <type_traits>

namespace HSL {
namespace detail {

constexpr bool IsTrailingByte(char byte)
{
    return (static_cast<unsigned char>(byte) & 0xC0) == 0x80;
}

// The number of units in front of the character that the unit at `end` belongs to; that unit is looked at.
// `Unit` is char (UTF-8, or any encoding of single bytes), unsigned short (UTF-16) or a unit of 32 bits.
// Ill-formed text has no characters to spare and is cut where it is.
template <typename Unit> std::size_t WholeUnits(const Unit* text, std::size_t end)
{
    if constexpr (sizeof(Unit) == 1) {
        constexpr std::size_t kMostTrailingBytes = 3;
        std::size_t lead = end;
        while (lead > 0 && end - lead < kMostTrailingBytes && IsTrailingByte(text[lead])) {
            --lead;
        }
        return IsTrailingByte(text[lead]) ? end : lead;
    } else if constexpr (sizeof(Unit) == 2) {
        const bool splitsPair =
            end > 0 && (text[end - 1] & 0xFC00u) == 0xD800u && (text[end] & 0xFC00u) == 0xDC00u;
        return splitsPair ? end - 1 : end;
    } else {
        return end;
    }
}

} // namespace detail
} // namespace HSL

#endif
