#include "HSLLineHeader.h"

#include "hslog/render/HSLDigits.h"
#include "hslog/render/HSLStringify.h"

#include "KxShortBytes.h"

#include <algorithm>
#include <climits>
#include <cstring>

namespace HSL {
namespace {

constexpr double kMicrosecondsPerSecond = 1000000.0;
constexpr int kSecondsPerDay = 86400;
constexpr std::size_t kSequenceColumns = 6;
constexpr std::size_t kNameColumns = 18;
// More than everything but the name can take.
constexpr std::size_t kLongestFixedPart = 128;

bool hasTwoDigits(int number)
{
    return number >= 0 && number <= 99;
}

bool hasSixDigits(unsigned int number)
{
    return number <= 999999;
}

// Truncates toward zero; a value outside the range of int, from a misread record, goes to the nearest end.
int truncated(double value)
{
    if (value <= INT_MIN) {
        return INT_MIN;
    }
    return value >= INT_MAX ? INT_MAX : static_cast<int>(value);
}

template <std::size_t Size> char* put(char* to, const char (&text)[Size])
{
    std::memcpy(to, text, Size - 1);
    return to + Size - 1;
}

// "%6d".
char* putSequence(char* to, int sequence)
{
    const bool isNegative = sequence < 0;
    const unsigned int magnitude =
        isNegative ? 0u - static_cast<unsigned int>(sequence) : static_cast<unsigned int>(sequence);
    const std::size_t width = decimalDigits(magnitude) + (isNegative ? 1 : 0);
    char* const end = to + (width > kSequenceColumns ? width : kSequenceColumns);
    std::memset(to, ' ', kSequenceColumns);
    char* const digits = putDecimalInFrontOf(end, magnitude);
    if (isNegative) {
        digits[-1] = '-';
    }
    return end;
}

// "%-18s".
char* putName(char* to, const char* name, std::size_t length)
{
    std::memset(to, ' ', kNameColumns);
    KXPL::copyShort(to, name, length);
    return to + std::max(length, kNameColumns);
}

} // namespace

const ClockCache::Entry& ClockCache::Find(unsigned int seconds)
{
    Entry& entry = mEntries[seconds % kEntries];
    if (entry.isSet && entry.seconds == seconds) {
        return entry;
    }
    entry.isSet = true;
    entry.seconds = seconds;
    if (mHasOffset) {
        const int ofDay = static_cast<int>(seconds % kSecondsPerDay);
        const int local = (ofDay + mOffset % kSecondsPerDay + kSecondsPerDay) % kSecondsPerDay;
        entry.timeOfDay.mHour = local / 3600;
        entry.timeOfDay.mMinute = local / 60 % 60;
        entry.timeOfDay.mSecond = local % 60;
    } else {
        KxClockTime::GetTime(entry.timeOfDay, seconds);
    }
    const KxTimeOfDay& time = entry.timeOfDay;
    entry.hasText = hasTwoDigits(time.mHour) && hasTwoDigits(time.mMinute) && hasTwoDigits(time.mSecond);
    if (entry.hasText) {
        char* to = putTwoDigits(entry.text, static_cast<unsigned int>(time.mHour));
        *to++ = ':';
        to = putTwoDigits(to, static_cast<unsigned int>(time.mMinute));
        *to++ = ':';
        putTwoDigits(to, static_cast<unsigned int>(time.mSecond));
    }
    return entry;
}

const KxTimeOfDay& ClockCache::TimeOfDay(unsigned int seconds)
{
    return Find(seconds).timeOfDay;
}

const char* ClockCache::Text(unsigned int seconds)
{
    const Entry& entry = Find(seconds);
    return entry.hasText ? entry.text : nullptr;
}

void appendLineHeader(TextBuffer& line, const LineHeader& header, ClockCache& clock)
{
    const int whole = truncated(header.delta);
    const int fraction = truncated((header.delta - whole) * kMicrosecondsPerSecond);
    const char* time = clock.Text(header.seconds);
    const std::string& name = header.contextName;
    const std::size_t nameLength = KXPL::lengthUpToZero(name.data(), name.size());
    const bool isUsual = gShortcuts && time != nullptr && hasSixDigits(header.microseconds)
        && hasTwoDigits(whole) && fraction >= 0 && hasSixDigits(static_cast<unsigned int>(fraction))
        && nameLength <= kLongestPiece - kLongestFixedPart;
    if (!isUsual) {
        const KxTimeOfDay& timeOfDay = clock.TimeOfDay(header.seconds);
        return appendFormatted(line, "%6d  %02d:%02d:%02d.%06d  (%02d.%06d) :  [%-18s]\t", header.sequence,
                               timeOfDay.mHour, timeOfDay.mMinute, timeOfDay.mSecond,
                               static_cast<int>(header.microseconds), whole, fraction, name.c_str());
    }
    char* const begin = line.Room(kLongestFixedPart + nameLength);
    char* to = putSequence(begin, header.sequence);
    to = put(to, "  ");
    std::memcpy(to, time, 8);
    to += 8;
    *to++ = '.';
    to = putSixDigits(to, header.microseconds);
    to = put(to, "  (");
    to = putTwoDigits(to, static_cast<unsigned int>(whole));
    *to++ = '.';
    to = putSixDigits(to, static_cast<unsigned int>(fraction));
    to = put(to, ") :  [");
    to = putName(to, name.data(), nameLength);
    to = put(to, "]\t");
    line.Add(static_cast<std::size_t>(to - begin));
}

} // namespace HSL
