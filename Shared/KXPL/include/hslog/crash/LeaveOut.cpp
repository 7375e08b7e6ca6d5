#include "LeaveOut.h"

#include <algorithm>

namespace HSL {
namespace CrashLog {
namespace {

char asSmall(char c)
{
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

bool isSameLetter(char one, char other)
{
    return asSmall(one) == asSmall(other);
}

// One to three digits, which stand for less than 256; moves behind them.
bool takeCode(const std::string& text, std::size_t& at, unsigned int& code)
{
    const std::size_t begin = at;
    code = 0;
    while (at < text.size() && at < begin + 3 && text[at] >= '0' && text[at] <= '9') {
        code = code * 10 + static_cast<unsigned int>(text[at++] - '0');
    }
    return at > begin && code < 256;
}

} // namespace

LeaveOut::LeaveOut(const std::string& list)
{
    std::size_t begin = 0;
    while (begin <= list.size()) {
        const std::size_t end = std::min(list.find(';', begin), list.size());
        Add(list.substr(begin, end - begin));
        begin = end + 1;
    }
}

void LeaveOut::Add(const std::string& entry)
{
    if (!entry.empty() && !AddCategories(entry)) {
        mWords.push_back(entry);
        std::transform(entry.begin(), entry.end(), mWords.back().begin(), asSmall);
    }
}

bool LeaveOut::AddCategories(const std::string& entry)
{
    std::size_t at = 1;
    unsigned int first = 0;
    if (entry[0] != '#' || !takeCode(entry, at, first)) {
        return false;
    }
    unsigned int last = first;
    if (at < entry.size() && (entry[at++] != '-' || !takeCode(entry, at, last) || at != entry.size())) {
        return false;
    }
    for (unsigned int code = first; code <= last; ++code) {
        mCategories.set(code);
    }
    return true;
}

bool LeaveOut::Holds(const std::string& categories) const
{
    return std::any_of(categories.begin(), categories.end(),
                       [this](char code) { return mCategories.test(static_cast<unsigned char>(code)); });
}

bool LeaveOut::IsIn(const std::string& text) const
{
    return std::any_of(mWords.begin(), mWords.end(), [&text](const std::string& word) {
        return std::search(text.begin(), text.end(), word.begin(), word.end(), isSameLetter) != text.end();
    });
}

} // namespace CrashLog
} // namespace HSL
