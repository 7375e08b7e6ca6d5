// Outside texts made fit for one line of a log.
#ifndef FALLCATCH_BREAKPAD_CLEAN_TEXT_H
#define FALLCATCH_BREAKPAD_CLEAN_TEXT_H

#include <string>

namespace BreakpadLinux {

// Well-formed UTF-8 of at most 1000 bytes in one line. A space stands for each control character (C0, DEL, C1),
// each line or paragraph separator and each sign that turns the direction of what follows, a question mark for
// each byte that belongs to no character.
std::string CleanLine(const std::string& text);

// What may be told of a text that should have been a URL: neither what stands before its last "@", where names
// and passwords stand, nor a query, where keys do.
std::string WithoutSecrets(const std::string& url);

} // namespace BreakpadLinux

#endif
