// Pieces rendered without the C library: which ones they are, and that their texts are the same.
#include "hslog/render/HSLShortcuts.h"

#include "Interpose.h"
#include "RandomRounds.h"
#include "RenderRing.h"
#include "WithoutShortcuts.h"

#include <gtest/gtest.h>

#include <random>

namespace {

constexpr std::size_t kLong = sizeof(long);

HSL::Piece pieceOf(const std::string& format)
{
    return { format.data(), format.size(), format.find('%') };
}

// The text, or "refused".
std::string integerText(const std::string& format, unsigned long long bits, std::size_t size)
{
    HSL::TextBuffer text;
    const bool known = HSL::appendInteger(text, pieceOf(format), bits, size);
    EXPECT_TRUE(known || text.Size() == 0) << format;
    return known ? std::string(text.CStr(), text.Size()) : "refused";
}

std::string stringText(const std::string& format, const std::string& string)
{
    HSL::TextBuffer text;
    const bool known = HSL::appendString(text, pieceOf(format), string.data(), string.size());
    EXPECT_TRUE(known || text.Size() == 0) << format;
    return known ? std::string(text.CStr(), text.Size()) : "refused";
}

} // namespace

TEST(Shortcuts, IntegersUnderEachKnownConversion)
{
    EXPECT_EQ(integerText("x=%d", static_cast<unsigned long long>(-5), 4), "x=-5");
    EXPECT_EQ(integerText("%i", 2147483648u, 4), "-2147483648");
    EXPECT_EQ(integerText("%u", static_cast<unsigned long long>(-1), 4), "4294967295");
    EXPECT_EQ(integerText("%x", 0xABCDEF01, 4), "abcdef01");
    EXPECT_EQ(integerText("%X", 0xABCDEF01, 4), "ABCDEF01");
    EXPECT_EQ(integerText("%o", 8, 4), "10");
    EXPECT_EQ(integerText("<%c", 'A', 4), "<A");
    EXPECT_EQ(integerText("%hd", 0x18000, 4), "-32768");
    EXPECT_EQ(integerText("%hu", 0x18000, 4), "32768");
    EXPECT_EQ(integerText("%hhd", 0x180, 4), "-128");
    EXPECT_EQ(integerText("%hhx", 0x1FE, 4), "fe");
    EXPECT_EQ(integerText("%lld", 1ull << 63, 8), "-9223372036854775808");
    EXPECT_EQ(integerText("%llu", ~0ull, 8), "18446744073709551615");
    EXPECT_EQ(integerText("%llo", ~0ull, 8), "1777777777777777777777");
    EXPECT_EQ(integerText("%ld", static_cast<unsigned long long>(-7), kLong), "-7");
}

TEST(Shortcuts, NarrowConversionOfAWideValueShowsItsLowerHalf)
{
    EXPECT_EQ(integerText("%d", 0x1234567880000000, 8), "-2147483648");
    EXPECT_EQ(integerText("%u", 0x1234567880000000, 8), "2147483648");
    EXPECT_EQ(integerText("%x", 0x12345678ABCDEF01, 8), "abcdef01");
    EXPECT_EQ(integerText("%c", 0x1234567800000041, 8), "A");
}

TEST(Shortcuts, CharacterOfZeroAddsNothing)
{
    EXPECT_EQ(integerText("a%c", 0x100, 4), "a");
}

TEST(Shortcuts, ConversionWiderThanItsValueIsRefused)
{
    EXPECT_EQ(integerText("%lld", 5, 4), "refused");
    EXPECT_EQ(integerText("%llx", 5, 4), "refused");
    EXPECT_EQ(integerText("%ld", 5, 4), kLong == 4 ? "5" : "refused");
}

TEST(Shortcuts, AnythingElseIsRefusedForAnInteger)
{
    for (const char* format :
         { "%5d", "%-d", "%05d", "%.3d", "%+d",   "% d",  "%#x",  "%'d",   "%*d", "%1$d", "%zd",
           "%jd", "%td", "%qd",  "%Ld",  "%hhhd", "%lhd", "%hld", "%llld", "%lc", "%hc",  "%C",
           "%s",  "%S",  "%p",   "%n",   "%e",    "%E",   "%f",   "%g",    "%G",  "%5%d" }) {
        EXPECT_EQ(integerText(format, 5, 8), "refused") << format;
    }
}

TEST(Shortcuts, StringUnderItsConversion)
{
    EXPECT_EQ(stringText("y=%s", "ab"), "y=ab");
    EXPECT_EQ(stringText("%s", ""), "");
    EXPECT_EQ(stringText("%s", std::string("a\0b", 3)), "a");
}

