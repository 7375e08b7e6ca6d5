// The form as one compressed body, for collectors that take it.
#ifndef FALLCATCH_BREAKPAD_SENDER_PACK_H
#define FALLCATCH_BREAKPAD_SENDER_PACK_H

#include "SenderForm.h"
#include "SenderReport.h"

#include <cstddef>
#include <optional>
#include <string>

namespace BreakpadLinux {

struct PackedForm {
    std::string type;  // the header Content-Type's value, with the boundary
    std::string bytes; // gzip, RFC 1952, of a form as in RFC 7578
};

// A packed form is held in memory; larger ones are posted as they are.
constexpr std::size_t kPackedLimit = std::size_t { 64 } << 20;

// Reads the dump from where it stands to its end. Nothing when it cannot be read, when there is no memory for the
// compression, when the outcome has more bytes than the limit, and in a build without zlib.
std::optional<PackedForm> Pack(const Submission& submission, PostedDump& dump,
                               std::size_t limit = kPackedLimit);

} // namespace BreakpadLinux

#endif
