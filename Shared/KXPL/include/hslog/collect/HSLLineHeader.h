// What stands in front of a line's message.
#ifndef HSLOG_HSL_LINE_HEADER_H
#define HSLOG_HSL_LINE_HEADER_H

#include "hslog/render/HSLTextBuffer.h"

#include "KxTime.h"

#include <cstddef>
#include <string>

namespace HSL {

// Local times of day, each asked for once. Only for the length of a pass: the next one must see a changed time
// zone.
class ClockCache {
public:
    // Valid until the next call.
    const KxTimeOfDay& TimeOfDay(unsigned int seconds);
    // "HH:MM:SS" without a terminator, or null where that many digits do not do. Valid until the next call.
    const char* Text(unsigned int seconds);
    // From here on local time is so many seconds ahead of UTC, whatever the system's time zone is.
    void UseOffset(int seconds)
    {
        mHasOffset = true;
        mOffset = seconds;
    }

private:
    // Contexts whose records stand on both sides of a second's end take turns between two entries.
    static constexpr std::size_t kEntries = 4;

    struct Entry {
        bool isSet = false;
        bool hasText = false;
        unsigned int seconds = 0;
        char text[8] = {};
        KxTimeOfDay timeOfDay = {};
    };

    const Entry& Find(unsigned int seconds);

    Entry mEntries[kEntries];
    bool mHasOffset = false;
    int mOffset = 0;
};

struct LineHeader {
    int sequence;
    unsigned int seconds;
    unsigned int microseconds;
    double delta;                   // in seconds
    const std::string& contextName; // shown up to its first zero byte
};

// Appends everything from the sequence number to the tab, cut at 65,535 characters.
void appendLineHeader(TextBuffer& line, const LineHeader& header, ClockCache& clock);

} // namespace HSL

#endif
