#include "hslog/sinks/HSLTextSink.h"

#include <cerrno>
#include <poll.h>
#include <unistd.h>

#include <utility>

namespace HSL {
namespace Sinks {

TextSink::TextSink(std::unique_ptr<Layout> layout, std::size_t queueBytes)
    : Queue(queueBytes)
    , mLayout(std::move(layout))
{
}

void TextSink::Write(const Line& line)
{
    if (mDropped != 0 && !TellDropped(line)) {
        ++mDropped;
        return;
    }
    mText.clear();
    mLayout->Append(mText, line);
    if (!Push(mText.data(), mText.size(), line.mLevel >= kUrgent)) {
        ++mDropped;
    }
}

bool TextSink::TellDropped(const Line& line)
{
    const std::string message =
        "*** " + std::to_string(mDropped) + " LINE(S) DROPPED HERE: TOO SLOW TO WRITE ***";
    Line told = line;
    told.mLevel = Level::kWarning;
    told.mCategory = {};
    told.mMessage = message;
    told.mFile = {};
    told.mFunction = {};
    mText.clear();
    mLayout->Append(mText, told);
    if (!Push(mText.data(), mText.size(), false)) {
        return false;
    }
    mDropped = 0;
    return true;
}

std::size_t WriteAll(int file, const char* bytes, std::size_t size)
{
    std::size_t written = 0;
    while (written < size) {
        const ssize_t result = ::write(file, bytes + written, size - written);
        if (result > 0) {
            written += static_cast<std::size_t>(result);
        } else if (result < 0 && errno == EAGAIN) {
            pollfd ready { file, POLLOUT, 0 };
            ::poll(&ready, 1, -1);
        } else if (result == 0 || errno != EINTR) {
            break;
        }
    }
    return written;
}

} // namespace Sinks
} // namespace HSL
