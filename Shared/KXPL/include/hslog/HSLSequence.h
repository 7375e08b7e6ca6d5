// What the structured output callback is not handed.
#ifndef HSLOG_HSL_SEQUENCE_H
#define HSLOG_HSL_SEQUENCE_H

#include "../detail/KxHost.h"

namespace HSL {

// The sequence number of the record that a structured callback is being called for; gaps tell of dropped messages.
// Only inside such a callback, on the thread that it runs on.
int SequenceInCallback();

} // namespace HSL

#endif
