#include "Parameters.h"

#include "Keys.h"

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstdlib>
#include <strings.h>

namespace BreakpadLinux {

namespace {

bool isContinuation(char byte)
{
    return (static_cast<unsigned char>(byte) & 0xC0) == 0x80;
}

} // namespace

std::string CutAtCharacter(const std::string& text, std::size_t maximum)
{
    if (text.size() <= maximum) {
        return text;
    }
    std::size_t end = maximum;
    while (end > 0 && isContinuation(text[end])) {
        --end;
    }
    return text.substr(0, end);
}

bool SaysYes(const std::string& value)
{
    return value == "1" || strcasecmp(value.c_str(), "yes") == 0 || strcasecmp(value.c_str(), "true") == 0;
}

bool SaysNo(const std::string& value)
{
    return value == "0" || strcasecmp(value.c_str(), "no") == 0 || strcasecmp(value.c_str(), "false") == 0;
}

bool IsInterval(const std::string& text)
{
    char* end = nullptr;
    const double seconds = std::strtod(text.c_str(), &end);
    return end != text.c_str() && *end == '\0' && std::fabs(seconds) <= INT_MAX;
}

bool Parameters::Set(const std::string& key, const std::string& value)
{
    const std::string name = CutAtCharacter(key, kMaximumBytes);
    const bool whole = name == kUrl || name == kMinidumpLocation || name == kReporterExeLocation
        || name == kCaFile || name.rfind(kAttachmentPrefix, 0) == 0;
    const std::string text = whole ? value : CutAtCharacter(value, kMaximumBytes);
    for (auto& pair : mPairs) {
        if (pair.first == name) {
            pair.second = text;
            return true;
        }
    }
    if (name.empty() || mPairs.size() == kMaximumPairs) {
        return false;
    }
    mPairs.emplace_back(name, text);
    return true;
}

void Parameters::Remove(const std::string& key)
{
    const std::string name = CutAtCharacter(key, kMaximumBytes);
    mPairs.erase(
        std::remove_if(mPairs.begin(), mPairs.end(), [&name](const auto& pair) { return pair.first == name; }),
        mPairs.end());
}

} // namespace BreakpadLinux
