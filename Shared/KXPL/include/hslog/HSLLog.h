// Log calls with "{}" formats that the compiler checks and translates.
//
//     #include "hslog/HSLLog.h"
//
//     HSL_INFO("{} files in {}", count, elapsed);          // "42 files in 17ms"
//     HSL_WARNING("disk {:.1f}% full on {:<12}", share, name);
//     HSL_LOG(net.Error(), "{}: {}", host, code);          // a category with levels, see HSLCategory.h
//     HSL_ERROR_EVERY_MS(1000, "queue of {} is full", name);
//
// Optional, beside HSLog and Log, which it changes nothing of: a call writes the same kind of record, for the
// same filter and the same callbacks. The format is translated into printf's language while the program is
// compiled; nothing is formatted, allocated or locked at the call. A wrong number of values, a type that cannot
// be shown and options that do not suit are refused by the compiler, which names the placeholder and
// its column. So neither a format that never returns from rendering nor a conversion that reads through a
// number can be written this way.
//
// Formats are those of std::format as far as printf can show them:
// [[ ]align][sign][#][0][width][.precision][type] with < and >, d x X o c for integers, e E f g G for
// floating-point numbers, s for texts and bools, p for pointers; values in turn ({}) or by number ({0}); {{ and
// }} for braces. "%" and "\" mean themselves.
//
//  - Types: see HSLLogTypes.h; in short every arithmetic type, texts of every kind, enumerations, pointers,
//    std::chrono's durations and points in time, std::optional, std::error_code, and whatever has a ToLogText.
//  - A negative number under x or o shows as its bits, of the width of its type.
//  - Without options a double shows up to 15 significant digits, a float up to 7, as %g does.
//  - Each text takes at most 1,000 bytes, cut between characters of UTF-8, and {:.N} at most N characters (and,
//    above 1,000, at most N bytes of a narrow text). All of a record together stays below the 4,096 bytes that a ring
//    keeps free, so the last of many long texts may get less. A width counts bytes.
//  - Values are looked at only if the call passes switch and filter.
//  - A record holds ten values at most. A point in time takes 3, 6 or 7 of them, an error code 2; a piece of
//    literal text with a percent sign takes one as soon as there is any value.
//  - A format is a string literal without a zero byte.
//
// Any thread may call, at any time; before CLogManager::Initialize nothing happens. During Cleanup no thread
// may be inside a call, as with HSLog.
//
// Define before the header is included, or for a whole program:
//  - HSL_LOG_SOURCE: each text begins with "[file:line function] ". Sinks take it apart again.
//  - HSL_LEAST_LEVEL, a level's number: calls of lower levels are checked and then leave no code. HSL_LOG,
//    whose category is a value, is not concerned.
#ifndef HSLOG_HSL_LOG_H
#define HSLOG_HSL_LOG_H

#include "../detail/KxHost.h"

#include "HSL.h"
#include "HSLLevel.h"
#include "detail/HSLLogCall.h"
#include "detail/HSLLogLimit.h"

#ifndef HSL_LEAST_LEVEL
// Levels below this number are left out of a program; to be defined before the first include, the same everywhere.
#define HSL_LEAST_LEVEL 0
#endif

// `category` is a Level, a Category's level, a code of one's own (0 to 255), or a CCat. Behind it the format, a
// string literal, and its values. Each macro here is a statement.
#define HSL_LOG(category, ...) HSL_LOG_IF_(category, true, __VA_ARGS__)
// Only if the condition holds; it is looked at only if the call passes the filter.
#define HSL_LOG_IF(category, condition, ...) HSL_LOG_IF_(category, (condition), __VA_ARGS__)
// The first, and then every n-th of those that pass the filter. The count is this place's, shared by all
// threads.
#define HSL_LOG_EVERY_N(category, n, ...)                                                                      \
    HSL_LOG_LIMITED_(::HSL::LogLimit::EveryN, IsDue(n), category, __VA_ARGS__)
// At most one in so many milliseconds, by a clock that nobody sets.
#define HSL_LOG_EVERY_MS(category, milliseconds, ...)                                                          \
    HSL_LOG_LIMITED_(::HSL::LogLimit::EveryMs, IsDue(milliseconds), category, __VA_ARGS__)
