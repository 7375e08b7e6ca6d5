// Which formats may be tried: the renderer trusts the host's formats, so a fuzzer has to keep away from those
// that never come to an end and from those that the C library itself must not be given.
#ifndef FALLCATCH_FUZZ_RECORD_FORMATS_H
#define FALLCATCH_FUZZ_RECORD_FORMATS_H

#include <cstddef>
#include <string>

// What the C library's formatter is handed.
struct FormattedValue {
    enum Kind {
        nothing,
        integer,
        real,
        narrowText,
        wideText
    };

    Kind kind;
    std::size_t size; // of an integer as it is handed over, in bytes
};

// Both return the index of a "%" that has to go, or npos.

// A search for a conversion that begins at `position` and never ends.
std::size_t endlessSearch(const std::string& format, std::size_t position);

// Text that the C library must not be given with that one value, because it would take another type's value or
// one more, write to memory, or make more text than is sensible.
//
// Let through although the C standard does not define it, because glibc does: a lone "%" at the text's end (an
// error), a conversion of a sign that it does not know (printed as it stands), and a number taken narrower than
// it is.
std::size_t undefinedConversion(const std::string& text, FormattedValue value);

#endif
