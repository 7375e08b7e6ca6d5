// The loop that all converters share.
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

// Copies fewer units than `most`, a power of two, that are the same in both forms: by two copies of fixed
// length that may overlap.
template <std::ptrdiff_t most, typename Source, typename Target>
void copyFewerThan(std::ptrdiff_t count, const Source* from, Target* to)
{
    constexpr std::ptrdiff_t kHalf = most / 2;
    if constexpr (most == 4) {
        if (count > 0) {
            to[0] = static_cast<Target>(from[0]);
            to[count / 2] = static_cast<Target>(from[count / 2]);
            to[count - 1] = static_cast<Target>(from[count - 1]);
        }
    } else if (count >= kHalf) {
        for (std::ptrdiff_t i = 0; i < kHalf; ++i) {
            to[i] = static_cast<Target>(from[i]);
        }
        for (std::ptrdiff_t i = count - kHalf; i < count; ++i) {
            to[i] = static_cast<Target>(from[i]);
        }
    } else {
        copyFewerThan<kHalf>(count, from, to);
    }
}

// Rules tell how a pair of forms is converted:
//   kUnits, kRoom  what there must be before takeMany is asked
//   takeMany       converts what is well-formed, many units at a time where it can, and stops nothing
//   takeOne        converts one character by all the rules; false when the conversion ends there; the result
//                  then tells why, and otherwise changes only by what is remembered

template <typename Rules, typename Source, typename Target>
[[gnu::always_inline]] inline ConversionResult
convertSingly(const Source** source, Target** target, Place<Source, Target> at,
              const Bounds<Source, Target>& bounds, ConversionResult result)
{
    while (at.from < bounds.end && Rules::takeOne(at, bounds, result)) { }
    *source = at.from;
    *target = at.to;
    return result;
}

// Apart from the rest, so that a short text pays nothing for it.
template <typename Rules, typename Source, typename Target>
[[gnu::noinline]] ConversionResult convertMany(const Source** source, const Source* sourceEnd, Target** target,
                                               const Target* targetEnd, ConversionFlags flags)
{
    const Bounds<Source, Target> bounds { *source, sourceEnd, targetEnd, flags == strictConversion };
    Place<Source, Target> at { *source, *target };
    ConversionResult result = conversionOK;
    do {
        at = Rules::takeMany(at, bounds);
        if (at.from < sourceEnd && !Rules::takeOne(at, bounds, result)) {
            *source = at.from;
            *target = at.to;
            return result;
        }
    } while (bounds.have(at, Rules::kUnits, Rules::kRoom));
    return convertSingly<Rules>(source, target, at, bounds, result);
}

template <typename Rules, typename Source, typename Target>
[[gnu::always_inline]] inline ConversionResult convert(const Source** source, const Source* sourceEnd,
                                                       Target** target, const Target* targetEnd,
                                                       ConversionFlags flags)
{
    if (*source >= sourceEnd) {
        return conversionOK;
    }
    const Bounds<Source, Target> bounds { *source, sourceEnd, targetEnd, flags == strictConversion };
    const Place<Source, Target> at { *source, *target };
    if (bounds.have(at, Rules::kUnits, Rules::kRoom)) {
        return convertMany<Rules>(source, sourceEnd, target, targetEnd, flags);
    }
    return convertSingly<Rules>(source, target, at, bounds, conversionOK);
}

} // namespace KXPL

#endif
