// Where zlib is not: every report is posted as it is.
#include "SenderPack.h"

namespace BreakpadLinux {

std::optional<PackedForm> Pack(const Submission&, PostedDump&, std::size_t)
{
    return std::nullopt;
}

} // namespace BreakpadLinux