TEST(Shortcuts, AnythingElseIsRefusedForAString)
{
    for (const char* format :
         { "%5s", "%-5s", "%.2s", "%ls", "%hs", "%S", "%d", "%c", "%p", "%x", "%n", "%lld" }) {
        EXPECT_EQ(stringText(format, "text"), "refused") << format;
    }
}

TEST(Shortcuts, PieceThatWouldHaveToBeCutIsRefused)
{
    EXPECT_EQ(stringText("%s", std::string(65535, 's')), std::string(65535, 's'));
    EXPECT_EQ(stringText("a%s", std::string(65535, 's')), "refused");
    EXPECT_EQ(stringText(std::string(65536, 'a') + "%s", ""), "refused");
    EXPECT_EQ(integerText(std::string(65535, 'a') + "%d", 1, 4), "refused");
}

TEST(Shortcuts, LiteralIsCutAtTheLengthOfAPiece)
{
    HSL::TextBuffer text;
    EXPECT_TRUE(HSL::appendLiteral(text, std::string(70000, 'a').data(), 70000));
    EXPECT_EQ(std::string(text.CStr(), text.Size()), std::string(65535, 'a'));
}

TEST(Shortcuts, LiteralWithAPercentIsRefused)
{
    HSL::TextBuffer text;
    EXPECT_FALSE(HSL::appendLiteral(text, "50%% done", 9));
    EXPECT_FALSE(HSL::appendLiteral(text, "a longer text that ends in %", 28));
    EXPECT_TRUE(HSL::appendLiteral(text, "", 0));
    EXPECT_EQ(text.Size(), 0u);
}

