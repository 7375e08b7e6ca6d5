// A slow model of the converters of KxUnicode.h, and a way to run the real ones on the same data.
//
// Units of every width are held in 32 bits, so that one type serves for all of them.
#ifndef FALLCATCH_TESTS_UNICODE_MODEL_H
#define FALLCATCH_TESTS_UNICODE_MODEL_H

#include "KxUnicode.h"

#include <cstddef>
#include <cstdint>
#include <ostream>
#include <vector>

using UnicodeUnits = std::vector<std::uint32_t>;

enum class UnicodeForm {
    utf8,
    utf16,
    utf32
};

struct UnicodeOutcome {
    KXPL::ConversionResult result;
    std::size_t consumed;
    UnicodeUnits written;
    bool wroteBeyond = false; // something outside what was written was changed
};

bool operator==(const UnicodeOutcome& a, const UnicodeOutcome& b);
std::ostream& operator<<(std::ostream& out, const UnicodeOutcome& outcome);
// The units in hexadecimal.
struct UnicodeText {
    const UnicodeUnits& units;
};
std::ostream& operator<<(std::ostream& out, const UnicodeText& text);

// What a conversion into `room` units has to give.
UnicodeOutcome modelConversion(UnicodeForm from, UnicodeForm to, const UnicodeUnits& source, std::size_t room,
                               bool strict);
// Whether a legal sequence stands at the start of these bytes.
bool modelIsLegalSequence(const UnicodeUnits& bytes);
// The units of a value of at most 0x10FFFF.
UnicodeUnits modelEncode(UnicodeForm to, std::uint32_t value);

// What the real converter gives. Source and target begin `offset` units into their blocks of memory; nothing
// lies behind the source.
UnicodeOutcome realConversion(UnicodeForm from, UnicodeForm to, const UnicodeUnits& source, std::size_t room,
                              KXPL::ConversionFlags flags, std::size_t offset = 0);
template <typename Source, typename Target>
using UnicodeRoutine = KXPL::ConversionResult (*)(const Source**, const Source*, Target**, Target*,
                                                  KXPL::ConversionFlags);
struct UnicodeRoutines {
    UnicodeRoutine<KXPL::UTF8, KXPL::UTF16> utf8To16;
    UnicodeRoutine<KXPL::UTF8, KXPL::UTF32> utf8To32;
    UnicodeRoutine<KXPL::UTF16, KXPL::UTF8> utf16To8;
    UnicodeRoutine<KXPL::UTF16, KXPL::UTF32> utf16To32;
    UnicodeRoutine<KXPL::UTF32, KXPL::UTF8> utf32To8;
    UnicodeRoutine<KXPL::UTF32, KXPL::UTF16> utf32To16;
};
// The same for other routines than the real ones.
UnicodeOutcome conversionBy(const UnicodeRoutines& routines, UnicodeForm from, UnicodeForm to,
                            const UnicodeUnits& source, std::size_t room, KXPL::ConversionFlags flags,
                            std::size_t offset);

inline UnicodeOutcome strictly(UnicodeForm from, UnicodeForm to, const UnicodeUnits& source,
                               std::size_t room = 100)
{
    return realConversion(from, to, source, room, KXPL::strictConversion);
}

inline UnicodeOutcome leniently(UnicodeForm from, UnicodeForm to, const UnicodeUnits& source,
                                std::size_t room = 100)
{
    return realConversion(from, to, source, room, KXPL::lenientConversion);
}

struct UnicodeConverter {
    const char* name;
    UnicodeForm from;
    UnicodeForm to;
};
std::ostream& operator<<(std::ostream& out, const UnicodeConverter& converter);
extern const UnicodeConverter kUnicodeConverters[6];

#endif
