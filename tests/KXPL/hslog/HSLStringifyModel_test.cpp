// Random records against a small model of what a message looks like.
#include "hslog/HSL.h"

#include "RenderRing.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <functional>
#include <random>

namespace {

using Random = std::mt19937;

std::size_t below(Random& random, std::size_t limit)
{
    return random() % limit;
}

std::string anyOf(Random& random, const char* characters, std::size_t longest)
{
    std::string text;
    const std::string alphabet = characters;
    for (std::size_t length = below(random, longest + 1); length > 0; --length) {
        text += alphabet[below(random, alphabet.size())];
    }
    return text;
}

// A value, the conversions that suit it, and how the C library itself prints it.
struct Value {
    HandMadeRecord bytes;
    std::string ownFormat;
    std::string flags;
    std::vector<std::string> conversions;
    std::function<std::string(const std::string&)> print;
};

template <typename T> std::function<std::string(const std::string&)> printer(T value)
{
    return [value](const std::string& format) {
        char text[512];
        std::snprintf(text, sizeof text, format.c_str(), value);
        return std::string(text);
    };
}

template <typename T> Value valueOf(unsigned char tag, T v, const char* ownFormat, const char* length)
{
    const std::string prefix = length;
    Value value { HandMadeRecord().Byte(tag).Raw(v), ownFormat, "-+ 0", {}, printer(v) };
    const bool isSigned = std::is_signed<T>::value;
    value.flags = isSigned ? "-+ 0" : "-0";
    for (const char* letter : { isSigned ? "d" : "u", isSigned ? "i" : "x", isSigned ? "d" : "X" }) {
        value.conversions.push_back(prefix + letter);
    }
    return value;
}

template <typename T> Value floatingValueOf(unsigned char tag, T v, const char* ownFormat)
{
    return {
        HandMadeRecord().Byte(tag).Raw(v), ownFormat, "-+ #0", { "f", "e", "E", "g", "G" }, printer<double>(v)
    };
}

template <typename Unit> Value textOf(unsigned char tag, const std::string& text, const char* conversion)
{
    const std::basic_string<Unit> units(text.begin(), text.end());
    return { HandMadeRecord().Byte(tag).Text(units),
             std::string("%") + conversion,
             "-",
             { conversion },
             [text](const std::string& format) {
                 std::string narrow = format;
                 narrow.back() = 's';
                 return printer(text.c_str())(narrow);
             } };
}

Value lowHalf(Value value, int low)
{
    const auto whole = value.print;
    const std::string own = value.ownFormat;
    value.print = [whole, own, low](const std::string& format) {
        return format == own ? printer(low)(format) : whole(format);
    };
    return value;
}

Value randomValue(Random& random)
{
    const auto bits = static_cast<unsigned long long>(random()) << 32 | random();
    const double real = (static_cast<double>(static_cast<long long>(bits >> 40)) - 8e6) / 1024;
    const std::string text = anyOf(random, "abcdefgh %\\diouxs,.()", 30);
    switch (4 + below(random, 15)) {
    case 4:
        return valueOf(4, static_cast<signed char>(bits), "%hd", "");
    case 5:
        return valueOf(5, static_cast<short>(bits), "%hd", "h");
    case 6:
        return valueOf(6, static_cast<int>(bits), "%d", "");
    case 7:
        return valueOf(7, static_cast<long long>(bits), "%lld", "ll");
    case 8:
        return valueOf(8, static_cast<unsigned char>(bits), "%hu", "hh");
    case 9:
        return valueOf(9, static_cast<unsigned short>(bits), "%hu", "h");
    case 10:
        return valueOf(10, static_cast<unsigned int>(bits), "%u", "");
    case 11:
        return valueOf(11, bits, "%llu", "ll");
    case 12:
        return floatingValueOf(12, static_cast<float>(real), "%f");
    case 13:
        return floatingValueOf(13, real, "%g");
    case 14:
        return lowHalf(valueOf(14, static_cast<long>(bits), "%d", "l"), static_cast<int>(bits));
    case 15:
        return lowHalf(valueOf(15, static_cast<std::uintptr_t>(bits), "0x%x", "l"), static_cast<int>(bits));
    case 16:
        return textOf<char>(16, text, "s");
    case 17:
        return textOf<wchar_t>(17, text, "S");
    default:
        return textOf<char16_t>(18, text, "S");
    }
}

// A conversion for a value; its parts after the "%" hold no letter that ends a piece but the last.
std::string conversionFor(Random& random, const Value& value)
{
    std::string text = "%" + anyOf(random, value.flags.c_str(), 2);
    if (below(random, 3) == 0) {
        text += std::to_string(1 + below(random, 20));
    }
    if (below(random, 3) == 0) {
        text += "." + std::to_string(below(random, 9));
    }
    return text + value.conversions[below(random, value.conversions.size())];
}

// A message: literal text, then conversions each with literal text behind it, and the values.
struct Message {
    std::string lead;
    std::vector<std::string> conversions;
    std::vector<std::string> literals; // as many as conversions
    std::vector<Value> values;

