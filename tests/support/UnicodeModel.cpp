#include "UnicodeModel.h"

#include <ios>

using namespace KXPL;

const UnicodeConverter kUnicodeConverters[6] = {
    { "UTF32toUTF16", UnicodeForm::utf32, UnicodeForm::utf16 },
    { "UTF16toUTF32", UnicodeForm::utf16, UnicodeForm::utf32 },
    { "UTF16toUTF8", UnicodeForm::utf16, UnicodeForm::utf8 },
    { "UTF8toUTF16", UnicodeForm::utf8, UnicodeForm::utf16 },
    { "UTF32toUTF8", UnicodeForm::utf32, UnicodeForm::utf8 },
    { "UTF8toUTF32", UnicodeForm::utf8, UnicodeForm::utf32 },
};

bool operator==(const UnicodeOutcome& a, const UnicodeOutcome& b)
{
    return a.result == b.result && a.consumed == b.consumed && a.written == b.written
        && a.wroteBeyond == b.wroteBeyond;
}

std::ostream& operator<<(std::ostream& out, const UnicodeConverter& converter)
{
    return out << converter.name;
}

std::ostream& operator<<(std::ostream& out, const UnicodeText& text)
{
    out << std::hex << '[';
    for (const std::uint32_t unit : text.units) {
        out << ' ' << unit;
    }
    return out << " ]" << std::dec;
}

std::ostream& operator<<(std::ostream& out, const UnicodeOutcome& outcome)
{
    return out << "result " << outcome.result << ", consumed " << outcome.consumed << ", written "
               << UnicodeText { outcome.written } << (outcome.wroteBeyond ? " and beyond" : "");
}

namespace {

// What stands at a place of the source.
struct Character {
    ConversionResult stop; // conversionOK unless the conversion ends here
    std::size_t length;
    std::uint32_t value;
    bool skipped;    // consumed without being written
    bool remembered; // makes the final result sourceIllegal
};

constexpr std::uint32_t kReplacement = 0xFFFD;

bool isHigh(std::uint32_t value)
{
    return value / 0x400 == 0xD800 / 0x400;
}

bool isLow(std::uint32_t value)
{
    return value / 0x400 == 0xDC00 / 0x400;
}

// The sequences of two and more bytes: a row for every range of lead bytes with its range of second bytes.
struct Row {
    std::uint32_t firstLead, lastLead, firstSecond, lastSecond;
    std::size_t length;
};

constexpr Row kRows[] = {
    { 0xC2, 0xDF, 0x80, 0xBF, 2 }, { 0xE0, 0xE0, 0xA0, 0xBF, 3 }, { 0xE1, 0xEC, 0x80, 0xBF, 3 },
    { 0xED, 0xED, 0x00, 0x9F, 3 }, { 0xEE, 0xEF, 0x80, 0xBF, 3 }, { 0xF0, 0xF0, 0x90, 0xBF, 4 },
    { 0xF1, 0xF3, 0x80, 0xBF, 4 }, { 0xF4, 0xF4, 0x00, 0x8F, 4 },
};

std::size_t lengthToldBy(std::uint32_t lead)
{
    const std::uint32_t firstLeads[] = { 0xC0, 0xE0, 0xF0, 0xF8, 0xFC };
    std::size_t length = 1;
    for (const std::uint32_t first : firstLeads) {
        length += lead >= first;
    }
    return length;
}

// Needs the whole sequence to be there.
bool isLegal(const UnicodeUnits& bytes, std::size_t at)
{
    if (bytes[at] < 0x80) {
        return true;
    }
    for (const Row& row : kRows) {
        if (bytes[at] < row.firstLead || bytes[at] > row.lastLead) {
            continue;
        }
        bool legal = bytes[at + 1] >= row.firstSecond && bytes[at + 1] <= row.lastSecond;
        for (std::size_t i = 2; i < row.length; ++i) {
            legal = legal && bytes[at + i] >= 0x80 && bytes[at + i] <= 0xBF;
        }
        return legal;
    }
    return false;
}

Character readUTF8(const UnicodeUnits& source, std::size_t at)
{
    const std::size_t length = lengthToldBy(source[at]);
    if (source.size() - at < length) {
        return { sourceExhausted, 0, 0, false, false };
    }
    if (!isLegal(source, at)) {
        return { sourceIllegal, 0, 0, false, false };
    }
    // Signed, because a second byte may lie below 0x80.
    const std::int64_t leadBases[] = { 0, 0, 0xC0, 0xE0, 0xF0 };
    std::int64_t value = source[at] - leadBases[length];
    for (std::size_t i = 1; i < length; ++i) {
        value = value * 64 + (static_cast<std::int64_t>(source[at + i]) - 0x80);
    }
    return { conversionOK, length, static_cast<std::uint32_t>(value), false, false };
}

Character readUTF16(const UnicodeUnits& source, std::size_t at, bool strict)
{
    const std::uint32_t unit = source[at];
    if (isHigh(unit) && at + 1 == source.size()) {
        return { sourceExhausted, 0, 0, false, false };
    }
    if (isHigh(unit) && isLow(source[at + 1])) {
        return { conversionOK, 2, unit * 0x400 + source[at + 1] - 0x35FDC00, false, false };
    }
    if (strict && (isHigh(unit) || isLow(unit))) {
        return { sourceIllegal, 0, 0, false, false };
    }
    return { conversionOK, 1, unit, false, false };
}

Character readUTF32(const UnicodeUnits& source, std::size_t at, UnicodeForm to, bool strict)
{
    const std::uint32_t value = source[at];
    if (isHigh(value) || isLow(value)) {
        const bool replaced = to == UnicodeForm::utf16;
        return { strict ? sourceIllegal : conversionOK, 1, replaced ? kReplacement : value, false, false };
    }
    if (value <= 0x10FFFF) {
        return { conversionOK, 1, value, false, false };
    }
    if (to == UnicodeForm::utf8) {
        return { conversionOK, 1, kReplacement, false, true };
    }
    return { conversionOK, 1, kReplacement, strict, strict };
}

Character read(UnicodeForm from, UnicodeForm to, const UnicodeUnits& source, std::size_t at, bool strict)
{
    switch (from) {
    case UnicodeForm::utf8:
        return readUTF8(source, at);
    case UnicodeForm::utf16:
        return readUTF16(source, at, strict);
    default:
        return readUTF32(source, at, to, strict);
    }
}

// A unit that the target holds where nothing was written.
template <typename Unit> constexpr Unit kUntouched = static_cast<Unit>(0xEEEEEEEE);

template <typename Source, typename Target, typename Convert>
UnicodeOutcome runReal(Convert convert, const UnicodeUnits& units, std::size_t room, ConversionFlags flags,
                       std::size_t offset)
{
    std::vector<Source> source;
    source.reserve(offset + units.size());
    source.assign(offset, kUntouched<Source>);
    for (const std::uint32_t unit : units) {
        source.push_back(static_cast<Source>(unit));
    }
    constexpr std::size_t kWatched = 64 / sizeof(Target);
    std::vector<Target> target(kWatched + offset + room + kWatched, kUntouched<Target>);
    const Source* const start = source.data() + offset;
    const Source* from = start;
    Target* const begin = target.data() + kWatched + offset;
    Target* to = begin;
    const ConversionResult result = convert(&from, source.data() + source.size(), &to, begin + room, flags);
    UnicodeOutcome outcome { result, static_cast<std::size_t>(from - start), {} };
    outcome.written.assign(begin, to);
    for (const Target* before = target.data(); before < begin; ++before) {
        outcome.wroteBeyond = outcome.wroteBeyond || *before != kUntouched<Target>;
    }
    for (; to < target.data() + target.size(); ++to) {
        outcome.wroteBeyond = outcome.wroteBeyond || *to != kUntouched<Target>;
    }
    return outcome;
}

} // namespace

