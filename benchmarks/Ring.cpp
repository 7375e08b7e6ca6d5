// The ring beside itself; its peers have sources of their own.
#include "Queues.h"

namespace bench {
namespace {

[[maybe_unused]] const bool added = AddQueue<Ring>("kxpl");

} // namespace
} // namespace bench
