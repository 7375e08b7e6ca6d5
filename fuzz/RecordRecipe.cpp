#include "RecordRecipe.h"

#include "HandMadeRecord.h"

#include <cmath>
#include <iterator>
#include <limits>

namespace {

constexpr int kMostRecords = 20;

constexpr unsigned int kSteps[] = { 0,   1,    9,     10,    59,       60,     99,      100,
                                    101, 3600, 86399, 86400, 1u << 31, 0u - 1, 0u - 100 };
constexpr unsigned int kMicroseconds[] = { 0,      1,       9,       99999,   100000,   250000, 500000,
                                           999999, 1000000, 1000001, 9999999, 1u << 31, 0u - 1 };
constexpr int kSequences[] = { 1,          9,  99999,  100000,  999999,     1000000,
                               2147483640, -1, -99999, -100000, -2147483647 };
constexpr unsigned char kDepths[] = { 0, 0, 0, 1, 2, 17, 255 };
constexpr long long kIntegers[] = { 0,
                                    1,
                                    -1,
                                    7,
                                    9,
                                    10,
                                    99,
                                    100,
                                    127,
                                    128,
                                    -128,
                                    -129,
                                    255,
                                    256,
                                    32767,
                                    32768,
                                    -32768,
                                    65535,
                                    65536,
                                    99999999,
                                    100000000,
                                    999999999,
                                    2147483647,
                                    -2147483648LL,
                                    4294967295LL,
                                    4294967296LL,
                                    9999999999999999LL,
                                    10000000000000000LL,
                                    std::numeric_limits<long long>::max(),
                                    std::numeric_limits<long long>::min() };
constexpr double kReals[] = { 0.0,
                              -0.0,
                              0.5,
                              1.5,
                              -2.5,
                              0.05,
                              99999.5,
                              999999.5,
                              1e-5,
                              1e21,
                              1e300,
                              -1e-310,
                              std::numeric_limits<double>::infinity(),
                              -std::numeric_limits<double>::infinity(),
                              std::numeric_limits<double>::quiet_NaN() };
constexpr const char* kConversions[] = {
    "%d",  "%i",   "%u",    "%x",   "%X",    "%o",   "%c",   "%s",     "%S",   "%f",      "%g",      "%e",
    "%p",  "%hd",  "%hu",   "%hhd", "%hhu",  "%hhx", "%ld",  "%lu",    "%lx",  "%lld",    "%llu",    "%llX",
    "%zu", "%jd",  "%ls",   "%5d",  "%-5d|", "%05d", "%+d",  "% d",    "%.3d", "%.0d",    "%#x",     "%#o",
    "%3c", "%10s", "%-10s", "%.2s", "%.0s",  "%.2f", "%.0f", "%10.3f", "%G",   "%#g",     "%'d",     "%1$d",
    "%Lf", "%lf",  "%%",    "\\%d", "%",     "%!",   "%5",   "%lc",    "%C",   "%65534d", "%65535d", "%65536s"
};
constexpr unsigned int kLengths[] = { 0, 1, 2, 7, 8, 9, 15, 16, 17, 31, 32, 33, 63, 64, 65, 500 };

template <typename Table> auto pick(FuzzInput& input, const Table& table)
{
    return table[input.Byte() % std::size(table)];
}

// Of a few characters or, where the length's byte is large, of some lengths that matter.
template <typename Unit> std::basic_string<Unit> takeUnits(FuzzInput& input)
{
    const unsigned int head = input.Byte();
    std::basic_string<Unit> units;
    if (head >= 200) {
        const unsigned int unit = input.Byte();
        units.assign(kLengths[head % std::size(kLengths)], static_cast<Unit>(unit));
        return units;
    }
    for (const char byte : input.Bytes(head % 12)) {
        const unsigned int unit = static_cast<unsigned char>(byte);
        // Bytes above 0x7F stand for surrogates, accents and what lies between.
        units += static_cast<Unit>(sizeof(Unit) > 1 && unit >= 0xC0 ? 0xD700 + (unit - 0xC0) * 0x20 : unit);
    }
    return units;
}

template <typename Unit> void addText(HandMadeRecord& record, FuzzInput& input)
{
    const std::basic_string<Unit> units = takeUnits<Unit>(input);
    record.Raw(static_cast<unsigned short>(units.size()));
    for (const Unit unit : units) {
        record.Raw(unit);
    }
}

void addValue(HandMadeRecord& record, FuzzInput& input)
{
    const unsigned int choice = input.Byte();
    const unsigned int tag = choice < 240 ? 4 + choice % 15 : choice;
    record.Raw(static_cast<unsigned char>(tag));
    const auto integer = [&input] { return pick(input, kIntegers); };
    switch (tag) {
    case 4:
    case 8:
        record.Raw(static_cast<unsigned char>(integer()));
        break;
    case 5:
    case 9:
        record.Raw(static_cast<unsigned short>(integer()));
        break;
    case 6:
    case 10:
        record.Raw(static_cast<unsigned int>(integer()));
        break;
    case 7:
    case 11:
        record.Raw(integer());
        break;
    case 12: {
        // A number that a float cannot hold becomes an infinite one without being converted.
        const double real = pick(input, kReals);
        record.Raw(std::abs(real) < 1e30 || std::isnan(real) ? static_cast<float>(real)
                                                             : std::numeric_limits<float>::infinity());
        break;
    }
    case 13:
        record.Raw(pick(input, kReals));
        break;
    case 14:
    case 15:
        record.Raw(static_cast<unsigned long>(integer()));
        break;
    case 16:
        addText<char>(record, input);
        break;
    case 17:
        addText<wchar_t>(record, input);
        break;
    case 18:
        addText<char16_t>(record, input);
        break;
    default:
        break;
    }
}

void addFormat(HandMadeRecord& record, FuzzInput& input)
{
    const unsigned int kind = input.Byte();
    if (kind >= 224) {
        record.Raw(static_cast<unsigned char>(kind % 5))
            .Raw(static_cast<short>(static_cast<int>(kind % 8) - 2));
        return;
    }
    std::string format;
    for (unsigned int pieces = kind % 8; pieces > 0; --pieces) {
        format += takeUnits<char>(input) + pick(input, kConversions);
    }
    record.Inline(format + takeUnits<char>(input));
}

} // namespace

AssembledRecords assembledRecords(const std::string& recipe, bool headers)
{
    FuzzInput input(reinterpret_cast<const std::uint8_t*>(recipe.data()), recipe.size());
    HandMadeRecord records;
    AssembledRecords assembled;
    unsigned int sequence = static_cast<unsigned int>(pick(input, kSequences)); // may pass the largest int
    unsigned int seconds = 1700000000;
    for (; assembled.count < kMostRecords && !input.AtEnd(); ++assembled.count) {
        if (headers) {
            seconds += pick(input, kSteps);
            const unsigned int microseconds = pick(input, kMicroseconds);
            const unsigned char depth = pick(input, kDepths);
            records.Header(static_cast<int>(sequence), seconds, microseconds, depth,
                           { static_cast<unsigned char>(input.Byte()) });
            sequence += 1 + input.Byte() % 2;
        }
        addFormat(records, input);
        const unsigned int values = input.Byte() % 11;
        records.Count(static_cast<int>(values));
        for (unsigned int i = 0; i < values; ++i) {
            addValue(records, input);
        }
    }
    assembled.bytes = records.AsString();
    return assembled;
}
