// Where a product's reports lie.
#ifndef FALLCATCH_BREAKPAD_SENDER_WHERE_H
#define FALLCATCH_BREAKPAD_SENDER_WHERE_H

#include <string>

namespace BreakpadLinux {

// As the adapter itself tells it, which is loaded for this: only Foundation knows the user's folders. Empty, and why set,
// when it cannot be loaded.
std::string FolderOfProduct(const std::string& product, std::string& why);

} // namespace BreakpadLinux

#endif
