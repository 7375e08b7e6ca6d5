// Lets the compiler refuse log calls whose format and values do not fit together. Optional: without this header
// nothing changes, and with it only the calls made through its macros are looked at. The check is over when the
// program is compiled; what is left is the log call itself.
//
//     #include "HSLFormatCheck.h"
//
//     HSL_CHECKED_HSLOG(HSL::CCat(3), "%d files opened", 42);
//     HSL_CHECKED_LOG(HSL::LogManager()->GetTLSContext(), 3, "%s took %.1f ms", "layout", 7.25);
//
// Refused are: a format that is no string literal; one that never returns from rendering; "%n"; what is no
// conversion, or takes its width from a value; a conversion that does not suit its value; too few or too many
// values; null as a text. It is stricter than the renderer: "%d" must have an int, "%ld" a long, "%lld" a long
// long, "%p" a pointer, "%s" a narrow text, "%S" or "%ls" a wide or UTF-16 one. Signedness is not looked at.
//
// Not seen is what only the run tells: a wide text whose type is right and that is null all the same, or a text
// that is too long. A text from outside is passed as a Bounded (HSLBounded.h), which spares both. The values must
// not hold lambda expressions.
#ifndef HSLOG_HSL_FORMAT_CHECK_H
#define HSLOG_HSL_FORMAT_CHECK_H

#include "../detail/KxHost.h"

#include "HSL.h"
#include "HSLBounded.h"
#include "detail/HSLFormatRules.h"

#include <cstddef>
#include <type_traits>
#include <utility>

// `context` is a CLogContext*. Behind the category come the format, a string literal, and up to ten values. A
// statement.
#define HSL_CHECKED_LOG(context, cat, ...)                                                                     \
    do {                                                                                                       \
        HSL_FORMAT_CHECK_(__VA_ARGS__);                                                                        \
        (context)->Log((cat), __VA_ARGS__);                                                                    \
    } while (false)

// The front door's HSLog: no value or one. A statement.
#define HSL_CHECKED_HSLOG(cat, ...)                                                                            \
    do {                                                                                                       \
        HSL_FORMAT_CHECK_(__VA_ARGS__);                                                                        \
        ::HSL::HSLog((cat), __VA_ARGS__);                                                                      \
    } while (false)

#define HSL_FORMAT_CHECK_(...)                                                                                 \
    static_assert(::HSL::FormatCheck::IsQuoted(HSL_FORMAT_SPELLING_(HSL_FORMAT_FIRST_(__VA_ARGS__, 0))),       \
                  "the format must be a string literal: pass any other text as a value under \"%s\"");         \
    struct HslCheckedFormat {                                                                                  \
        static constexpr auto Text() { return HSL_FORMAT_FIRST_(__VA_ARGS__, 0); }                             \
    };                                                                                                         \
    static_assert(::HSL::FormatCheck::IsAccepted<HslCheckedFormat,                                             \
                                                 decltype(::HSL::FormatCheck::TypesOf(__VA_ARGS__))>(),        \
                  "this log call is refused; the compiler says why beside this message")
#define HSL_FORMAT_FIRST_(first, ...) first
#define HSL_FORMAT_SPELLING_(text) HSL_FORMAT_SPELLING_NOW_(text)
#define HSL_FORMAT_SPELLING_NOW_(text) #text

