#include "CleanText.h"

#include "Parameters.h"

#include <cstddef>

namespace BreakpadLinux {

namespace {

constexpr std::size_t kLongest = 1000;

struct Character {
    unsigned long code = 0;
    std::size_t length = 0; // 0: no character begins here
};

// The well-formed sequences of the Unicode standard (table "Well-Formed UTF-8 Byte Sequences").
Character characterAt(const std::string& text, std::size_t at)
{
    const auto byte = [&text](std::size_t index) { return static_cast<unsigned char>(text[index]); };
    const unsigned char lead = byte(at);
    if (lead < 0x80) {
        return { lead, 1 };
    }
    const std::size_t length = lead >= 0xC2 && lead < 0xE0 ? 2
        : lead >= 0xE0 && lead < 0xF0                      ? 3
        : lead >= 0xF0 && lead < 0xF5                      ? 4
                                                           : 0;
    if (length == 0 || at + length > text.size()) {
        return {};
    }
    unsigned long code = lead & (0x7FU >> length);
    for (std::size_t i = 1; i < length; ++i) {
        if ((byte(at + i) & 0xC0) != 0x80) {
            return {};
        }
        code = code << 6 | (byte(at + i) & 0x3FU);
    }
    const bool tooShort = (length == 3 && code < 0x800) || (length == 4 && code < 0x10000);
    const bool surrogate = code >= 0xD800 && code <= 0xDFFF;
    return tooShort || surrogate || code > 0x10FFFF ? Character() : Character { code, length };
}

bool changesTheLine(unsigned long code)
{
    return code < 0x20 || (code >= 0x7F && code < 0xA0) || code == 0x61C || code == 0x200E || code == 0x200F
        || (code >= 0x2028 && code <= 0x202E) || (code >= 0x2066 && code <= 0x2069);
}

} // namespace

std::string CleanLine(const std::string& text)
{
    std::string line;
    for (std::size_t at = 0; at < text.size() && line.size() <= kLongest;) {
        const Character character = characterAt(text, at);
        if (character.length == 0) {
            line += '?';
            ++at;
        } else {
            line += changesTheLine(character.code) ? " " : text.substr(at, character.length);
            at += character.length;
        }
    }
    return CutAtCharacter(line, kLongest);
}

std::string WithoutSecrets(const std::string& url)
{
    // A password may hold anything, so what follows the last sign is all that is certainly none.
    const std::size_t at = url.rfind('@');
    const std::string text = at == std::string::npos ? url : url.substr(at + 1);
    return text.substr(0, text.find_first_of("?#"));
}

} // namespace BreakpadLinux
