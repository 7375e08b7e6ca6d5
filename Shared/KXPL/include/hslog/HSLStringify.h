// The one place where a format that is known only at run time meets the C library's formatter.
#ifndef HSLOG_HSL_STRINGIFY_H
#define HSLOG_HSL_STRINGIFY_H

#include <string>

namespace HSL {

// Without `enabled` an empty text. Otherwise what vsnprintf makes of the format and the values, up to its first
// zero byte and at most 65,535 bytes; an empty text where vsnprintf fails. Only during a collection pass,
// under the manager's lock: the buffer behind it is shared by the whole module.
std::string stringify(bool enabled, const char* format, ...);

} // namespace HSL

#endif
