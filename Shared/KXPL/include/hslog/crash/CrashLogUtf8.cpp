#include "CrashLogText.h"

#include "KxUnicode.h"

#include <cstdio>

namespace HSL {
namespace CrashLog {

std::string asUtf8(const std::string& text)
{
    const auto* at = reinterpret_cast<const KXPL::UTF8*>(text.data());
    const auto* const end = at + text.size();
    std::string legal;
    while (at < end) {
        KXPL::UTF32 units[256];
        KXPL::UTF32* to = units;
        const auto* const from = at;
        const KXPL::ConversionResult result =
            KXPL::ConvertUTF8toUTF32(&at, end, &to, units + 256, KXPL::strictConversion);
        legal.append(reinterpret_cast<const char*>(from), static_cast<std::size_t>(at - from));
        if (result != KXPL::conversionOK && result != KXPL::targetExhausted && at < end) {
            legal += "\xEF\xBF\xBD";
            ++at;
        }
    }
    return legal;
}

void appendEscaped(std::string& json, const std::string& text)
{
    json += '"';
    for (const char c : asUtf8(text)) {
        if (c == '"' || c == '\\') {
            json += '\\';
            json += c;
        } else if (static_cast<unsigned char>(c) < 0x20 || c == 0x7F) {
            char code[8];
            std::snprintf(code, sizeof code, "\\u%04x",
                          static_cast<unsigned int>(static_cast<unsigned char>(c)));
            json += code;
        } else {
            json += c;
        }
    }
    json += '"';
}

} // namespace CrashLog
} // namespace HSL
