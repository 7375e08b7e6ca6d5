// What is logged in the place of a null text.
#ifndef HSLOG_HSL_NULL_TEXT_H
#define HSLOG_HSL_NULL_TEXT_H

namespace HSL {
namespace detail {

constexpr char kNullText[] = "<NULL>";
constexpr wchar_t kNullWideText[] = L"<NULL>";

} // namespace detail
} // namespace HSL

#endif
