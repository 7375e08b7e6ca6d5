// How a format takes its values, as a compiler can follow it: the rules of the renderer that pair conversions
// with values, and printf's own about what a conversion may be. For HSLFormatCheck.h, which tells what is
// refused; usable on its own at run time.
#ifndef HSLOG_HSL_FORMAT_RULES_H
#define HSLOG_HSL_FORMAT_RULES_H

#include <cstddef>

namespace HSL {
namespace FormatCheck {

enum Problem {
    kNone,
    kNeverReturns,    // a "%%", or a "%" behind a backslash, met while a value seeks its conversion
    kWrites,          // "%n"
    kMalformed,       // between "%" and the letter that ends the conversion stands what printf does not know
    kWidthFromValue,  // "*"
    kTooWide,         // a width or precision above kWidest
    kUnsuitable,      // the conversion and the value's type
    kTooFewValues,    // a "%" is left over
    kTooManyValues,   // a value is left over
    kTooManyForACall, // more than ten
    kNullText,
    kNoValueType,      // no type that a CValue is made from, or one that it cannot choose a constructor for
    kUncheckableValue, // a CValue, whose type only the run tells
    kWideFormat
};

// What a host is told about a format.
constexpr const char* Describe(Problem problem)
{
    switch (problem) {
    case kNone:
        return "nothing is wrong";
    case kNeverReturns:
        return "never returns from rendering: no %% and no % behind a backslash in a format with values";
    case kWrites:
        return "%n writes to memory";
    case kMalformed:
        return "a % that begins no conversion; pass a percent sign as a value under %s";
    case kWidthFromValue:
        return "a width or precision cannot come from a value";
    case kTooWide:
        return "a width or precision is above 65,535";
    case kUnsuitable:
        return "a conversion does not suit its value";
    case kTooFewValues:
        return "a % finds no value";
    case kTooManyValues:
        return "a value finds no conversion";
    case kTooManyForACall:
        return "a log call takes ten values at most";
    case kNullText:
        return "null is no text";
    case kNoValueType:
        return "a value has a type that cannot be logged";
    case kUncheckableValue:
        return "a value has a type that only the run tells";
    case kWideFormat:
        return "a wide format is never rendered";
    }
    return "";
}

// One value, as far as its conversion is concerned.
struct ValueKind {
    enum Class {
        kAnything, // fits any conversion; for formats whose values are not known yet
        kInteger,
        kReal,
        kAddress,
        kNarrowText,
        kWideText,
        kNothing // see `problem`
    };
    Class mClass;
    std::size_t mSize; // bytes of the value's own type
    bool mIsLong;      // a native long
    Problem mProblem;  // of the value itself
};

struct Verdict {
    Problem mProblem;
    int mValue; // counted from 1: the one that the problem concerns, or seeks its conversion; 0 for none
};

// No piece shows more than this many characters, but the C library spends time and memory on every one that is
// asked for: seconds and gigabytes where a format names a large number.
constexpr int kWidest = 65535;

// A conversion's parts, once its "%" and its last letter are known.
struct Conversion {
    bool mIsWellFormed = false;
    bool mHasStar = false;
    bool mIsTooWide = false;
    char mLength = 0; // 'h', 'l', 'j', 'z', 't', 'L'; 'H' and 'q' for "hh" and "ll"; 0 for none
    char mLetter = 0;
};

constexpr bool IsOneOf(char character, const char* list)
{
    for (; *list != 0; ++list) {
        if (*list == character) {
            return true;
        }
    }
    return false;
}

// The renderer's own list: these end a conversion, whatever stands before them.
constexpr bool EndsConversion(char character)
{
    return IsOneOf(character, "cCdiouxXeEfgGnpsS");
}

constexpr std::size_t SkipNumber(const char* text, std::size_t position, Conversion& conversion)
{
    if (text[position] == '*') {
        conversion.mHasStar = true;
        return position + 1;
    }
    int number = 0;
    while (IsOneOf(text[position], "0123456789")) {
        number = number * 10 + (text[position] - '0');
        if (number > kWidest) {
            conversion.mIsTooWide = true;
            number = kWidest;
        }
        ++position;
    }
    return position;
}

// Takes the text from "%" on apart as printf does; `letter` is the position of the conversion's last letter.
constexpr Conversion ParseConversion(const char* text, std::size_t percent, std::size_t letter)
{
    Conversion conversion;
    conversion.mLetter = text[letter];
    std::size_t position = percent + 1;
    while (IsOneOf(text[position], "-+ #0'")) {
        ++position;
    }
    position = SkipNumber(text, position, conversion);
    if (text[position] == '.') {
        position = SkipNumber(text, position + 1, conversion);
    }
    if (IsOneOf(text[position], "hljztL")) {
        const char length = text[position];
        ++position;
        conversion.mLength = length;
        if ((length == 'h' || length == 'l') && text[position] == length) {
            conversion.mLength = length == 'h' ? 'H' : 'q';
            ++position;
        }
    }
    conversion.mIsWellFormed = position == letter;
    return conversion;
}

constexpr bool IntegerSuits(const Conversion& conversion, const ValueKind& value)
{
    const bool isCharacter = IsOneOf(conversion.mLetter, "cC");
    if (!isCharacter && !IsOneOf(conversion.mLetter, "diouxX")) {
        return false;
    }
    const bool isInt = value.mSize <= sizeof(int) && !value.mIsLong;
    if (conversion.mLetter == 'C') {
        return isInt && conversion.mLength == 0;
    }
    if (isCharacter) {
        return isInt && (conversion.mLength == 0 || conversion.mLength == 'l');
    }
    switch (conversion.mLength) {
    case 0:
        return isInt;
    case 'H':
        return value.mSize == 1;
    case 'h':
        return value.mSize <= 2;
    case 'l':
        return value.mIsLong;
    case 'q':
    case 'j':
        return value.mSize == 8 && !value.mIsLong;
    case 'z':
    case 't': // std::size_t is an unsigned int or an unsigned long, std::ptrdiff_t an int or a long
        return value.mIsLong || (isInt && value.mSize == sizeof(std::size_t));
    default:
        return false;
    }
}

constexpr bool Suits(const Conversion& conversion, const ValueKind& value)
{
    const char letter = conversion.mLetter;
    const char length = conversion.mLength;
    switch (value.mClass) {
    case ValueKind::kAnything:
        return true;
    case ValueKind::kInteger:
        return IntegerSuits(conversion, value);
    case ValueKind::kReal:
        return IsOneOf(letter, "eEfgG") && (length == 0 || length == 'l');
    case ValueKind::kAddress:
        return letter == 'p' && length == 0;
    case ValueKind::kNarrowText:
        return letter == 's' && length == 0;
    case ValueKind::kWideText:
        return (letter == 'S' && length == 0) || (letter == 's' && length == 'l');
    default:
        return false;
    }
}

constexpr Problem ProblemOf(const Conversion& conversion, const ValueKind& value)
{
    if (!conversion.mIsWellFormed) {
        return kMalformed;
    }
    if (conversion.mLetter == 'n') {
        return kWrites;
    }
    if (conversion.mHasStar) {
        return kWidthFromValue;
    }
    if (conversion.mIsTooWide) {
        return kTooWide;
    }
    return Suits(conversion, value) ? kNone : kUnsuitable;
}

// A message without values is printed as it is, so "%%" may stand in it and nothing else with a "%".
constexpr Verdict CheckWithoutValues(const char* format)
{
    for (std::size_t i = 0; format[i] != 0; ++i) {
        if (format[i] != '%') {
            continue;
        }
        ++i;
        if (format[i] != '%') {
            return { kTooFewValues, 0 };
        }
    }
    return { kNone, 0 };
}

constexpr int kMostValues = 10;

// Goes through a format as the renderer does, value by value.
constexpr Verdict Check(const char* format, const ValueKind* values, int count)
{
    if (count > kMostValues) {
        return { kTooManyForACall, kMostValues + 1 };
    }
    for (int i = 0; i < count; ++i) {
        if (values[i].mProblem != kNone) {
            return { values[i].mProblem, i + 1 };
        }
    }
    if (count == 0) {
        return CheckWithoutValues(format);
    }
    std::size_t position = 0;
    for (int i = 0; i < count; ++i) {
        while (format[position] != 0 && format[position] != '%') {
            ++position;
        }
        if (format[position] == 0) {
            return { kTooManyValues, i + 1 };
        }
        // From here the renderer would look at the same "%" again and again.
        if ((position != 0 && format[position - 1] == '\\') || format[position + 1] == '%') {
            return { kNeverReturns, i + 1 };
        }
        std::size_t letter = position;
        while (format[letter] != 0 && !EndsConversion(format[letter])) {
            ++letter;
        }
        if (format[letter] == 0) {
            return { kMalformed, i + 1 };
        }
        const Problem problem = ProblemOf(ParseConversion(format, position, letter), values[i]);
        if (problem != kNone) {
            return { problem, i + 1 };
        }
        position = letter + 1;
    }
    while (format[position] != 0 && format[position] != '%') {
        ++position;
    }
    return { format[position] == 0 ? kNone : kTooFewValues, 0 };
}

// How many values a format seems to be meant for: its conversions, a "%%" not counted.
constexpr int CountConversions(const char* format)
{
    int count = 0;
    for (std::size_t i = 0; format[i] != 0; ++i) {
        if (format[i] != '%') {
            continue;
        }
        ++i;
        if (format[i] == '%') {
            continue;
        }
        ++count;
        while (format[i] != 0 && !EndsConversion(format[i])) {
            ++i;
        }
        if (format[i] == 0) {
            break;
        }
    }
    return count;
}

// Checks a format as it would be met with as many values as it has conversions, each of which suits.
constexpr Verdict CheckUnknownValues(const char* format)
{
    const ValueKind anything = { ValueKind::kAnything, 0, false, kNone };
    ValueKind values[kMostValues] = {};
    for (ValueKind& value : values) {
        value = anything;
    }
    const int count = CountConversions(format);
    return Check(format, values, count < kMostValues ? count : kMostValues);
}

} // namespace FormatCheck
} // namespace HSL

#endif
