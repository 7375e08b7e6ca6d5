// Translates what stands in the braces of a "{}" format into a printf conversion that the renderer prints in
// the same way. For HSLLog.h.
#ifndef HSLOG_HSL_LOG_SPEC_H
#define HSLOG_HSL_LOG_SPEC_H

#include "HSLLogShape.h"

#include <cstddef>

namespace HSL {
namespace LogFormat {

enum Problem {
    kFits,
    kTooFewValues,
    kValueNotUsed,
    kTooManyInRecord,
    kLoneBrace,
    kBadNumber,
    kMixedNumbering,
    kNotLoggable,
    kUnknownOptions,
    kFillOrCentre,
    kFromValue,
    kLocale,
    kNotForThisType,
    kNoBinary,
    kNoSign,
    kPrefixedWidth,
    kTakesNoOptions,
    kRecordTooLong,
    kZeroByte,
    kTooWide
};

// [[fill]align][sign]['#']['0'][width]['.' precision][type], as std::format has it.
struct Spec {
    char mAlign = 0; // '<', '>' or 0
    char mSign = 0;  // '+', ' ' or 0
    bool mAlternate = false;
    bool mZero = false;
    unsigned int mWidth = 0;
    bool mHasPrecision = false;
    unsigned int mPrecision = 0;
    char mType = 0;
    Problem mProblem = kFits;
};

constexpr unsigned int kWidest = 65535;

constexpr bool IsAlign(char character)
{
    return character == '<' || character == '>' || character == '^';
}

constexpr bool IsDigit(char character)
{
    return character >= '0' && character <= '9';
}

constexpr bool IsOneOfThese(char character, const char* list)
{
    for (; *list != 0; ++list) {
        if (*list == character) {
            return true;
        }
    }
    return false;
}

// Takes digits; a number that is too large counts as one above kWidest.
constexpr unsigned int TakeNumber(const char* text, std::size_t& position)
{
    unsigned int number = 0;
    for (; IsDigit(text[position]); ++position) {
        number = number > kWidest ? number : number * 10 + static_cast<unsigned int>(text[position] - '0');
    }
    return number;
}

// The options between ':' and '}', at `position` of a terminated text; moves the position to the '}'
// unless there is a problem.
constexpr Spec ParseSpec(const char* text, std::size_t& position)
{
    Spec spec;
    if (text[position] != 0 && text[position] != '}' && IsAlign(text[position + 1])) {
        if (text[position] != ' ') {
            spec.mProblem = kFillOrCentre;
            return spec;
        }
        ++position;
    }
    if (IsAlign(text[position])) {
        spec.mAlign = text[position];
        ++position;
        if (spec.mAlign == '^') {
            spec.mProblem = kFillOrCentre;
            return spec;
        }
    }
    if (IsOneOfThese(text[position], "+- ")) {
        spec.mSign = text[position] != '-' ? text[position] : '\0'; // what is usual need not be told
        ++position;
    }
    if (text[position] == '#') {
        spec.mAlternate = true;
        ++position;
    }
    if (text[position] == '0') {
        spec.mZero = true;
        ++position;
    }
    spec.mWidth = TakeNumber(text, position);
    if (text[position] == '.') {
        ++position;
        spec.mHasPrecision = true;
        if (!IsDigit(text[position]) && text[position] != '{') {
            spec.mProblem = kUnknownOptions;
            return spec;
        }
        spec.mPrecision = TakeNumber(text, position);
    }
    if (text[position] == '{') {
        spec.mProblem = kFromValue;
        return spec;
    }
    if (spec.mWidth > kWidest || spec.mPrecision > kWidest) {
        spec.mProblem = kTooWide;
        return spec;
    }
    if (text[position] == 'L') {
        spec.mProblem = kLocale;
        return spec;
    }
    if (text[position] != 0 && text[position] != '}') {
        spec.mType = text[position];
        ++position;
    }
    if (text[position] != '}') {
        spec.mProblem = text[position] == 0 ? kLoneBrace : kUnknownOptions;
    }
    return spec;
}

// A conversion under way: where it is written, and what it says about its value, or why it cannot be.
struct Conversion {
    static constexpr std::size_t kLongest = 64;

