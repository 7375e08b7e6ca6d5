#include "hslog/sinks/HSLLayout.h"

#include "KxUnicode.h"

#include <cstdio>
#include <cstring>

namespace HSL {
namespace Sinks {

const char kUsualPattern[] = "{date} {time}{zone} {colour}{level:13}{plain} [{thread}] {category}: {message}";

namespace {

void appendPadded(std::string& to, unsigned long number, int digits)
{
    char text[24];
    char* at = text + sizeof text;
    for (int i = 0; i < digits || number != 0; ++i, number /= 10) {
        *--at = static_cast<char>('0' + number % 10);
    }
    to.append(at, static_cast<std::size_t>(text + sizeof text - at));
}

// The texts of a second, made once for all lines of it.
class SecondTexts {
public:
    // True if the texts have changed.
    bool Set(unsigned int seconds, bool isLocal)
    {
        if (mIsSet && seconds == mSeconds) {
            return false;
        }
        mIsSet = true;
        mSeconds = seconds;
        const std::time_t time = static_cast<std::time_t>(seconds);
        std::tm split {};
        if ((isLocal ? localtime_r(&time, &split) : gmtime_r(&time, &split)) == nullptr) {
            split = {};
        }
        mDate.clear();
        appendPadded(mDate, static_cast<unsigned long>(split.tm_year) + 1900, 4);
        mDate += '-';
        appendPadded(mDate, static_cast<unsigned long>(split.tm_mon) + 1, 2);
        mDate += '-';
        appendPadded(mDate, static_cast<unsigned long>(split.tm_mday), 2);
        mTime.clear();
        appendPadded(mTime, static_cast<unsigned long>(split.tm_hour), 2);
        mTime += ':';
        appendPadded(mTime, static_cast<unsigned long>(split.tm_min), 2);
        mTime += ':';
        appendPadded(mTime, static_cast<unsigned long>(split.tm_sec), 2);
        const long minutes = split.tm_gmtoff / 60;
        const unsigned long size = static_cast<unsigned long>(minutes < 0 ? -minutes : minutes);
        mZone.assign(1, minutes < 0 ? '-' : '+');
        appendPadded(mZone, size / 60, 2);
        mZone += ':';
        appendPadded(mZone, size % 60, 2);
        return true;
    }

    std::string mDate;
    std::string mTime;
    std::string mZone;

private:
    bool mIsSet = false;
    unsigned int mSeconds = 0;
};

enum Field {
    kLiteral,
    kDate,
    kTime,
    kZone,
    kLevel,
    kCategory,
    kThread,
    kNumber,
    kSource,
    kFunction,
    kMessage,
    kIndent,
    kColour,
    kPlain
};

struct FieldName {
    const char* mName;
    Field mField;
};
constexpr FieldName kFieldNames[] = {
    { "date", kDate },         { "time", kTime },       { "zone", kZone },     { "level", kLevel },
    { "category", kCategory }, { "thread", kThread },   { "number", kNumber }, { "source", kSource },
    { "function", kFunction }, { "message", kMessage }, { "indent", kIndent }, { "colour", kColour },
    { "plain", kPlain }
};

struct Token {
    Field mField;
    std::size_t mWidth;
    std::string mText; // of a literal
};

// A text that stays the same for a second, and the field behind it.
struct Step {
    std::string mText;
    Field mField;
    std::size_t mWidth;
};

constexpr std::size_t kTimeSize = sizeof "14:03:07.250000" - 1;

constexpr const char* kColours[] = { "\033[90m", "\033[90m", "\033[36m",  "\033[32m",
                                     "\033[33m", "\033[31m", "\033[1;31m" };

class PatternLayout : public Layout {
public:
    PatternLayout(const char* pattern, bool hasColours)
        : mHasColours(hasColours)
    {
        const std::string text = pattern;
        for (std::size_t at = 0; at < text.size();) {
            const std::size_t end = text[at] == '{' ? text.find('}', at) : std::string::npos;
            if (end == std::string::npos || !AddField(text.substr(at + 1, end - at - 1))) {
                AddLiteral(text[at]);
                ++at;
            } else {
                at = end + 1;
            }
        }
    }

