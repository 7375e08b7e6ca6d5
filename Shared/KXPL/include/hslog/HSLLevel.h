// The seven levels by name, and what a call of HSLLog.h takes as its category.
#ifndef HSLOG_HSL_LEVEL_H
#define HSLOG_HSL_LEVEL_H

#include "../detail/KxHost.h"

#include "HSLCat.h"

#include <type_traits>

namespace HSL {

// The codes of the levels as categories.
enum class Level : unsigned char {
    kUltraVerbose,
    kVerbose,
    kChatty,
    kInfo,
    kWarning,
    kError,
    kCatastrophy
};

constexpr int kLevels = 7; // their number

// What a log call names, as a category's code: a level, a code of one's own (0 to 255), or a CCat as it is.
constexpr unsigned char CodeOf(Level level)
{
    return static_cast<unsigned char>(level);
}

// A code of one's own.
template <typename Integer> constexpr unsigned char CodeOf(Integer code)
{
    return static_cast<unsigned char>(code);
}

namespace detail {

// A level below the least one that a program is compiled with. The values of such a call are checked, and no
// more.
struct LeftOut { };

// Whether a call that names such a category is compiled.
template <typename Category> inline constexpr bool kIsCompiled = !std::is_same<Category, const LeftOut>::value;

// A level as a type.
template <int kLevel> using LevelNumber = std::integral_constant<int, kLevel>;

// The level, or LeftOut where it is below the least.
template <int kLeast, int kLevel> constexpr auto LevelFrom(LevelNumber<kLevel>)
{
    if constexpr (kLevel >= kLeast) {
        return Level(kLevel);
    } else {
        return LeftOut();
    }
}

} // namespace detail

// Stays what it is.
constexpr detail::LeftOut CodeOf(detail::LeftOut)
{
    return {};
}

// Codes of one's own, as they are.
inline const CCat& CodeOf(const CCat& cat)
{
    return cat;
}

} // namespace HSL

#endif
