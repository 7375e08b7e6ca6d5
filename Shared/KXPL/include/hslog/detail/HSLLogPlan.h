// Translates a "{}" format, for values of known types, into the printf text of a record and the order of its
// values. All of it is over when the program is compiled. For HSLLog.h.
#ifndef HSLOG_HSL_LOG_PLAN_H
#define HSLOG_HSL_LOG_PLAN_H

#include "HSLLogShape.h"
#include "HSLLogSpec.h"

#include <cstddef>

namespace HSL {
namespace LogFormat {

constexpr int kMostValuesOfRecord = 10;

// One value of the record: a part of an argument, or a literal that no format can hold.
struct Step {
    int mArgument = -1;
    int mPart = 0;
    std::size_t mAt = 0;      // the conversion's place in the format; a literal's in the pool
    std::size_t mLength = 0;  // likewise
    std::size_t mEmptyAt = 0; // what stands in for a missing value's conversion, in the pool
    std::size_t mEmptyLength = 0;
};

// What the options of an argument say about its text.
struct TextLimit {
    unsigned int mBytes = 0;
    unsigned int mCharacters = 0;
};

// Where the call stands, for the text in front of the message; all null for none.
struct Place {
    const char* mFile;
    int mLine;
    const char* mFunction;
};

// The text begins with the record's format; from kPoolAt on it holds the literals that are values and what
// stands in for values that are missing.
template <std::size_t kCapacity, int kArguments> struct Draft {
    static constexpr std::size_t kPoolAt = kCapacity;

    char mText[2 * kCapacity] = {};
    std::size_t mFormatLength = 0;
    std::size_t mPoolLength = 0;
    Step mSteps[kMostValuesOfRecord] = {};
    int mStepCount = 0;
    TextLimit mLimits[kArguments + 1] = {};
    bool mHasOptional = false;
    Problem mProblem = kFits;
    int mPlaceholder = 0;    // counted from 1
    std::size_t mColumn = 0; // in the literal, counted from 1

    constexpr void Refuse(Problem problem, int placeholder, std::size_t position)
    {
        if (mProblem == kFits) {
            mProblem = problem;
            mPlaceholder = placeholder;
            mColumn = position + 1;
        }
    }
};

// Makes the draft. The renderer has no way to write "%" beside values: "%%" never returns there, and neither
// does a conversion behind a backslash. Such a piece of a literal becomes a value of the record.
template <std::size_t kCapacity, int kArguments> class Translator {
public:
    using Result = Draft<kCapacity, kArguments>;

    constexpr Translator(const char* format, std::size_t length, const Shape* shapes)
        : mFormat(format)
        , mLength(length)
        , mShapes(shapes)
    {
    }

    constexpr Result Run(const Place& place)
    {
        if (place.mFile != nullptr) {
            AddPlace(place);
        }
        std::size_t position = 0;
        while (mDraft.mProblem == kFits && position < mLength) {
            const char character = mFormat[position];
            if (character == 0) {
                mDraft.Refuse(kZeroByte, 0, position);
            } else if (character == '{' || character == '}') {
                TakeBrace(character, position);
            } else {
                AddLiteral(character);
                ++position;
            }
        }
        EndLiteral(false);
        for (int i = 0; i < kArguments; ++i) {
            if (!mIsUsed[i]) {
                mDraft.Refuse(kValueNotUsed, i + 1, 0);
            }
        }
        return mDraft;
    }

private:
    constexpr void AddPlace(const Place& place)
    {
        const char* name = place.mFile;
        for (const char* at = place.mFile; *at != 0; ++at) {
            if (*at == '/') {
                name = at + 1;
            }
        }
        char digits[Conversion::kLongest] = {};
        Conversion line(digits);
        line.AddNumber(static_cast<unsigned int>(place.mLine));
        const char* const parts[] = { "[", name, ":", digits, " ", place.mFunction, "] " };
        for (const char* part : parts) {
            for (; *part != 0; ++part) {
                AddLiteral(*part);
            }
        }
    }

    constexpr void AddLiteral(char character)
    {
        mDraft.mText[mDraft.mFormatLength++] = character;
        mHasTrouble = mHasTrouble || character == '%';
        if (kArguments == 0 && character == '%') {
            mDraft.mText[mDraft.mFormatLength++] = character;
        }
    }

    constexpr void TakeBrace(char brace, std::size_t& position)
    {
        if (mFormat[position + 1] == brace) {
            AddLiteral(brace);
            position += 2;
        } else if (brace == '{') {
            ++position;
            TakePlaceholder(position);
        } else {
            mDraft.Refuse(kLoneBrace, mPlaceholders, position);
        }
    }

    constexpr void TakePlaceholder(std::size_t& position)
    {
        const std::size_t begin = position - 1;
        ++mPlaceholders;
        const int argument = TakeArgument(position, begin);
        if (mDraft.mProblem != kFits) {
            return;
        }
        Spec spec;
        if (mFormat[position] == ':') {
            ++position;
            spec = ParseSpec(mFormat, position);
        } else if (mFormat[position] != '}') {
            spec.mProblem = mFormat[position] == 0 ? kLoneBrace : kBadNumber;
        }
        if (spec.mProblem != kFits) {
            return mDraft.Refuse(spec.mProblem, mPlaceholders, position);
        }
        ++position;
        EndLiteral(true);
        AddConversion(argument, spec, begin);
        mLiteralAt = mDraft.mFormatLength;
    }

    constexpr void AddConversion(int argument, const Spec& spec, std::size_t begin)
    {
        const Shape& shape = mShapes[argument];
        Conversion conversion(mDraft.mText + mDraft.mFormatLength);
        Convert(conversion, shape, spec);
        if (conversion.mProblem != kFits) {
            return mDraft.Refuse(conversion.mProblem, mPlaceholders, begin);
        }
        if (mDraft.mStepCount + shape.mParts > kMostValuesOfRecord) {
            return mDraft.Refuse(kTooManyInRecord, mPlaceholders, begin);
        }
        for (int part = 0; part < shape.mParts; ++part) {
            Step& step = mDraft.mSteps[mDraft.mStepCount++];
            step.mArgument = argument;
            step.mPart = part;
            step.mAt = mDraft.mFormatLength;
            step.mLength = conversion.mLength;
            if (shape.mMayBeEmpty) {
                mDraft.mHasOptional = true;
                Conversion empty(mDraft.mText + Result::kPoolAt + mDraft.mPoolLength);
                ConvertEmpty(empty, spec);
                step.mEmptyAt = mDraft.mPoolLength;
                step.mEmptyLength = empty.mLength;
                mDraft.mPoolLength += empty.mLength;
            }
        }
        mDraft.mFormatLength += conversion.mLength;
        // A value is recorded once for each of its places, but in one way.
        const TextLimit limit { conversion.mTextBytes, conversion.mTextCharacters };
        TextLimit& known = mDraft.mLimits[argument];
        if (mIsUsed[argument] && (known.mBytes != limit.mBytes || known.mCharacters != limit.mCharacters)) {
            mDraft.Refuse(kNotForThisType, mPlaceholders, begin);
        }
        known = limit;
        mIsUsed[argument] = true;
    }

    // The number in front of ':' or '}', or the next one.
    constexpr int TakeArgument(std::size_t& position, std::size_t begin)
    {
        int argument = mNext;
        if (IsDigit(mFormat[position])) {
            argument = static_cast<int>(TakeNumber(mFormat, position));
            mIsNumbered = true;
        } else {
            ++mNext;
        }
        if (mIsNumbered && mNext != 0) {
            mDraft.Refuse(kMixedNumbering, mPlaceholders, begin);
        }
        if (argument >= kArguments) {
            mDraft.Refuse(kTooFewValues, mPlaceholders, begin);
        }
        return argument;
    }

    // Looks at the literal since the last placeholder. What no format can hold, from the first such character
    // to the last, gives its place to a conversion.
    constexpr void EndLiteral(bool isBeforeConversion)
    {
        char* const text = mDraft.mText;
        const std::size_t end = mDraft.mFormatLength;
        const bool endsInBackslash = isBeforeConversion && end > mLiteralAt && text[end - 1] == '\\';
        if (kArguments == 0 || (!mHasTrouble && !endsInBackslash)) {
            return;
        }
        std::size_t first = mLiteralAt;
        while (text[first] != '%' && !(endsInBackslash && first == end - 1)) {
            ++first;
        }
        std::size_t behind = end;
        while (!endsInBackslash && text[behind - 1] != '%') {
            --behind;
        }
        // The conversion that shows the piece must not follow a backslash either.
        while (first > mLiteralAt && text[first - 1] == '\\') {
            --first;
        }
        if (mDraft.mStepCount == kMostValuesOfRecord) {
            return mDraft.Refuse(kTooManyInRecord, mPlaceholders, 0);
        }
        MoveToPool(first, behind);
        mHasTrouble = false;
    }

    constexpr void MoveToPool(std::size_t first, std::size_t behind)
    {
        char* const text = mDraft.mText;
        Step& step = mDraft.mSteps[mDraft.mStepCount++];
        step.mAt = mDraft.mPoolLength;
        step.mLength = behind - first;
        for (std::size_t i = first; i < behind; ++i) {
            text[Result::kPoolAt + mDraft.mPoolLength++] = text[i];
        }
        // A piece of one character may have to make room.
        const std::size_t rest = mDraft.mFormatLength - behind;
        const std::size_t moved = first + 2;
        for (std::size_t i = 0; i < rest; ++i) {
            const std::size_t from = moved > behind ? rest - 1 - i : i;
            text[moved + from] = text[behind + from];
        }
        text[first] = '%';
        text[first + 1] = step.mLength == 1 ? 'c' : 's';
        mDraft.mFormatLength = moved + rest;
    }

    const char* mFormat;
    std::size_t mLength;
    const Shape* mShapes;
    Result mDraft {};
    std::size_t mLiteralAt = 0; // where in the text the literal since the last placeholder begins
    bool mHasTrouble = false;   // there is a "%" in it
    bool mIsUsed[kArguments + 1] = {};
    int mNext = 0;
    int mPlaceholders = 0;
    bool mIsNumbered = false;
};

// Room for whatever a format of that length can become, and for what goes to its pool.
constexpr std::size_t CapacityFor(std::size_t formatLength, std::size_t placeLength, std::size_t arguments)
{
    return (arguments == 0 ? 2 : 1) * (formatLength + placeLength) + Conversion::kLongest * arguments + 2;
}

} // namespace LogFormat
} // namespace HSL

#endif