UnicodeUnits modelEncode(UnicodeForm to, std::uint32_t value)
{
    if (to == UnicodeForm::utf32 || (to == UnicodeForm::utf16 && value <= 0xFFFF)) {
        return { value };
    }
    if (to == UnicodeForm::utf16) {
        return { 0xD800 + (value - 0x10000) / 0x400, 0xDC00 + value % 0x400 };
    }
    if (value <= 0x7F) {
        return { value };
    }
    if (value <= 0x7FF) {
        return { 0xC0 + value / 64, 0x80 + value % 64 };
    }
    if (value <= 0xFFFF) {
        return { 0xE0 + value / 4096, 0x80 + value / 64 % 64, 0x80 + value % 64 };
    }
    return { 0xF0 + value / 262144, 0x80 + value / 4096 % 64, 0x80 + value / 64 % 64, 0x80 + value % 64 };
}

bool modelIsLegalSequence(const UnicodeUnits& bytes)
{
    return !bytes.empty() && lengthToldBy(bytes[0]) <= bytes.size() && isLegal(bytes, 0);
}

UnicodeOutcome modelConversion(UnicodeForm from, UnicodeForm to, const UnicodeUnits& source, std::size_t room,
                               bool strict)
{
    UnicodeOutcome outcome { conversionOK, 0, {} };
    while (outcome.consumed < source.size()) {
        const Character character = read(from, to, source, outcome.consumed, strict);
        if (character.stop != conversionOK) {
            outcome.result = character.stop;
            return outcome;
        }
        if (!character.skipped) {
            const UnicodeUnits units = modelEncode(to, character.value);
            if (outcome.written.size() + units.size() > room) {
                outcome.result = targetExhausted;
                return outcome;
            }
            outcome.written.insert(outcome.written.end(), units.begin(), units.end());
        }
        if (character.remembered) {
            outcome.result = sourceIllegal;
        }
        outcome.consumed += character.length;
    }
    return outcome;
}

UnicodeOutcome conversionBy(const UnicodeRoutines& routines, UnicodeForm from, UnicodeForm to,
                            const UnicodeUnits& source, std::size_t room, ConversionFlags flags,
                            std::size_t offset)
{
    if (from == UnicodeForm::utf8) {
        return to == UnicodeForm::utf16 ? runReal<UTF8, UTF16>(routines.utf8To16, source, room, flags, offset)
                                        : runReal<UTF8, UTF32>(routines.utf8To32, source, room, flags, offset);
    }
    if (from == UnicodeForm::utf16) {
        return to == UnicodeForm::utf8 ? runReal<UTF16, UTF8>(routines.utf16To8, source, room, flags, offset)
                                       : runReal<UTF16, UTF32>(routines.utf16To32, source, room, flags, offset);
    }
    return to == UnicodeForm::utf8 ? runReal<UTF32, UTF8>(routines.utf32To8, source, room, flags, offset)
                                   : runReal<UTF32, UTF16>(routines.utf32To16, source, room, flags, offset);
}

UnicodeOutcome realConversion(UnicodeForm from, UnicodeForm to, const UnicodeUnits& source, std::size_t room,
                              ConversionFlags flags, std::size_t offset)
{
    static constexpr UnicodeRoutines kReal { ConvertUTF8toUTF16,  ConvertUTF8toUTF32, ConvertUTF16toUTF8,
                                             ConvertUTF16toUTF32, ConvertUTF32toUTF8, ConvertUTF32toUTF16 };
    return conversionBy(kReal, from, to, source, room, flags, offset);
}
