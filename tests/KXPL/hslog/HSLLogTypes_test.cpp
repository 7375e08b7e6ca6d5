// Values of every type that the macros of HSLLog.h take.
#include "hslog/HSLBounded.h"
#include "hslog/HSLLog.h"

#include "ManualPass.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <limits>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>

namespace {

class LogTypes : public testing::Test {
protected:
    std::string One()
    {
        pass.Manager().Collect();
        const std::string shown = pass.lines.size() == 1 ? messageOf(pass.lines[0]) : "not one line";
        pass.lines.clear();
        return shown;
    }

    template <typename T> std::string Shown(const T& value)
    {
        HSL_INFO("{}", value);
        return One();
    }

    ManualPass pass;
};

enum Plain : int {
    kPlain = -3
};
enum class Byte : unsigned char {
    kByte = 200
};
enum class Named {
    kRed
};
const char* ToLogText(Named)
{
    return "red";
}

struct Point {
    int x;
    int y;
};
std::string ToLogText(const Point& point)
{
    return std::to_string(point.x) + "/" + std::to_string(point.y);
}

struct Kelvin {
    double degrees;
};
double ToLogText(const Kelvin& kelvin)
{
    return kelvin.degrees;
}

} // namespace

TEST_F(LogTypes, IntegersOfEveryWidthAndSign)
{
    EXPECT_EQ(Shown(std::numeric_limits<signed char>::min()), "-128");
    EXPECT_EQ(Shown(std::numeric_limits<unsigned char>::max()), "255");
    EXPECT_EQ(Shown(std::numeric_limits<short>::min()), "-32768");
    EXPECT_EQ(Shown(std::numeric_limits<unsigned short>::max()), "65535");
    EXPECT_EQ(Shown(std::numeric_limits<int>::min()), "-2147483648");
    EXPECT_EQ(Shown(std::numeric_limits<unsigned int>::max()), "4294967295");
    EXPECT_EQ(Shown(std::numeric_limits<std::int64_t>::min()), "-9223372036854775808");
    EXPECT_EQ(Shown(std::numeric_limits<std::uint64_t>::max()), "18446744073709551615");
    EXPECT_EQ(Shown(std::numeric_limits<long long>::max()), "9223372036854775807");
    EXPECT_EQ(Shown(std::numeric_limits<unsigned long>::max()),
              std::to_string(std::numeric_limits<unsigned long>::max()));
    EXPECT_EQ(Shown(std::numeric_limits<long>::min()), std::to_string(std::numeric_limits<long>::min()));
    EXPECT_EQ(Shown(std::size_t(7)), "7");
}

TEST_F(LogTypes, WordsForBools)
{
    EXPECT_EQ(Shown(true), "true");
    EXPECT_EQ(Shown(false), "false");
}

TEST_F(LogTypes, NarrowTexts)
{
    std::string string = "string";
    const char* pointer = "pointer";
    char array[] = "array";
    EXPECT_EQ(Shown(string), "string");
    EXPECT_EQ(Shown(std::string_view(string).substr(1, 3)), "tri");
    EXPECT_EQ(Shown(pointer), "pointer");
    EXPECT_EQ(Shown(static_cast<char*>(array)), "array");
    EXPECT_EQ(Shown(array), "array");
    EXPECT_EQ(Shown("literal"), "literal");
    EXPECT_EQ(Shown(std::string()), "");
    EXPECT_EQ(Shown(std::filesystem::path("/tmp/x")), "/tmp/x");
}

TEST_F(LogTypes, NullTextsShowAsNull)
{
    EXPECT_EQ(Shown(static_cast<const char*>(nullptr)), "<NULL>");
    EXPECT_EQ(Shown(static_cast<const wchar_t*>(nullptr)), "<NULL>");
    EXPECT_EQ(Shown(static_cast<const char16_t*>(nullptr)), "<NULL>");
    EXPECT_EQ(Shown(std::string_view()), "");
}

TEST_F(LogTypes, ArrayWithoutTerminatorIsReadToItsEnd)
{
    const char full[3] = { 'a', 'b', 'c' };
    EXPECT_EQ(Shown(full), "abc");
    const char16_t wide[2] = { u'd', u'e' };
    EXPECT_EQ(Shown(wide), "de");
}

// In every locale, unlike "%S".
TEST_F(LogTypes, WideTextsShowAsUTF8)
{
    const std::string expected = "a\u00e9\u20ac\U0001F600";
    EXPECT_EQ(Shown(L"a\u00e9\u20ac\U0001F600"), expected);
    EXPECT_EQ(Shown(u"a\u00e9\u20ac\U0001F600"), expected);
    EXPECT_EQ(Shown(U"a\u00e9\u20ac\U0001F600"), expected);
    EXPECT_EQ(Shown(std::wstring(L"a\u00e9\u20ac\U0001F600")), expected);
    EXPECT_EQ(Shown(std::u16string(u"a\u00e9\u20ac\U0001F600")), expected);
    EXPECT_EQ(Shown(std::u32string_view(U"a\u00e9\u20ac\U0001F600")), expected);
    const unsigned short units[] = { 'u', 0x20AC, 0 };
    EXPECT_EQ(Shown(static_cast<const unsigned short*>(units)), "u\u20ac");
#ifdef __cpp_char8_t
    EXPECT_EQ(Shown(u8"a\u00e9"), "a\u00e9");
    EXPECT_EQ(Shown(std::u8string(u8"a\u00e9")), "a\u00e9");
#endif
}