// The first one in the life of the process.
#define HSL_LOG_ONCE(category, ...) HSL_LOG_LIMITED_(::HSL::LogLimit::Once, IsDue(), category, __VA_ARGS__)

// One for each level, and its variants.
#define HSL_ULTRA_VERBOSE(...) HSL_AT_LEVEL_(0, HSL_LOG, __VA_ARGS__)
#define HSL_VERBOSE(...) HSL_AT_LEVEL_(1, HSL_LOG, __VA_ARGS__)
#define HSL_CHATTY(...) HSL_AT_LEVEL_(2, HSL_LOG, __VA_ARGS__)
#define HSL_INFO(...) HSL_AT_LEVEL_(3, HSL_LOG, __VA_ARGS__)
#define HSL_WARNING(...) HSL_AT_LEVEL_(4, HSL_LOG, __VA_ARGS__)
#define HSL_ERROR(...) HSL_AT_LEVEL_(5, HSL_LOG, __VA_ARGS__)
#define HSL_CATASTROPHY(...) HSL_AT_LEVEL_(6, HSL_LOG, __VA_ARGS__)

// HSL_LOG's variants at the level "Ultra Verbose".
#define HSL_ULTRA_VERBOSE_IF(...) HSL_AT_LEVEL_(0, HSL_LOG_IF, __VA_ARGS__)
#define HSL_ULTRA_VERBOSE_EVERY_N(...) HSL_AT_LEVEL_(0, HSL_LOG_EVERY_N, __VA_ARGS__)
#define HSL_ULTRA_VERBOSE_EVERY_MS(...) HSL_AT_LEVEL_(0, HSL_LOG_EVERY_MS, __VA_ARGS__)
#define HSL_ULTRA_VERBOSE_ONCE(...) HSL_AT_LEVEL_(0, HSL_LOG_ONCE, __VA_ARGS__)

// HSL_LOG's variants at the level "Verbose".
#define HSL_VERBOSE_IF(...) HSL_AT_LEVEL_(1, HSL_LOG_IF, __VA_ARGS__)
#define HSL_VERBOSE_EVERY_N(...) HSL_AT_LEVEL_(1, HSL_LOG_EVERY_N, __VA_ARGS__)
#define HSL_VERBOSE_EVERY_MS(...) HSL_AT_LEVEL_(1, HSL_LOG_EVERY_MS, __VA_ARGS__)
#define HSL_VERBOSE_ONCE(...) HSL_AT_LEVEL_(1, HSL_LOG_ONCE, __VA_ARGS__)

// HSL_LOG's variants at the level "Chatty".
#define HSL_CHATTY_IF(...) HSL_AT_LEVEL_(2, HSL_LOG_IF, __VA_ARGS__)
#define HSL_CHATTY_EVERY_N(...) HSL_AT_LEVEL_(2, HSL_LOG_EVERY_N, __VA_ARGS__)
#define HSL_CHATTY_EVERY_MS(...) HSL_AT_LEVEL_(2, HSL_LOG_EVERY_MS, __VA_ARGS__)
#define HSL_CHATTY_ONCE(...) HSL_AT_LEVEL_(2, HSL_LOG_ONCE, __VA_ARGS__)

// HSL_LOG's variants at the level "Info".
#define HSL_INFO_IF(...) HSL_AT_LEVEL_(3, HSL_LOG_IF, __VA_ARGS__)
#define HSL_INFO_EVERY_N(...) HSL_AT_LEVEL_(3, HSL_LOG_EVERY_N, __VA_ARGS__)
#define HSL_INFO_EVERY_MS(...) HSL_AT_LEVEL_(3, HSL_LOG_EVERY_MS, __VA_ARGS__)
#define HSL_INFO_ONCE(...) HSL_AT_LEVEL_(3, HSL_LOG_ONCE, __VA_ARGS__)

// HSL_LOG's variants at the level "Warning".
#define HSL_WARNING_IF(...) HSL_AT_LEVEL_(4, HSL_LOG_IF, __VA_ARGS__)
#define HSL_WARNING_EVERY_N(...) HSL_AT_LEVEL_(4, HSL_LOG_EVERY_N, __VA_ARGS__)
#define HSL_WARNING_EVERY_MS(...) HSL_AT_LEVEL_(4, HSL_LOG_EVERY_MS, __VA_ARGS__)
#define HSL_WARNING_ONCE(...) HSL_AT_LEVEL_(4, HSL_LOG_ONCE, __VA_ARGS__)

