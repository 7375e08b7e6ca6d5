// The loops that all converters share.
#ifndef KXPL_KX_UNICODE_CONVERT_H
#define KXPL_KX_UNICODE_CONVERT_H

#include "KxUnicode.h"
#include "KxUnicodeScalar.h"

#include <cstddef>

namespace KXPL {

// How far a conversion has got.
template <typename Source, typename Target> struct Place {
    const Source* from;
    Target* to;
};

// What a conversion was given.
template <typename Source, typename Target> struct Bounds {
    const Source* begin;
    const Source* end;
    const Target* room; // the target's end
    bool strict;

    bool have(Place<Source, Target> at, std::ptrdiff_t units, std::ptrdiff_t places) const
    {
        return end - at.from >= units && room - at.to >= places;
    }
};

// Rules tell how a pair of forms is converted:
//   kUnits, kRoom  what there must be before takeMany is asked; a shorter text goes one by one from the start
//   takeMany       converts well-formed characters, many at a time, and tells up to where it wants the next ones
//                  converted one by one: nowhere, if only the text or the room got short
//   takeOne        converts one character by all the rules; false when the conversion ends there; the result
//                  then tells why, and otherwise changes only by what is remembered

// The two ends of takeOne. The first one writes a value of at most kLargestScalar for so many units.
template <typename Source, typename Target>
[[gnu::always_inline]] inline bool take(UTF32 value, std::ptrdiff_t units, Place<Source, Target>& at,
                                        const Bounds<Source, Target>& bounds, ConversionResult& result)
{
    if (!put(value, at.to, bounds.room)) {
        result = targetExhausted;
        return false;
    }
    at.from += units;
    return true;
}

inline bool stop(ConversionResult& result, ConversionResult reason)
{
    result = reason;
    return false;
}

// Converts one character; ASCII from and to UTF-8 without asking the rules.
template <typename Rules, typename Source, typename Target>
[[gnu::always_inline]] inline bool step(Place<Source, Target>& at, const Bounds<Source, Target>& bounds,
                                        ConversionResult& result)
{
    const Source unit = *at.from;
    if ((sizeof(Source) > 1 && sizeof(Target) > 1) || unit >= 0x80) {
        return Rules::takeOne(at, bounds, result);
    }
    if (at.to >= bounds.room) {
        return stop(result, targetExhausted);
    }
    *at.to = static_cast<Target>(unit);
    at = { at.from + 1, at.to + 1 };
    return true;
}

// Apart from the rest, so that a short text pays nothing for it.
template <typename Rules, typename Source, typename Target>
[[gnu::noinline]] ConversionResult convertMany(const Source** source, const Source* sourceEnd, Target** target,
                                               const Target* targetEnd, ConversionFlags flags)
{
    const Bounds<Source, Target> bounds { *source, sourceEnd, targetEnd, flags == strictConversion };
    Place<Source, Target> at { *source, *target };
    ConversionResult result = conversionOK;
    bool goesOn = true;
    while (goesOn && bounds.have(at, Rules::kUnits, Rules::kRoom)) {
        const Source* const until = Rules::takeMany(at, bounds);
        while (goesOn && at.from < until) {
            goesOn = step<Rules>(at, bounds, result);
        }
    }
    while (goesOn && at.from < bounds.end) {
        goesOn = step<Rules>(at, bounds, result);
    }
    *source = at.from;
    *target = at.to;
    return result;
}

template <typename Rules, typename Source, typename Target>
[[gnu::always_inline]] inline ConversionResult convert(const Source** source, const Source* sourceEnd,
                                                       Target** target, const Target* targetEnd,
                                                       ConversionFlags flags)
{
    Place<Source, Target> at { *source, nullptr };
    if (__builtin_expect(sourceEnd - at.from >= Rules::kUnits, 0)) {
        return convertMany<Rules>(source, sourceEnd, target, targetEnd, flags);
    }
    ConversionResult result = conversionOK;
    if (at.from < sourceEnd) {
        const Bounds<Source, Target> bounds { at.from, sourceEnd, targetEnd, flags == strictConversion };
        at.to = *target;
        while (step<Rules>(at, bounds, result) && at.from < sourceEnd) { }
        *source = at.from;
        *target = at.to;
    }
    return result;
}

} // namespace KXPL

#endif
