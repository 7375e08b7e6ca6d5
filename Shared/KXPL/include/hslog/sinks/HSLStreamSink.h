// Lines to standard error, or to any other file that is open already.
#ifndef HSLOG_HSL_STREAM_SINK_H
#define HSLOG_HSL_STREAM_SINK_H

#include "HSLLayout.h"
#include "HSLSink.h"

namespace HSL {
namespace Sinks {

// A null layout means the usual pattern, in colours on a terminal unless the environment has a NO_COLOR that is not
// empty. A reader that is gone loses lines, and harms nothing: no signal comes of it.
std::unique_ptr<Sink> MakeStandardErrorSink(std::unique_ptr<Layout> layout = nullptr);

// The file stays the host's, which must keep it open.
std::unique_ptr<Sink> MakeDescriptorSink(int file, std::unique_ptr<Layout> layout = nullptr);

} // namespace Sinks
} // namespace HSL

#endif