    std::string Format() const
    {
        std::string format = lead;
        for (std::size_t i = 0; i < conversions.size(); ++i) {
            format += conversions[i] + literals[i];
        }
        return format;
    }
};

// Never a "%%", nor a "%" behind a backslash, where a conversion is looked for: those never return.
Message randomMessage(Random& random)
{
    const char* characters = "abcdiouxsS ,:.()=\n/";
    Message message;
    const std::size_t values = below(random, 6);
    message.lead = anyOf(random, characters, 12);
    for (std::size_t i = 0; i < values; ++i) {
        message.values.push_back(randomValue(random));
    }
    for (std::size_t i = values == 0 ? 0 : below(random, 7); i > 0; --i) {
        const std::size_t index = message.conversions.size();
        const bool isMet = index < values;
        message.conversions.push_back(isMet ? conversionFor(random, message.values[index]) : "\\%d%%");
        message.literals.push_back(anyOf(random, characters, 12));
    }
    if (values == 0) {
        message.lead += below(random, 2) == 0 ? "%%" : "\\";
    }
    return message;
}

std::string expectedText(const Message& message)
{
    const std::size_t values = message.values.size();
    const std::size_t conversions = message.conversions.size();
    if (values == 0) {
        const std::size_t doubled = message.lead.find("%%");
        return doubled == std::string::npos ? message.lead : message.lead.substr(0, doubled) + "%";
    }
    std::string text = message.lead;
    for (std::size_t i = 0; i < conversions && i < values; ++i) {
        text += message.values[i].print(message.conversions[i]);
        text += i + 1 < values || conversions <= values ? message.literals[i] : "";
    }
    if (conversions > values) {
        std::string unused = message.literals[values - 1];
        for (std::size_t i = values; i < conversions; ++i) {
            unused += "\\_d__" + message.literals[i];
        }
        text += "[extra format arguments: " + unused + " ]";
    }
    for (std::size_t i = conversions; i < values; ++i) {
        text += (i == conversions ? " (" : ", ") + message.values[i].print(message.values[i].ownFormat);
    }
    return values > conversions ? text + ") " : text;
}

HandMadeRecord recordOf(const Message& message, RenderRing& ring, bool byId)
{
    HandMadeRecord record;
    if (byId) {
        ring.Manager().mFormatStrings.clear();
        ring.Manager().AddFormatString(message.Format().c_str());
        record.Id(0);
    } else {
        record.Inline(message.Format());
    }
    record.Count(static_cast<int>(message.values.size()));
    for (const Value& value : message.values) {
        record.Append(value.bytes);
    }
    return record;
}

// One run per seed; together they make 250,000 messages, each rendered and only consumed.
constexpr int kMessagesPerSeed = 25000;

class StringifyModel : public testing::TestWithParam<unsigned int> { };

} // namespace

TEST_P(StringifyModel, RandomMessagesAreRenderedAsTheModelSays)
{
    Random random(GetParam());
    RenderRing ring;
    int reported = 0;
    int listed = 0;
    for (int i = 0; i < kMessagesPerSeed; ++i) {
        const Message message = randomMessage(random);
        const HandMadeRecord record = recordOf(message, ring, below(random, 4) == 0);
        const std::string expected = expectedText(message);
        ASSERT_EQ(ring.Render(record), expected) << message.Format();
        ASSERT_EQ(ring.Left(), 0u) << message.Format();
        ASSERT_EQ(ring.Render(record, false), "") << message.Format();
        ASSERT_EQ(ring.Left(), 0u) << message.Format();
        reported += message.conversions.size() > message.values.size() ? 1 : 0;
        listed += message.conversions.size() < message.values.size() ? 1 : 0;
    }
    // Each way of going wrong has been seen often.
    EXPECT_GT(reported, kMessagesPerSeed / 10);
    EXPECT_GT(listed, kMessagesPerSeed / 10);
}

INSTANTIATE_TEST_SUITE_P(Seeds, StringifyModel, testing::Range(1u, 11u));
