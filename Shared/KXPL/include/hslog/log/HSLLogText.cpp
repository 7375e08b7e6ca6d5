// Texts of the calls of HSLLog.h, cut and turned into UTF-8.
#include "hslog/detail/HSLLogTypes.h"
#include "hslog/detail/HSLTextCut.h"

#include <algorithm>
#include <cstring>

namespace HSL {
namespace LogFormat {

using detail::IsTrailingByte;
using detail::WholeUnits;

namespace {

constexpr char32_t kReplacement = 0xFFFD;
constexpr char32_t kLargestCharacter = 0x10FFFF;

RecordText take(const char* text, std::size_t size, TextRoom& room)
{
    room.mBytes -= static_cast<unsigned int>(size);
    return { text, static_cast<unsigned int>(size), static_cast<unsigned short>(size) };
}

// The first `characters` characters, each begun by a byte that is no trailing one.
std::size_t bytesOfCharacters(const char* text, std::size_t size, std::size_t characters)
{
    std::size_t position = 0;
    for (; position < size; ++position) {
        if (!IsTrailingByte(text[position])) {
            if (characters == 0) {
                break;
            }
            --characters;
        }
    }
    return position;
}

// Takes the character at `position`, which it moves behind it.
char32_t takeCharacter(const char16_t* text, std::size_t size, std::size_t& position)
{
    const char32_t unit = text[position++];
    if ((unit & 0xF800) != 0xD800) {
        return unit;
    }
    const bool isPair = unit < 0xDC00 && position < size && (text[position] & 0xFC00) == 0xDC00;
    return isPair ? 0x10000 + ((unit & 0x3FF) << 10 | (text[position++] & 0x3FFu)) : kReplacement;
}

char32_t takeCharacter(const char32_t* text, std::size_t, std::size_t& position)
{
    const char32_t unit = text[position++];
    return unit > kLargestCharacter || (unit & 0xFFFFF800) == 0xD800 ? kReplacement : unit;
}

// Returns the number of bytes; none and a zero would both end the text for whoever prints it.
std::size_t putUTF8(char* to, char32_t character)
{
    const auto trailing = [character](int shift) {
        return static_cast<char>(0x80 | (character >> shift & 0x3F));
    };
    if (character < 0x80) {
        to[0] = static_cast<char>(character);
        return 1;
    }
    if (character < 0x800) {
        to[0] = static_cast<char>(0xC0 | character >> 6);
        to[1] = trailing(0);
        return 2;
    }
    if (character < 0x10000) {
        to[0] = static_cast<char>(0xE0 | character >> 12);
        to[1] = trailing(6);
        to[2] = trailing(0);
        return 3;
    }
    to[0] = static_cast<char>(0xF0 | character >> 18);
    to[1] = trailing(12);
    to[2] = trailing(6);
    to[3] = trailing(0);
    return 4;
}

template <typename Unit> RecordText encode(char* to, const Unit* text, std::size_t size, TextRoom& room)
{
    const std::size_t most = std::min({ room.mBytes, room.mMaximumBytes, kUsualTextBytes });
    std::size_t written = 0;
    unsigned int characters = 0;
    for (std::size_t position = 0; position < size && characters < room.mMaximumCharacters; ++characters) {
        char bytes[4];
        const std::size_t count = putUTF8(bytes, takeCharacter(text, size, position));
        if (count > most - written) {
            break;
        }
        std::memcpy(to + written, bytes, count);
        written += count;
    }
    return take(to, written, room);
}

template <typename Unit> std::size_t lengthUpTo(const Unit* text, std::size_t most)
{
    return static_cast<std::size_t>(std::find(text, text + most, Unit(0)) - text);
}

// A day's number since 1 January 1970 as year, month and day. Years begin in March here, so that a leap day is
// the last of one, and 400 of them, an era, always have the same number of days.
void splitDay(long long day, long long& year, int& month, int& dayOfMonth)
{
    constexpr long long kDaysFromMarchOfYear0 = 719468;
    constexpr long long kDaysOfEra = 146097;
    const long long shifted = day + kDaysFromMarchOfYear0;
    const long long era = (shifted >= 0 ? shifted : shifted - (kDaysOfEra - 1)) / kDaysOfEra;
    const int dayOfEra = static_cast<int>(shifted - era * kDaysOfEra);
    const int yearOfEra = (dayOfEra - dayOfEra / 1460 + dayOfEra / 36524 - dayOfEra / 146096) / 365;
    const int dayOfYear = dayOfEra - (365 * yearOfEra + yearOfEra / 4 - yearOfEra / 100);
    const int monthFromMarch = (5 * dayOfYear + 2) / 153;
    dayOfMonth = dayOfYear - (153 * monthFromMarch + 2) / 5 + 1;
    month = monthFromMarch < 10 ? monthFromMarch + 3 : monthFromMarch - 9;
    year = era * 400 + yearOfEra + (month <= 2 ? 1 : 0);
}

} // namespace

RecordText CutText(const char* text, std::size_t size, TextRoom& room)
{
    const std::size_t most = std::min(room.mBytes, room.mMaximumBytes);
    if (size > most) {
        size = WholeUnits(text, most);
    }
    return take(text, bytesOfCharacters(text, size, room.mMaximumCharacters), room);
}

RecordText CutTextAtZero(const char* text, std::size_t readable, TextRoom& room)
{
    if (text == nullptr) {
        return CutText(kNullText, sizeof kNullText - 1, room);
    }
    // One more, by which a text that is too long is known.
    const std::size_t looked = std::min<std::size_t>(readable, std::min(room.mBytes, room.mMaximumBytes) + 1);
    const void* zero = std::memchr(text, 0, looked);
    const std::size_t length =
        zero != nullptr ? static_cast<std::size_t>(static_cast<const char*>(zero) - text) : looked;
    if (length > room.mMaximumCharacters || length > room.mMaximumBytes || length > room.mBytes) {
        return CutText(text, length, room);
    }
    return take(text, length, room);
}

RecordText EncodeText(char* to, const char16_t* text, std::size_t size, TextRoom& room)
{
    return encode(to, text, size, room);
}

RecordText EncodeText(char* to, const char32_t* text, std::size_t size, TextRoom& room)
{
    return encode(to, text, size, room);
}

std::size_t LengthUpTo(const char16_t* text, std::size_t most)
{
    return lengthUpTo(text, most);
}

std::size_t LengthUpTo(const char32_t* text, std::size_t most)
{
    return lengthUpTo(text, most);
}

void SplitTime(long long seconds, int microseconds, AnyField* parts, int count)
{
    constexpr long long kSecondsOfDay = 86400;
    const long long day = (seconds >= 0 ? seconds : seconds - (kSecondsOfDay - 1)) / kSecondsOfDay;
    const int secondOfDay = static_cast<int>(seconds - day * kSecondsOfDay);
    long long year = 0;
    int month = 0;
    int dayOfMonth = 0;
    splitDay(day, year, month, dayOfMonth);
    const int all[] = {
        static_cast<int>(year), month,       dayOfMonth, secondOfDay / 3600, secondOfDay / 60 % 60,
        secondOfDay % 60,       microseconds
    };
    for (int i = 0; i < count; ++i) {
        parts[i] = IntegerValue(all[i]);
    }
}

} // namespace LogFormat
} // namespace HSL