namespace HSL {
namespace FormatCheck {

// Whether an argument was spelled as a string literal.
constexpr bool IsQuoted(const char* spelling)
{
    for (std::size_t i = 0; spelling[i] != 0 && i < 4; ++i) {
        if (spelling[i] == '"') {
            return true;
        }
        if (!IsOneOf(spelling[i], "uULR8")) {
            return false;
        }
    }
    return false;
}

template <typename... Values> struct Types {
};

// For decltype only. Arrays become pointers as they do on their way into a CValue.
template <typename Format, typename... Values>
Types<std::decay_t<Values>...> TypesOf(const Format&, const Values&...);

template <ValueKind::Class kClass, std::size_t kSize, bool kIsLong = false> struct Kind {
    static constexpr ValueKind kKind = { kClass, kSize, kIsLong, kNone };
};

// One for each of CValue's constructors, so that the compiler chooses among them as it will in the call.
Kind<ValueKind::kInteger, 1> KindOf(signed char);
Kind<ValueKind::kInteger, 2> KindOf(short);
Kind<ValueKind::kInteger, sizeof(int)> KindOf(int);
Kind<ValueKind::kInteger, 8> KindOf(long long);
Kind<ValueKind::kInteger, 1> KindOf(unsigned char);
Kind<ValueKind::kInteger, 2> KindOf(unsigned short);
Kind<ValueKind::kInteger, sizeof(int)> KindOf(unsigned int);
Kind<ValueKind::kInteger, 8> KindOf(unsigned long long);
Kind<ValueKind::kReal, sizeof(double)> KindOf(float);
Kind<ValueKind::kReal, sizeof(double)> KindOf(double);
Kind<ValueKind::kInteger, sizeof(long), true> KindOf(long);
Kind<ValueKind::kAddress, sizeof(void*)> KindOf(const void*);
Kind<ValueKind::kNarrowText, sizeof(void*)> KindOf(const char*);
Kind<ValueKind::kWideText, sizeof(void*)> KindOf(const wchar_t*);
Kind<ValueKind::kWideText, sizeof(void*)> KindOf(const unsigned short*);
template <typename Unit> auto KindOf(const Bounded<Unit>&) -> decltype(KindOf(std::declval<const Unit*>()));

template <typename Value> constexpr ValueKind Without(Problem problem)
{
    return { ValueKind::kNothing, sizeof(Value), false, problem };
}

template <typename Value, typename = void> struct KindOfValue {
    static constexpr ValueKind kKind =
        Without<Value>(std::is_same<Value, std::nullptr_t>::value ? kNullText
                           : std::is_same<Value, CValue>::value   ? kUncheckableValue
                                                                  : kNoValueType);
};

template <typename Value>
struct KindOfValue<Value, std::void_t<decltype(KindOf(std::declval<const Value&>()))>> {
    using Chosen = decltype(KindOf(std::declval<const Value&>()));
    // A char or a bool becomes an int on its way, and "%hhd" suits it still.
    static constexpr ValueKind kKind = { Chosen::kKind.mClass,
                                         sizeof(Value) < Chosen::kKind.mSize ? sizeof(Value)
                                                                             : Chosen::kKind.mSize,
                                         Chosen::kKind.mIsLong, kNone };
};

template <typename... Values> constexpr Verdict CheckTypes(const char* format, Types<Values...>)
{
    // One more, as an array of none is not allowed.
    const ValueKind kinds[] = { KindOfValue<Values>::kKind..., ValueKind() };
    return Check(format, kinds, static_cast<int>(sizeof...(Values)));
}

// Never rendered: shows as an error text.
template <typename Values> constexpr Verdict CheckTypes(const wchar_t*, Values)
{
    return { kWideFormat, 0 };
}

// The compiler names both parameters where it reports a refusal: the problem, and the number of the value that
// it concerns or that seeks its conversion.
template <Problem kProblem, int kValue> struct Report {
    static_assert(
        kProblem != kNeverReturns,
        "this format never returns from rendering and stops all logging: with values, write no \"%%\" "
        "and no \"%\" behind a backslash; write \"%s\" and pass \"%\" as a value");
    static_assert(kProblem != kWrites, "\"%n\" writes to memory; remove it");
    static_assert(
        kProblem != kMalformed,
        "a \"%\" begins no conversion that this logger knows; to show a percent sign write \"%s\" and "
        "pass \"%\" as a value");
    static_assert(kProblem != kWidthFromValue,
                  "\"*\" finds no value; write the width or precision as a number");
    static_assert(kProblem != kTooWide, "no piece is longer than 65,535 characters: name a smaller number");
    static_assert(kProblem != kUnsuitable,
                  "a conversion does not suit its value: \"%d\" takes an int, \"%ld\" a long, \"%lld\" a long "
                  "long, \"%f\" a double, \"%s\" a narrow text, \"%S\" a wide one, \"%p\" any other pointer");
    static_assert(kProblem != kTooFewValues,
                  "a \"%\" finds no value: pass one more, or, for a percent sign behind the last conversion, "
                  "write \"%s\" and pass \"%\"");
    static_assert(kProblem != kTooManyValues,
                  "a value finds no conversion: write one more, or remove the value");
    static_assert(kProblem != kTooManyForACall, "a log call takes ten values at most; make two calls");
    static_assert(
        kProblem != kNullText,
        "null is no text, and a null wide text garbles all that follows it: pass L\"\" or \"<NULL>\"");
    static_assert(
        kProblem != kNoValueType,
        "a value has a type that cannot be logged: cast an unsigned long or a std::size_t to unsigned "
        "long long, and pass a std::string's c_str()");
    static_assert(kProblem != kUncheckableValue,
                  "only the run tells the type of a CValue: pass the value that it is made from");
    static_assert(kProblem != kWideFormat, "a wide format is never rendered: write a narrow one");
};

// True, or not compiled at all.
template <typename Format, typename Values> constexpr bool IsAccepted()
{
    constexpr Verdict kVerdict = CheckTypes(Format::Text(), Values());
    return sizeof(Report<kVerdict.mProblem, kVerdict.mValue>) > 0;
}

} // namespace FormatCheck

// Gets a format's text and what is wrong with it, both valid during the call. Runs on the thread that registers
// the format, without any lock.
typedef void (*FormatProblemCallback)(const char* format, const char* problem);

// AddFormatString, which is called in any case and whose id is returned. In debug builds (without NDEBUG) the
// callback is told first of a format that must not be logged with as many values as it has conversions: one
// that never returns, writes, or holds what is no conversion. Which values will be passed is not known here, so
// whether they suit is not looked at. A null callback is not called.
//
// Static, so that parts of a program that are built with NDEBUG and without it each keep their own.
static inline int CheckedAddFormatString(CLogManager& manager, const char* format,
                                         [[maybe_unused]] FormatProblemCallback callback)
{
#ifndef NDEBUG
    const FormatCheck::Problem problem =
        format != nullptr ? FormatCheck::CheckUnknownValues(format).mProblem : FormatCheck::kNone;
    if (problem != FormatCheck::kNone && callback != nullptr) {
        callback(format, FormatCheck::Describe(problem));
    }
#endif
    return manager.AddFormatString(format);
}

} // namespace HSL

#endif
