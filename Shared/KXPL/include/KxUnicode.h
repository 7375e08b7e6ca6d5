// Conversion between UTF-8, UTF-16 and UTF-32 in pieces, with strict or lenient handling of ill-formed input.
// Terms follow the Unicode Standard, chapter 3.9.
//
// All routines are stateless, allocate nothing, write no terminator and may run on any number of threads.
#ifndef KXPL_KX_UNICODE_H
#define KXPL_KX_UNICODE_H

#include "detail/KxHost.h"

#include <type_traits>

namespace KXPL {

// 32 bits wide on every build; the type differs between builds of different pointer width.
using UTF32 = std::conditional_t<sizeof(void*) == 8, unsigned int, unsigned long>;
using UTF16 = unsigned short;
using UTF8 = unsigned char;
static_assert(sizeof(UTF32) == 4 && sizeof(UTF16) == 2, "code units of 32 and 16 bits");

// Any value but strictConversion acts as lenient; the type is fixed so that any other number is a value.
enum ConversionFlags : unsigned int {
    strictConversion = 0,
    lenientConversion = 1
};

// How a conversion ended.
enum ConversionResult {
    conversionOK = 0,    // the whole source was converted
    sourceExhausted = 1, // the source ends inside a character
    targetExhausted = 2, // no room for the next character
    sourceIllegal = 3    // ill-formed input was met
};

// The six converters. *source and *target advance over what was read and written; both ends are exclusive.
// None of the pointers may be null, except that with an empty source nothing is read through the others and
// everything stays as it is. Source and target must not overlap: a converter may store more units ahead of *target
// than it has to, all of them before targetEnd, and stores over them later.
//
// After targetExhausted and sourceExhausted *source stands at the first unit of the character that was not
// converted, so a caller can go on with more room or more source. After a stop with sourceIllegal it stands
// at the offending unit or lead byte.
//
// The routines treat ill-formed input differently, which a caller must know:
//
//                       surrogate value           surrogate value      value above       value above
//                       or unpaired, strict       lenient              0x10FFFF, strict  0x10FFFF, lenient
//  UTF32 to UTF16       stops                     writes U+FFFD        skipped *         writes U+FFFD
//  UTF32 to UTF8        stops                     passed through       writes U+FFFD *   writes U+FFFD *
//  UTF16 to UTF32       stops                     passed through       -                 -
//  UTF16 to UTF8        stops                     passed through       -                 -
//  UTF8 to either       stops                     stops                stops             stops
//
//  * goes on, and returns sourceIllegal once the source is used up; both pointers then stand at their ends.
//
// A high surrogate that is the last unit of a UTF-16 source gives sourceExhausted in both modes. "Passed
// through" in UTF-8 means three bytes that no strict reader accepts.
ConversionResult ConvertUTF32toUTF16(const UTF32** source, const UTF32* sourceEnd, UTF16** target,
                                     UTF16* targetEnd, ConversionFlags flags);
ConversionResult ConvertUTF16toUTF32(const UTF16** source, const UTF16* sourceEnd, UTF32** target,
                                     UTF32* targetEnd, ConversionFlags flags);
ConversionResult ConvertUTF16toUTF8(const UTF16** source, const UTF16* sourceEnd, UTF8** target,
                                    UTF8* targetEnd, ConversionFlags flags);
ConversionResult ConvertUTF8toUTF16(const UTF8** source, const UTF8* sourceEnd, UTF16** target,
                                    UTF16* targetEnd, ConversionFlags flags);
ConversionResult ConvertUTF32toUTF8(const UTF32** source, const UTF32* sourceEnd, UTF8** target,
                                    UTF8* targetEnd, ConversionFlags flags);
ConversionResult ConvertUTF8toUTF32(const UTF8** source, const UTF8* sourceEnd, UTF32** target,
                                    UTF32* targetEnd, ConversionFlags flags);

// True when the sequence that begins at source, its length told by the lead byte, lies wholly before
// sourceEnd and is legal; false for an empty range.
//
// Overlong forms, encoded surrogates and values above 0x10FFFF are refused. Beware: after the lead bytes 0xED
// and 0xF4 the second byte is tested for its upper bound only, so ED 41 80 counts as legal (and converts to
// U+C040), although the Unicode Standard's table 3-7 has no such sequence.
bool isLegalUTF8Sequence(const UTF8* source, const UTF8* sourceEnd);

} // namespace KXPL

#endif