// HSL_LOG's variants at the level "Error".
#define HSL_ERROR_IF(...) HSL_AT_LEVEL_(5, HSL_LOG_IF, __VA_ARGS__)
#define HSL_ERROR_EVERY_N(...) HSL_AT_LEVEL_(5, HSL_LOG_EVERY_N, __VA_ARGS__)
#define HSL_ERROR_EVERY_MS(...) HSL_AT_LEVEL_(5, HSL_LOG_EVERY_MS, __VA_ARGS__)
#define HSL_ERROR_ONCE(...) HSL_AT_LEVEL_(5, HSL_LOG_ONCE, __VA_ARGS__)

// HSL_LOG's variants at the level "Catastrophy".
#define HSL_CATASTROPHY_IF(...) HSL_AT_LEVEL_(6, HSL_LOG_IF, __VA_ARGS__)
#define HSL_CATASTROPHY_EVERY_N(...) HSL_AT_LEVEL_(6, HSL_LOG_EVERY_N, __VA_ARGS__)
#define HSL_CATASTROPHY_EVERY_MS(...) HSL_AT_LEVEL_(6, HSL_LOG_EVERY_MS, __VA_ARGS__)
#define HSL_CATASTROPHY_ONCE(...) HSL_AT_LEVEL_(6, HSL_LOG_ONCE, __VA_ARGS__)

// What is left out is still compiled, so that it stays correct and its values count as used.
#define HSL_AT_LEVEL_(level, log, ...)                                                                         \
    log((::HSL::detail::LevelFrom<(HSL_LEAST_LEVEL)>(::HSL::detail::LevelNumber<(level)>())), __VA_ARGS__)

#define HSL_LOG_IF_(category, condition, ...)                                                                  \
    do {                                                                                                       \
        const auto hslCategory = ::HSL::CodeOf(category);                                                      \
        ::HSL::CLogManager* const hslManager = ::HSL::detail::LogCall::ManagerIfOn(hslCategory);               \
        if (::HSL::detail::kIsCompiled<decltype(hslCategory)> && hslManager != nullptr && (condition)) {       \
            HSL_LOG_FORMAT_(__VA_ARGS__);                                                                      \
            ::HSL::detail::LogCall::Record<HslFormat>(*hslManager, hslCategory, __VA_ARGS__);                  \
        }                                                                                                      \
    } while (false)

#define HSL_LOG_LIMITED_(limit, isDue, category, ...)                                                          \
    do {                                                                                                       \
        static limit hslLimit;                                                                                 \
        HSL_LOG_IF_(category, hslLimit.isDue, __VA_ARGS__);                                                    \
    } while (false)

// A type that carries the literal, since a function's argument is no constant.
#define HSL_LOG_FORMAT_(...)                                                                                   \
    static_assert(::HSL::LogFormat::IsLiteral(HSL_LOG_SPELLING_(HSL_LOG_FIRST_(__VA_ARGS__, 0))),              \
                  "the format must be a narrow string literal: pass any other text as a value of \"{}\"");     \
    HSL_LOG_FUNCTION_                                                                                          \
    struct HslFormat {                                                                                         \
        static constexpr const auto& Text() { return HSL_LOG_FIRST_(__VA_ARGS__, 0); }                         \
        static constexpr ::HSL::LogFormat::Place At() { return HSL_LOG_PLACE_; }                               \
    }
#define HSL_LOG_FIRST_(first, ...) first
#define HSL_LOG_SPELLING_(text) HSL_LOG_SPELLING_NOW_(text)
#define HSL_LOG_SPELLING_NOW_(text) #text

#ifdef HSL_LOG_SOURCE
#define HSL_LOG_FUNCTION_ constexpr const char* hslFunction = __func__;
#define HSL_LOG_PLACE_                                                                                         \
    {                                                                                                          \
        __FILE__, __LINE__, hslFunction                                                                        \
    }
#else
#define HSL_LOG_FUNCTION_
#define HSL_LOG_PLACE_                                                                                         \
    {                                                                                                          \
        nullptr, 0, nullptr                                                                                    \
    }
#endif

#endif