namespace {

using Random = std::mt19937;

std::string anyOf(Random& random, const std::string& characters, std::size_t longest)
{
    std::string text;
    for (std::size_t length = random() % (longest + 1); length > 0; --length) {
        text += characters[random() % characters.size()];
    }
    return text;
}

struct Value {
    HandMadeRecord bytes;
    std::size_t size = 0; // of an integer as the formatter gets it; 0 for anything else
    std::string letters;  // of the conversions that suit it
};

std::string randomString(Random& random)
{
    std::string text = anyOf(random, "abc %d\\\n\xE4\xF6", random() % 50 == 0 ? 300 : 20);
    if (random() % 20 == 0) {
        text.insert(random() % (text.size() + 1), 1, '\0');
    }
    return text;
}

Value integerValue(HandMadeRecord bytes, std::size_t size)
{
    return { std::move(bytes), size, "ddiuxXoc" };
}

Value randomValue(Random& random)
{
    const auto all = (static_cast<unsigned long long>(random()) << 32 | random()) >> random() % 64;
    const auto bits = random() % 2 == 0 ? all : 0 - all;
    const std::string text = randomString(random);
    HandMadeRecord record;
    switch (4 + random() % 18) {
    case 4:
        return integerValue(record.Int8(static_cast<signed char>(bits)), 4);
    case 5:
        return integerValue(record.Int16(static_cast<short>(bits)), 4);
    case 6:
        return integerValue(record.Int32(static_cast<int>(bits)), 4);
    case 7:
        return integerValue(record.Int64(static_cast<long long>(bits)), 8);
    case 8:
        return integerValue(record.UInt8(static_cast<unsigned char>(bits)), 4);
    case 9:
        return integerValue(record.UInt16(static_cast<unsigned short>(bits)), 4);
    case 10:
        return integerValue(record.UInt32(static_cast<unsigned int>(bits)), 4);
    case 11:
        return integerValue(record.UInt64(bits), 8);
    case 12:
        return { record.Float(static_cast<float>(static_cast<int>(bits)) / 64), 0, "eEfgG" };
    case 13:
        return { record.Double(static_cast<double>(static_cast<int>(bits)) / 64), 0, "eEfgG" };
    case 14:
        return integerValue(record.Long(static_cast<long>(bits)), kLong);
    case 15:
        return integerValue(record.Pointer(static_cast<std::uintptr_t>(bits)), kLong);
    case 16:
        return { record.WString(
                     std::wstring(text.begin(), text.begin() + static_cast<std::ptrdiff_t>(text.size() / 2))),
                 0, "S" };
    case 17:
        return { record.UTF16String(std::u16string(text.begin(), text.end())), 0, "S" };
    default:
        return { record.String(text), 0, "s" };
    }
}

// A conversion that reads no more than the value has; what others show depends on what lies beside it.
std::string conversionFor(Random& random, const Value& value)
{
    std::string text = "%";
    if (random() % 5 == 0) {
        text += anyOf(random, value.size != 0 ? "-+ 0#'" : "-", 2);
    }
    if (random() % 6 == 0) {
        text += std::to_string(1 + random() % 30);
    }
    if (random() % 6 == 0) {
        text += "." + std::to_string(random() % 12);
    }
    if (value.size != 0 && random() % 2 == 0) {
        const char* const narrow[] = { "h", "hh", "h", "hh" };
        const char* const asLong[] = { "l", "z", "t", "l" };
        const char* const wide[] = { "ll", "j", "q", "L" };
        const std::size_t kind = random() % 3;
        const bool fits = kind == 0 || (kind == 1 && value.size >= kLong) || value.size == 8;
        text += !fits ? "" : (kind == 0 ? narrow : (kind == 1 ? asLong : wide))[random() % 4];
    }
    return text + value.letters[random() % value.letters.size()];
}

// A text without "%" and with no backslash at its end, where one would keep the renderer from returning.
std::string literal(Random& random)
{
    const std::string text = anyOf(random, "abcdiouxsS ,:.()=\n/\\\xC3\xA4", random() % 30 == 0 ? 200 : 12);
    return text.empty() || text.back() != '\\' ? text : text + ' ';
}

struct Message {
    std::string format;
    std::vector<Value> values;
    std::size_t pieces = 0;
};

Message randomMessage(Random& random)
{
    Message message;
    for (std::size_t values = random() % 5; values > 0; --values) {
        message.values.push_back(randomValue(random));
    }
    // Sometimes one conversion less than values; the rest of the format may hold some more.
    const bool listsLast = random() % 6 == 0;
    for (std::size_t i = 0; i + (listsLast ? 1 : 0) < message.values.size(); ++i) {
        message.format += literal(random) + conversionFor(random, message.values[i]);
    }
    if (!listsLast || message.values.empty()) {
        message.format += literal(random) + (random() % 8 == 0 ? "%%" : "");
    } else {
        message.format += literal(random);
    }
    message.pieces = message.values.size() + 1;
    return message;
}

HandMadeRecord recordOf(Random& random, RenderRing& ring, Message& message)
{
    HandMadeRecord record;
    if (random() % 4 == 0) {
        ring.Manager().mFormatStrings.clear();
        if (random() % 4 == 0) {
            message.format.insert(random() % (message.format.size() + 1), 1, '\0');
        }
        ring.Manager().mFormatStrings.push_back({ true, message.format, std::wstring() });
        record.Id(0);
    } else {
        record.Inline(message.format);
    }
    record.Count(static_cast<int>(message.values.size()));
    for (const Value& value : message.values) {
        record.Append(value.bytes);
    }
    return record;
}

// Whether a zero byte stands where it would change which bytes belong to a conversion.
bool hasZeroInConversion(const std::string& format)
{
    const std::size_t zero = format.find('\0');
    return zero != std::string::npos && zero > 0 && format.rfind('%', zero) != std::string::npos
        && format.find_first_of("cCdiouxXeEfgGnpsS", format.rfind('%', zero)) > zero;
}

} // namespace

TEST(ShortcutsModel, RandomMessagesAreTheSameWithAndWithout)
{
    constexpr unsigned int kSeed = 2024;
    Random random(kSeed);
    RenderRing ring;
    const long rounds = randomRounds(1000000);
    long pieces = 0;
    long formatted = 0;
    while (pieces < rounds) {
        Message message = randomMessage(random);
        const HandMadeRecord record = recordOf(random, ring, message);
        if (hasZeroInConversion(message.format)) {
            continue;
        }
        std::string quick;
        {
            Interposed hooks;
            hooks.vsnprintfHook = [&formatted](char* output, std::size_t size, const char* format,
                                               va_list values) {
                ++formatted;
                return __real_vsnprintf(output, size, format, values);
            };
            quick = ring.Render(record);
        }
        ASSERT_EQ(ring.Left(), 0u) << message.format;
        const WithoutShortcuts everyPiece;
        ASSERT_EQ(quick, ring.Render(record)) << message.format << ", seed " << kSeed;
        ASSERT_EQ(ring.Left(), 0u) << message.format;
        pieces += static_cast<long>(message.pieces);
    }
    // The shortcuts were taken, and so was the long way.
    EXPECT_LT(formatted, pieces * 7 / 10);
    EXPECT_GT(formatted, pieces / 10);
}
