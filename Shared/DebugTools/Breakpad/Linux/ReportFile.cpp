#include "ReportFile.h"

#include <cstring>

namespace BreakpadLinux {

namespace {

class Reader {
public:
    explicit Reader(const std::string& text)
        : mText(text)
    {
    }

    bool Literal(const char* expected)
    {
        const std::size_t length = std::strlen(expected);
        if (mText.compare(mPosition, length, expected) != 0) {
            return false;
        }
        mPosition += length;
        return true;
    }

    bool Number(std::size_t& value, char terminator)
    {
        const std::size_t start = mPosition;
        value = 0;
        while (mPosition < mText.size() && mText[mPosition] >= '0' && mText[mPosition] <= '9') {
            value = value * 10 + static_cast<std::size_t>(mText[mPosition++] - '0');
            if (value > mText.size()) {
                return false;
            }
        }
        return mPosition > start && mPosition < mText.size() && mText[mPosition++] == terminator;
    }

    bool Bytes(std::string& value, std::size_t length)
    {
        if (length > mText.size() - mPosition) {
            return false;
        }
        value = mText.substr(mPosition, length);
        mPosition += length;
        return true;
    }

private:
    const std::string& mText;
    std::size_t mPosition = 0;
};

} // namespace

void AppendPair(std::string& text, const std::string& key, const std::string& value)
{
    text += std::to_string(key.size()) + ' ' + std::to_string(value.size()) + '\n' + key + value + '\n';
}

std::optional<std::map<std::string, std::string>> ParseReport(const std::string& text)
{
    std::map<std::string, std::string> pairs;
    Reader reader(text);
    if (!reader.Literal(kReportHeader)) {
        return std::nullopt;
    }
    for (;;) {
        std::size_t keyLength = 0;
        std::size_t valueLength = 0;
        if (!reader.Number(keyLength, ' ') || !reader.Number(valueLength, '\n')) {
            return std::nullopt;
        }
        if (keyLength == 0) {
            return pairs;
        }
        std::string key;
        std::string value;
        if (!reader.Bytes(key, keyLength) || !reader.Bytes(value, valueLength) || !reader.Literal("\n")) {
            return std::nullopt;
        }
        pairs[key] = value;
    }
}

} // namespace BreakpadLinux