    char* mText; // room for kLongest
    std::size_t mLength = 0;
    unsigned int mTextBytes = 0;      // that a text may take at most; 0 for what is none
    unsigned int mTextCharacters = 0; // likewise in characters
    Problem mProblem = kFits;

    constexpr explicit Conversion(char* text)
        : mText(text)
    {
    }

    constexpr void Add(char character)
    {
        mText[mLength] = character;
        ++mLength;
    }

    constexpr void Add(const char* text)
    {
        for (; *text != 0; ++text) {
            Add(*text);
        }
    }

    constexpr void AddNumber(unsigned long long number)
    {
        if (number >= 10) {
            AddNumber(number / 10);
        }
        Add(static_cast<char>('0' + number % 10));
    }

    // "%" with flags and width. A value is aligned to the right unless told, which is what printf does by
    // itself; `isLeft` turns that round.
    constexpr void Begin(const Spec& spec, bool isLeft, unsigned int width, bool isAlternate = false)
    {
        Add('%');
        if (isAlternate) {
            Add('#');
        }
        if (spec.mSign != 0) {
            Add(spec.mSign);
        }
        if (width == 0) {
            return;
        }
        if (spec.mAlign == '<' || (spec.mAlign == 0 && isLeft)) {
            Add('-');
        } else if (spec.mZero && spec.mAlign == 0) {
            Add('0');
        }
        AddNumber(width);
    }