TEST_F(LogTypes, WhatIsNoCharacterShowsAsTheReplacementCharacter)
{
    const char16_t unpaired[] = { u'a', 0xDC00, 0xD800, u'b', 0xD800, 0 };
    EXPECT_EQ(Shown(unpaired), "a\ufffd\ufffdb\ufffd");
    const char32_t beyond[] = { 0x110000, 0xD800, U'x', 0 };
    EXPECT_EQ(Shown(beyond), "\ufffd\ufffdx");
}

TEST_F(LogTypes, WideCharacters)
{
    EXPECT_EQ(Shown(L'\u20ac'), "\u20ac");
    EXPECT_EQ(Shown(u'\u00e9'), "\u00e9");
    EXPECT_EQ(Shown(U'\U0001F600'), "\U0001F600");
}

TEST_F(LogTypes, EnumerationsByNumberOrByName)
{
    EXPECT_EQ(Shown(kPlain), "-3");
    EXPECT_EQ(Shown(Byte::kByte), "200");
    EXPECT_EQ(Shown(Named::kRed), "red");
}

TEST_F(LogTypes, OwnTypesThroughOneOverload)
{
    EXPECT_EQ(Shown(Point { 1, -2 }), "1/-2");
    HSL_INFO("[{:>6}] {:.2f}", Point { 3, 4 }, Kelvin { 1.005 });
    EXPECT_EQ(One(), "[   3/4] 1.00");
}

TEST_F(LogTypes, DurationsWithTheirUnits)
{
    using namespace std::chrono;
    EXPECT_EQ(Shown(nanoseconds(1)), "1ns");
    EXPECT_EQ(Shown(microseconds(-2)), "-2us");
    EXPECT_EQ(Shown(milliseconds(3)), "3ms");
    EXPECT_EQ(Shown(seconds(4)), "4s");
    EXPECT_EQ(Shown(minutes(5)), "5min");
    EXPECT_EQ(Shown(hours(6)), "6h");
    EXPECT_EQ(Shown(duration<int, std::ratio<86400>>(7)), "7d");
    EXPECT_EQ(Shown(duration<int, std::ratio<1, 25>>(8)), "8[1/25]s");
    EXPECT_EQ(Shown(duration<int, std::ratio<7>>(9)), "9[7]s");
    EXPECT_EQ(Shown(duration<double, std::milli>(1.5)), "1.5ms");
}

TEST_F(LogTypes, PointsInTimeAsDateAndTimeOfDay)
{
    using namespace std::chrono;
    const system_clock::time_point point = system_clock::from_time_t(1700000000) + microseconds(250000);
    EXPECT_EQ(Shown(point), "2023-11-14 22:13:20.250000");
    EXPECT_EQ(Shown(time_point_cast<seconds>(point)), "2023-11-14 22:13:20");
    EXPECT_EQ(Shown(time_point<system_clock, duration<int, std::ratio<86400>>>()), "1970-01-01");
    EXPECT_EQ(Shown(system_clock::from_time_t(951782400)), "2000-02-29 00:00:00.000000");
    EXPECT_EQ(Shown(system_clock::from_time_t(-1)), "1969-12-31 23:59:59.000000");
    EXPECT_EQ(Shown(time_point<system_clock, seconds>(seconds(-62135596800LL))), "0001-01-01 00:00:00");
    EXPECT_EQ(Shown(steady_clock::time_point(nanoseconds(5))), "5ns");
}

// The C library's own calendar is the model.
TEST_F(LogTypes, EveryDayOfFourCenturiesIsDated)
{
    using namespace std::chrono;
    // Of the 68 years on each side of 1970 where time_t has 32 bits.
    constexpr long kFirst = sizeof(std::time_t) == 4 ? -24800 : -73000;
    constexpr long kEnd = sizeof(std::time_t) == 4 ? 24800 : 73097;
    for (long day = kFirst; day < kEnd; day += 13) {
        const std::time_t time = static_cast<std::time_t>(day) * 86400 + (day - kFirst) % 86400;
        std::tm split {};
        gmtime_r(&time, &split);
        char expected[40];
        std::strftime(expected, sizeof expected, "%Y-%m-%d %H:%M:%S", &split);
        ASSERT_EQ(Shown(time_point<system_clock, seconds>(seconds(time))), expected);
    }
}

