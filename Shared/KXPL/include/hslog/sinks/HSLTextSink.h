// A sink of text lines with a queue of its own. What is behind the queue says where they go.
#ifndef HSLOG_HSL_TEXT_SINK_H
#define HSLOG_HSL_TEXT_SINK_H

#include "HSLLayout.h"
#include "HSLQueue.h"
#include "HSLSink.h"

namespace HSL {
namespace Sinks {

// A line from this level on is written at once.
constexpr Level kUrgent = Level::kError;

// Lays out lines and queues them for Consume, which a sink that derives from it supplies.
class TextSink : public Sink, protected Queue {
public:
    // A null layout is the usual pattern. queueBytes: the most that wait to be consumed.
    TextSink(std::unique_ptr<Layout> layout, std::size_t queueBytes);

    // Lines that find no room are counted, and told by a line of their own when there is room again.
    void Write(const Line& line) final;
    // False when not all of it was consumed in time.
    bool Flush(int milliseconds) final { return Queue::Flush(milliseconds); }

private:
    bool TellDropped(const Line& line);

    std::unique_ptr<Layout> mLayout;
    std::string mText; // used again for each line
    unsigned long long mDropped = 0;
};

// Writes all of it, whatever a signal or a full pipe cuts off. Returns the number of bytes that were written before the
// first failure, which errno tells.
std::size_t WriteAll(int file, const char* bytes, std::size_t size);

} // namespace Sinks
} // namespace HSL

#endif
