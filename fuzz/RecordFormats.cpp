#include "RecordFormats.h"

#include <cctype>
#include <cstdint>
#include <cstdlib>

namespace {

constexpr std::size_t kNone = std::string::npos;
constexpr unsigned long kWidest = 70000;    // above what a piece can hold
constexpr unsigned long kMostDigits = 2000; // of a real number, where each one costs time
constexpr char kFlags[] = "-+ #0'I";
// Neither flags nor digits, and no letters: those of one C library or another mean something.
constexpr char kUnknown[] = "!\"&(),/:;<=>?@[\\]^_`{|}~";

bool isOneOf(char character, const char* set)
{
    return std::string(set).find(character) != kNone;
}

// One conversion, from its "%" on.
class Conversion {
public:
    Conversion(const std::string& text, std::size_t percent)
        : mText(text)
        , mPercent(percent)
        , mAt(percent + 1)
    {
        if (text.compare(mAt, 2, "1$") == 0) {
            mPositional = true;
            mAt += 2;
        }
        while (mAt < text.size() && isOneOf(text[mAt], kFlags)) {
            ++mAt;
        }
        mWidth = TakeNumber();
        if (Here() == '.') {
            ++mAt;
            mPrecision = TakeNumber();
        }
        for (const char* length : { "hh", "h", "ll", "l", "q", "j", "z", "Z", "t", "L" }) {
            const std::string candidate = length;
            if (text.compare(mAt, candidate.size(), candidate) == 0) {
                mLength = candidate;
                mAt += candidate.size();
                break;
            }
        }
    }

    // Zero behind the end.
    char Here() const { return mAt < mText.size() ? mText[mAt] : '\0'; }
    std::size_t End() const { return mAt + 1; }
    bool IsPositional() const { return mPositional; }
    // With anything behind the "%" AddressSanitizer's own reading of the format runs past its end.
    bool IsLonePercent() const { return mPercent + 1 >= mText.size(); }
    bool IsUnknown() const
    {
        const bool highByte = static_cast<unsigned char>(Here()) >= 0x80;
        return !mPositional && mLength.empty() && mAt < mText.size() && (highByte || isOneOf(Here(), kUnknown));
    }
    bool IsSensible() const { return mWidth <= kWidest && mPrecision <= kWidest; }

    bool Suits(FormattedValue value) const
    {
        const bool plain = mLength.empty();
        const char letter = Here();
        switch (value.kind) {
        case FormattedValue::integer:
            if (letter == 'c' || letter == 'C') {
                return plain || (mLength == "l" && letter == 'c');
            }
            if (letter == 'p') {
                return plain && value.size >= sizeof(void*);
            }
            return isOneOf(letter, "dioxXu") && Size() <= value.size;
        case FormattedValue::real:
            return isOneOf(letter, "eEfgG") && (plain || mLength == "l") && mPrecision <= kMostDigits;
        case FormattedValue::narrowText:
            return letter == 's' && plain;
        case FormattedValue::wideText:
            return (letter == 'S' && plain) || (letter == 's' && (plain || mLength == "l"));
        default:
            return false;
        }
    }

private:
    unsigned long TakeNumber()
    {
        unsigned long number = 0;
        while (std::isdigit(static_cast<unsigned char>(Here())) != 0) {
            number = number > kWidest ? number : number * 10 + static_cast<unsigned long>(Here() - '0');
            ++mAt;
        }
        return number;
    }

    // Of the number that is taken.
    std::size_t Size() const
    {
        const struct {
            const char* length;
            std::size_t size;
        } kSizes[] = { { "hh", 1 },
                       { "h", 2 },
                       { "", sizeof(int) },
                       { "l", sizeof(long) },
                       { "ll", 8 },
                       { "q", 8 },
                       { "j", sizeof(std::intmax_t) },
                       { "z", sizeof(std::size_t) },
                       { "Z", sizeof(std::size_t) },
                       { "t", sizeof(std::ptrdiff_t) } };
        for (const auto& known : kSizes) {
            if (mLength == known.length) {
                return known.size;
            }
        }
        return SIZE_MAX;
    }

    const std::string& mText;
    std::size_t mPercent;
    std::size_t mAt;
    bool mPositional = false;
    unsigned long mWidth = 0;
    unsigned long mPrecision = 0;
    std::string mLength;
};

} // namespace

std::size_t endlessSearch(const std::string& format, std::size_t position)
{
    const std::size_t percent = format.find('%', position);
    if (percent == kNone) {
        return kNone;
    }
    const bool behindBackslash = percent > 0 && format[percent - 1] == '\\';
    const bool doubled = percent + 1 < format.size() && format[percent + 1] == '%';
    return behindBackslash || doubled ? percent : kNone;
}

std::size_t undefinedConversion(const std::string& text, FormattedValue value)
{
    bool first = true;
    for (std::size_t percent = text.find('%'); percent != kNone; percent = text.find('%', percent)) {
        if (text.compare(percent, 2, "%%") == 0) {
            percent += 2;
            first = false;
            continue;
        }
        const Conversion conversion(text, percent);
        const bool harmless = conversion.IsLonePercent() || conversion.IsUnknown();
        if (!conversion.IsSensible() || (conversion.IsPositional() && (!first || harmless))) {
            return percent;
        }
        if (!harmless) {
            if (!conversion.Suits(value)) {
                return percent;
            }
            value.kind = FormattedValue::nothing; // taken
        }
        first = false;
        percent = conversion.End();
    }
    return kNone;
}
