// Reads the host's configuration dictionary.
#ifndef FALLCATCH_BREAKPAD_CONFIGURATION_H
#define FALLCATCH_BREAKPAD_CONFIGURATION_H

#include "Reporter.h"

#include <optional>
#include <string>

@class NSDictionary;
@class NSString;

namespace BreakpadLinux {

// The text as UTF-8, up to its first zero. What has no UTF-8 form, such as half of a surrogate pair, is
// replaced.
std::string Utf8(NSString* text);

// The product's folder in the user's cache; empty for a user without one.
std::string ProductFolder(const std::string& product);

// Nothing when the configuration is refused; why then says so in a few words.
std::optional<Settings> ReadConfiguration(NSDictionary* configuration, std::string& why);

} // namespace BreakpadLinux

#endif