    constexpr void Refuse(Problem problem) { mProblem = problem; }
};

// Right-aligned behind "0x", printf's own prefix would have to be used, which it leaves out for zero; so the
// prefix is a literal, and the width what is left.
constexpr void AddPrefixed(Conversion& conversion, const Spec& spec, const char* prefix)
{
    const bool zeros = spec.mZero && spec.mAlign == 0;
    if (spec.mWidth != 0 && spec.mAlign != '<' && !zeros) {
        return conversion.Refuse(kPrefixedWidth);
    }
    conversion.Add(prefix);
    conversion.Begin(spec, false, spec.mWidth > 2 ? spec.mWidth - 2 : 0);
}

constexpr void ConvertInteger(Conversion& conversion, const Shape& shape, const Spec& spec)
{
    const bool isUnsigned = shape.mClass != kSigned && shape.mClass != kCharacter;
    const char type = spec.mType != 0 ? spec.mType : 'd';
    if (type == 'b' || type == 'B') {
        return conversion.Refuse(kNoBinary);
    }
    if (!IsOneOfThese(type, "dxXoc") || spec.mHasPrecision) {
        return conversion.Refuse(kNotForThisType);
    }
    // A short unsigned number reaches printf as an int.
    if (spec.mSign != 0 && (type != 'd' || (isUnsigned && shape.mSize > 2))) {
        return conversion.Refuse(kNoSign);
    }
    if (type == 'c') {
        if (spec.mAlternate || spec.mZero || shape.mSize > 4) {
            return conversion.Refuse(kNotForThisType);
        }
        conversion.Begin(spec, true, spec.mWidth);
        return conversion.Add('c');
    }
    if (spec.mAlternate && (type == 'x' || type == 'X')) {
        AddPrefixed(conversion, spec, type == 'x' ? "0x" : "0X");
    } else {
        conversion.Begin(spec, false, spec.mWidth, spec.mAlternate && type == 'o');
    }
    if (shape.mSize == 8) {
        conversion.Add("ll");
    } else if (type != 'd' && !isUnsigned && shape.mSize < 4) {
        conversion.Add(shape.mSize == 1 ? "hh" : "h");
    }
    conversion.Add(type == 'd' && isUnsigned && spec.mSign == 0 ? 'u' : type);
}

constexpr unsigned int kDigitsOfDouble = 15;
constexpr unsigned int kDigitsOfFloat = 7;

constexpr void ConvertReal(Conversion& conversion, const Shape& shape, const Spec& spec)
{
    const bool isPlain = spec.mType == 0;
    if (!isPlain && !IsOneOfThese(spec.mType, "eEfgG")) {
        return conversion.Refuse(kNotForThisType);
    }
    conversion.Begin(spec, false, spec.mWidth, spec.mAlternate);
    if (spec.mHasPrecision || isPlain) {
        conversion.Add('.');
        conversion.AddNumber(spec.mHasPrecision     ? spec.mPrecision
                                 : shape.mSize == 4 ? kDigitsOfFloat
                                                    : kDigitsOfDouble);
    }
    conversion.Add(isPlain ? 'g' : spec.mType);
}

constexpr void ConvertText(Conversion& conversion, const Spec& spec)
{
    if ((spec.mType != 0 && spec.mType != 's') || spec.mSign != 0 || spec.mAlternate || spec.mZero) {
        return conversion.Refuse(kNotForThisType);
    }
    conversion.Begin(spec, true, spec.mWidth);
    conversion.Add('s');
    conversion.mTextBytes =
        spec.mHasPrecision && spec.mPrecision > kUsualTextBytes ? spec.mPrecision : kUsualTextBytes;
    conversion.mTextCharacters = spec.mHasPrecision ? spec.mPrecision : conversion.mTextBytes;
}

constexpr void ConvertAddress(Conversion& conversion, const Spec& spec)
{
    if ((spec.mType != 0 && spec.mType != 'p') || spec.mSign != 0 || spec.mAlternate || spec.mHasPrecision) {
        return conversion.Refuse(kNotForThisType);
    }
    AddPrefixed(conversion, spec, "0x");
    conversion.Add(sizeof(void*) == 8 ? "llx" : "x");
}

constexpr bool IsEmpty(const Spec& spec)
{
    return spec.mAlign == 0 && spec.mSign == 0 && !spec.mAlternate && !spec.mZero && spec.mWidth == 0
        && !spec.mHasPrecision && spec.mType == 0;
}

constexpr void ConvertByClass(Conversion& conversion, const Shape& shape, const Spec& spec)
{
    Spec asCharacter = spec;
    switch (shape.mClass) {
    case kSigned:
    case kUnsigned:
        return ConvertInteger(conversion, shape, spec);
    case kBoolean:
        if (spec.mType == 0 || spec.mType == 's') {
            return ConvertText(conversion, spec);
        }
        return spec.mType == 'c' ? conversion.Refuse(kNotForThisType) : ConvertInteger(conversion, shape, spec);
    case kCharacter:
        asCharacter.mType = spec.mType == 0 ? 'c' : spec.mType;
        return ConvertInteger(conversion, shape, asCharacter);
    case kReal:
        return ConvertReal(conversion, shape, spec);
    case kText:
        return ConvertText(conversion, spec);
    case kAddress:
        return ConvertAddress(conversion, spec);
    case kFixed:
        if (!IsEmpty(spec)) {
            return conversion.Refuse(kTakesNoOptions);
        }
        conversion.Add(shape.mFixed);
        conversion.mTextBytes = kUsualTextBytes;
        conversion.mTextCharacters = kUsualTextBytes;
        return;
    default:
        return conversion.Refuse(kNotLoggable);
    }
}

// Writes what a value of the shape is shown with under the options.
constexpr void Convert(Conversion& conversion, const Shape& shape, const Spec& spec)
{
    const std::size_t unit = LengthOf(shape.mUnit);
    if (unit == 0) {
        return ConvertByClass(conversion, shape, spec);
    }
    // The width is that of number and unit together, and blanks behind the unit nobody could print.
    if (spec.mWidth != 0 && spec.mAlign == '<') {
        return conversion.Refuse(kFillOrCentre);
    }
    Spec ofNumber = spec;
    ofNumber.mWidth = spec.mWidth > unit ? spec.mWidth - static_cast<unsigned int>(unit) : 0;
    ConvertByClass(conversion, shape, ofNumber);
    conversion.Add(shape.mUnit);
}

// Writes what stands in for a value that is not there, in the width of the value.
constexpr void ConvertEmpty(Conversion& conversion, const Spec& spec)
{
    Spec asText;
    asText.mWidth = spec.mWidth;
    asText.mAlign = spec.mAlign == '<' ? '<' : '>';
    ConvertText(conversion, asText);
}

} // namespace LogFormat
} // namespace HSL

#endif