    void Append(std::string& to, const Line& line) override
    {
        if (mSecond.Set(line.mSeconds, true)) {
            MakeSteps();
        }
        for (const Step& step : mSteps) {
            to += step.mText;
            const std::size_t begin = to.size();
            AppendField(to, line, step.mField);
            if (to.size() - begin < step.mWidth) {
                to.append(step.mWidth - (to.size() - begin), ' ');
            }
        }
    }

private:
    bool AddField(const std::string& name)
    {
        const std::size_t colon = name.find(':');
        const std::string bare = name.substr(0, colon);
        const int width = colon == std::string::npos ? 0 : std::atoi(name.c_str() + colon + 1);
        for (const FieldName& known : kFieldNames) {
            if (bare == known.mName) {
                mTokens.push_back(
                    { known.mField, static_cast<std::size_t>(width > 0 && width < 1000 ? width : 0), "" });
                return true;
            }
        }
        return false;
    }

    void AddLiteral(char character)
    {
        if (mTokens.empty() || mTokens.back().mField != kLiteral) {
            mTokens.push_back({ kLiteral, 0, "" });
        }
        mTokens.back().mText += character;
    }

    // What is the same for all lines of a second becomes one text in front of the next field that is not.
    void MakeSteps()
    {
        mSteps.clear();
        std::string text;
        for (const Token& token : mTokens) {
            const std::size_t begin = text.size();
            switch (token.mField) {
            case kLiteral:
                text += token.mText;
                break;
            case kDate:
                text += mSecond.mDate;
                break;
            case kZone:
                text += mSecond.mZone;
                break;
            case kPlain:
                text += mHasColours ? "\033[0m" : "";
                break;
            case kTime:
                text += mSecond.mTime;
                text += '.';
                mSteps.push_back({ text, kTime, 6 });
                // What the time is longer than the microseconds, which come with the step, counts for its width.
                text.assign(token.mWidth > kTimeSize ? token.mWidth - kTimeSize : 0, ' ');
                continue;
            default:
                mSteps.push_back({ text, token.mField, token.mWidth });
                text.clear();
                continue;
            }
            if (text.size() - begin < token.mWidth) {
                text.append(token.mWidth - (text.size() - begin), ' ');
            }
        }
        mSteps.push_back({ text + '\n', kLiteral, 0 });
    }

    void AppendField(std::string& to, const Line& line, Field field) const
    {
        switch (field) {
        case kTime:
            appendPadded(to, line.mMicroseconds, 6);
            break;
        case kLevel:
            to += NameOf(line.mLevel);
            break;
        case kCategory:
            to += line.mCategory.empty() ? std::string_view("-") : line.mCategory;
            break;
        case kThread:
            to += line.mThread;
            break;
        case kNumber:
            to += std::to_string(line.mSequence);
            break;
        case kSource:
            to += line.mFile;
            if (!line.mFile.empty()) {
                to += ':';
                to += std::to_string(line.mLine);
            }
            break;
        case kFunction:
            to += line.mFunction;
            break;
        case kMessage:
            AppendMessage(to, line.mMessage);
            break;
        case kIndent:
            for (int depth = line.mDepth; depth > 0; --depth) {
                to += "|  ";
            }
            break;
        case kColour:
            to += mHasColours ? kColours[static_cast<int>(line.mLevel) % kLevels] : "";
            break;
        case kLiteral:
        case kDate:
        case kZone:
        case kPlain: // part of a step's text
            break;
        }
    }

    // A message is one line: its own newline at the end goes, and others stay visible as what they are.
    static void AppendMessage(std::string& to, std::string_view message)
    {
        while (!message.empty() && (message.back() == '\n' || message.back() == '\r')) {
            message.remove_suffix(1);
        }
        std::size_t newline = message.find('\n');
        while (newline != std::string_view::npos) {
            to += message.substr(0, newline);
            to += "\\n";
            message.remove_prefix(newline + 1);
            newline = message.find('\n');
        }
        to += message;
    }

    std::vector<Token> mTokens;
    std::vector<Step> mSteps;
    SecondTexts mSecond;
    bool mHasColours;
};

class JsonLayout : public Layout {
public:
    explicit JsonLayout(const JsonNames& names)
        : mNames(names)
    {
    }