TEST_F(LogTypes, OptionalValues)
{
    EXPECT_EQ(Shown(std::optional<int>(5)), "5");
    EXPECT_EQ(Shown(std::optional<int>()), "none");
    EXPECT_EQ(Shown(std::optional<std::string>("text")), "text");
    EXPECT_EQ(Shown(std::optional<double>()), "none");
    EXPECT_EQ(Shown(std::optional<Point>(Point { 1, 2 })), "1/2");
    EXPECT_EQ(Shown(std::optional<std::chrono::milliseconds>(std::chrono::milliseconds(3))), "3ms");
    EXPECT_EQ(Shown(std::optional<std::chrono::milliseconds>()), "none");
}

TEST_F(LogTypes, OptionalValuesAmongOthers)
{
    const std::optional<int> none;
    const std::optional<double> some(2.5);
    HSL_INFO("50% {} [{:>6}] [{:<6}] {:08.3f} {} \\{}", 1, none, none, some, some, none);
    EXPECT_EQ(One(), "50% 1 [  none] [none  ] 0002.500 2.5 \\none");
}

TEST_F(LogTypes, ErrorCodes)
{
    EXPECT_EQ(Shown(std::make_error_code(std::errc::timed_out)), "generic:" + std::to_string(ETIMEDOUT));
    EXPECT_EQ(Shown(std::error_code(2, std::system_category())), "system:2");
    EXPECT_EQ(Shown(std::make_error_condition(std::errc::invalid_argument)),
              "generic:" + std::to_string(EINVAL));
}

TEST_F(LogTypes, BitFieldsAndTemporaries)
{
    struct {
        unsigned int bits : 3;
    } fields = { 5 };
    HSL_INFO("{} {}", fields.bits, std::string("tem") + "porary");
    EXPECT_EQ(One(), "5 temporary");
}

TEST_F(LogTypes, NoTextTakesMoreThanAThousandBytesUnlessTold)
{
    EXPECT_EQ(Shown(std::string(1000, 'x')), std::string(1000, 'x'));
    EXPECT_EQ(Shown(std::string(1001, 'x')), std::string(1000, 'x'));
    EXPECT_EQ(Shown(std::string(70000, 'x').c_str()), std::string(1000, 'x'));
    EXPECT_EQ(Shown(std::u16string(2000, u'x')), std::string(1000, 'x'));
    HSL_INFO("{:.3000}", std::string(70000, 'x'));
    EXPECT_EQ(One(), std::string(3000, 'x'));
}

TEST_F(LogTypes, LongTextIsCutBetweenCharacters)
{
    EXPECT_EQ(Shown(std::string(999, 'x') + "\u20ac"), std::string(999, 'x'));
    std::u32string wide(998, U'x');
    wide.push_back(U'\u20ac');
    EXPECT_EQ(Shown(wide), std::string(998, 'x'));
    std::u16string sixteen(999, u'x');
    sixteen.append(u"\U0001F600");
    EXPECT_EQ(Shown(sixteen), std::string(999, 'x'));
}

TEST_F(LogTypes, ManyLongTextsShareTheRingsReserve)
{
    const std::string text(1000, 'x');
    HSL_INFO("{}{}{}{}{}{}", text, text.c_str(), text, std::u16string(1000, u'y'), text, 7);
    const std::string shown = One();
    EXPECT_EQ(shown.substr(0, 4000), std::string(3000, 'x') + std::string(1000, 'y'));
    EXPECT_EQ(shown.back(), '7');
    EXPECT_LT(shown.size(), 4096u);
    EXPECT_EQ(cb_get_num_elem_used(HSL::LogManager()->GetTLSContext()->mBuffer->mControl), 0u);
}

// As full as a ring may be before it drops.
TEST_F(LogTypes, LongestRecordIsWholeInAFullRing)
{
    HSL::LogManager()->mDefaultContextSize = 65536;
    HSL::CLogContext& context = *HSL::LogManager()->GetTLSContext();
    const std::string filling(61439 - 25, 'x');
    context.Log(3, "%s", filling.c_str());
    const std::string text(5000, 'y');
    HSL_INFO("{:.4096} {} {}", text, text, 8);
    pass.Manager().Collect();
    HSL_INFO("next {}", 1);
    pass.Manager().Collect();
    ASSERT_EQ(pass.lines.size(), 3u);
    const std::string shown = messageOf(pass.lines[1]);
    EXPECT_EQ(shown.substr(shown.size() - 3), "  8");
    EXPECT_EQ(messageOf(pass.lines[2]), "next 1");
}

TEST_F(LogTypes, BoundedTextsKeepTheirBound)
{
    HSL_INFO("{} {}", HSL::Bounded("abcdef", 3), HSL::Bounded(L"abcdef", 8));
    EXPECT_EQ(One(), "abc ab");
}

TEST_F(LogTypes, TextIsMeasuredUpToItsBoundOnly)
{
    // Behind the last byte the sanitizers take over.
    const std::vector<char> endless(1001, 'x');
    EXPECT_EQ(Shown(endless.data()), std::string(1000, 'x'));
    const std::vector<char32_t> wide(1000, U'x');
    EXPECT_EQ(Shown(wide.data()), std::string(1000, 'x'));
}