    void Append(std::string& to, const Line& line) override
    {
        mSecond.Set(line.mSeconds, false);
        to += '{';
        mIsFirst = true;
        if (Name(to, mNames.mTime, true)) {
            to += '"';
            to += mSecond.mDate;
            to += 'T';
            to += mSecond.mTime;
            to += '.';
            appendPadded(to, line.mMicroseconds, 6);
            to += "Z\"";
        }
        Text(to, mNames.mLevel, NameOf(line.mLevel), true);
        Text(to, mNames.mCategory, line.mCategory, !line.mCategory.empty());
        Text(to, mNames.mMessage, line.mMessage, true);
        Text(to, mNames.mThread, line.mThread, true);
        Number(to, mNames.mNumber, line.mSequence, true);
        Text(to, mNames.mFile, line.mFile, !line.mFile.empty());
        Number(to, mNames.mLine, line.mLine, !line.mFile.empty());
        Text(to, mNames.mFunction, line.mFunction, !line.mFunction.empty());
        to += "}\n";
    }

private:
    bool Name(std::string& to, const std::string& name, bool isShown)
    {
        if (!isShown || name.empty()) {
            return false;
        }
        if (!mIsFirst) {
            to += ',';
        }
        mIsFirst = false;
        AppendJson(to, name);
        to += ':';
        return true;
    }

    void Text(std::string& to, const std::string& name, std::string_view text, bool isShown)
    {
        if (Name(to, name, isShown)) {
            AppendJson(to, text);
        }
    }

    void Number(std::string& to, const std::string& name, int number, bool isShown)
    {
        if (Name(to, name, isShown)) {
            to += std::to_string(number);
        }
    }

    JsonNames mNames;
    SecondTexts mSecond;
    bool mIsFirst = true;
};

bool needsEscape(unsigned char byte)
{
    return byte < 0x20 || byte == '"' || byte == '\\' || byte >= 0x7F;
}

// Bytes of the well-formed character at the front; 0 for none. After two lead bytes the library's own test looks at
// one bound only.
std::size_t characterAt(const unsigned char* at, const unsigned char* end)
{
    if (!KXPL::isLegalUTF8Sequence(at, end)) {
        return 0;
    }
    const std::size_t size = at[0] < 0x80 ? 1 : at[0] < 0xE0 ? 2 : at[0] < 0xF0 ? 3 : 4;
    return size > 1 && (at[1] & 0xC0) != 0x80 ? 0 : size;
}

} // namespace

void AppendJson(std::string& to, std::string_view text)
{
    const unsigned char* at = reinterpret_cast<const unsigned char*>(text.data());
    const unsigned char* const end = at + text.size();
    to += '"';
    while (at < end) {
        const unsigned char* run = at;
        while (at < end && !needsEscape(*at)) {
            ++at;
        }
        to.append(reinterpret_cast<const char*>(run), static_cast<std::size_t>(at - run));
        if (at == end) {
            break;
        }
        const unsigned char byte = *at;
        if (byte >= 0x80) {
            const std::size_t size = characterAt(at, end);
            if (size == 0) {
                to += "\\ufffd";
                ++at;
            } else {
                to.append(reinterpret_cast<const char*>(at), size);
                at += size;
            }
            continue;
        }
        ++at;
        const char* const kShort = "\"\\\b\f\n\r\t";
        const char* const kLetters = "\"\\bfnrt";
        if (const char* found = std::strchr(kShort, byte); byte != 0 && found != nullptr) {
            to += '\\';
            to += kLetters[found - kShort];
        } else {
            char escape[8];
            std::snprintf(escape, sizeof escape, "\\u%04x", static_cast<unsigned int>(byte));
            to += escape;
        }
    }
    to += '"';
}

JsonNames JsonNames::OpenTelemetry()
{
    JsonNames names;
    names.mTime = "Timestamp";
    names.mLevel = "SeverityText";
    names.mMessage = "Body";
    names.mCategory = "InstrumentationScope";
    names.mFile = "code.file.path";
    names.mLine = "code.line.number";
    names.mFunction = "code.function.name";
    names.mThread = "thread.name";
    return names;
}

std::unique_ptr<Layout> MakePatternLayout(const char* pattern, bool hasColours)
{
    return std::make_unique<PatternLayout>(pattern, hasColours);
}

std::unique_ptr<Layout> MakeJsonLayout(const JsonNames& names)
{
    return std::make_unique<JsonLayout>(names);
}

} // namespace Sinks
} // namespace HSL
