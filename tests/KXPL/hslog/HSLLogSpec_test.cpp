// Options between braces, each against what std::format shows, which the expectations quote.
#include "hslog/HSLLog.h"

#include "ManualPass.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>

namespace {

class LogSpec : public testing::Test {
protected:
    std::string One()
    {
        pass.Manager().Collect();
        const std::string shown = pass.lines.size() == 1 ? messageOf(pass.lines[0]) : "not one line";
        pass.lines.clear();
        return shown;
    }

    ManualPass pass;
};

} // namespace

// `...` is a literal and one value.
#define EXPECT_SHOWN(expected, ...)                                                                            \
    do {                                                                                                       \
        HSL_INFO(__VA_ARGS__);                                                                                 \
        EXPECT_EQ(One(), expected);                                                                            \
    } while (false)

TEST_F(LogSpec, WidthAndAlignmentOfNumbers)
{
    EXPECT_SHOWN("[    42]", "[{:6}]", 42);
    EXPECT_SHOWN("[    42]", "[{:>6}]", 42);
    EXPECT_SHOWN("[42    ]", "[{:<6}]", 42);
    EXPECT_SHOWN("[42    ]", "[{: <6}]", 42);
    EXPECT_SHOWN("[000042]", "[{:06}]", 42);
    EXPECT_SHOWN("[-00042]", "[{:06}]", -42);
    EXPECT_SHOWN("[42    ]", "[{:<06}]", 42);
    EXPECT_SHOWN("[    42]", "[{:>06}]", 42);
    EXPECT_SHOWN("[12345678]", "[{:6}]", 12345678);
    EXPECT_SHOWN("[  1.50]", "[{:6.2f}]", 1.5);
    EXPECT_SHOWN("[001.50]", "[{:06.2f}]", 1.5);
    EXPECT_SHOWN("[1.50  ]", "[{:<6.2f}]", 1.5);
}

TEST_F(LogSpec, WidthAndAlignmentOfTexts)
{
    EXPECT_SHOWN("[ab    ]", "[{:6}]", "ab");
    EXPECT_SHOWN("[ab    ]", "[{:<6}]", "ab");
    EXPECT_SHOWN("[    ab]", "[{:>6}]", "ab");
    EXPECT_SHOWN("[    ab]", "[{:>6s}]", "ab");
    EXPECT_SHOWN("[x    ]", "[{:5}]", 'x');
    EXPECT_SHOWN("[    x]", "[{:>5}]", 'x');
    EXPECT_SHOWN("[true ]", "[{:5}]", true);
}

TEST_F(LogSpec, PrecisionCutsATextBetweenCharacters)
{
    EXPECT_SHOWN("[abc]", "[{:.3}]", "abcdef");
    EXPECT_SHOWN("[a\u20AC\U0001F600]", "[{:.3}]", "a\u20AC\U0001F600b");
    EXPECT_SHOWN("[  abc]", "[{:>5.3}]", "abcdef");
    EXPECT_SHOWN("[]", "[{:.0}]", "abc");
    EXPECT_SHOWN("[\u00e9\u00e9]", "[{:.2}]", std::u16string(5, u'\u00e9'));
}

TEST_F(LogSpec, Signs)
{
    EXPECT_SHOWN("+42", "{:+}", 42);
    EXPECT_SHOWN("-42", "{:+}", -42);
    EXPECT_SHOWN(" 42", "{: }", 42);
    EXPECT_SHOWN("42", "{:-}", 42);
    EXPECT_SHOWN("+1.5", "{:+}", 1.5);
    EXPECT_SHOWN("+200", "{:+}", static_cast<unsigned char>(200));
    EXPECT_SHOWN("[ +42]", "[{:+4}]", 42);
    EXPECT_SHOWN("[+042]", "[{:+04}]", 42);
}

TEST_F(LogSpec, Hexadecimal)
{
    EXPECT_SHOWN("ff", "{:x}", 255);
    EXPECT_SHOWN("FF", "{:X}", 255u);
    EXPECT_SHOWN("0xff", "{:#x}", 255);
    EXPECT_SHOWN("0XFF", "{:#X}", 255);
    EXPECT_SHOWN("0x0", "{:#x}", 0);
    EXPECT_SHOWN("000000ff", "{:08x}", 255);
    EXPECT_SHOWN("0x0000ff", "{:#08x}", 255);
    EXPECT_SHOWN("0x000000", "{:#08x}", 0);
    EXPECT_SHOWN("[0xff    ]", "[{:<#8x}]", 255);
    EXPECT_SHOWN("[      ff]", "[{:8x}]", 255);
    EXPECT_SHOWN("ffffffffffffffff", "{:x}", UINT64_MAX);
    EXPECT_SHOWN("61", "{:x}", 'a');
    EXPECT_SHOWN("1", "{:x}", true);
}

TEST_F(LogSpec, Octal)
{
    EXPECT_SHOWN("17", "{:o}", 15);
    EXPECT_SHOWN("017", "{:#o}", 15);
    EXPECT_SHOWN("0", "{:#o}", 0);
    EXPECT_SHOWN("00017", "{:#05o}", 15);
}

// Not as std::format, which shows a minus sign.
TEST_F(LogSpec, NegativeNumberUnderXShowsTheBitsOfItsType)
{
    EXPECT_SHOWN("ff", "{:x}", static_cast<signed char>(-1));
    EXPECT_SHOWN("fffe", "{:x}", static_cast<short>(-2));
    EXPECT_SHOWN("fffffffd", "{:x}", -3);
    EXPECT_SHOWN("fffffffffffffffc", "{:x}", -4LL);
}

TEST_F(LogSpec, FloatingPoint)
{
    EXPECT_SHOWN("0.1", "{}", 0.1);
    EXPECT_SHOWN("0.1", "{}", 0.1f);
    EXPECT_SHOWN("1234567.89", "{}", 1234567.89);
    EXPECT_SHOWN("1.23457e+06", "{:g}", 1234567.89);
    EXPECT_SHOWN("1e+20", "{}", 1e20);
    EXPECT_SHOWN("3.14", "{:.3}", 3.14159);
    EXPECT_SHOWN("3.142", "{:.3f}", 3.14159);
    EXPECT_SHOWN("3.141590e+00", "{:e}", 3.14159);
    EXPECT_SHOWN("3.142E+00", "{:.3E}", 3.14159);
    EXPECT_SHOWN("1.50000", "{:#g}", 1.5);
    EXPECT_SHOWN("2.5", "{}", 2.5L);
}

TEST_F(LogSpec, CharactersAndNumbers)
{
    EXPECT_SHOWN("a", "{}", 'a');
    EXPECT_SHOWN("97", "{:d}", 'a');
    EXPECT_SHOWN("a", "{:c}", 97);
    EXPECT_SHOWN("true", "{:s}", true);
    EXPECT_SHOWN("0", "{:d}", false);
}

TEST_F(LogSpec, Pointers)
{
    EXPECT_SHOWN("0x0", "{}", nullptr);
    EXPECT_SHOWN("0x1f", "{:p}", reinterpret_cast<const void*>(0x1f));
    EXPECT_SHOWN("0x0000001f", "{:010}", reinterpret_cast<int*>(0x1f));
    EXPECT_SHOWN("[0x1f  ]", "[{:<6}]", reinterpret_cast<int*>(0x1f));
    EXPECT_SHOWN(sizeof(void*) == 8 ? "0xffffffffffffffff" : "0xffffffff", "{}",
                 reinterpret_cast<void*>(UINTPTR_MAX));
}

TEST_F(LogSpec, WidthOfADurationCountsItsUnit)
{
    using std::chrono::milliseconds;
    EXPECT_SHOWN("[   17ms]", "[{:>7}]", milliseconds(17));
    EXPECT_SHOWN("[00017ms]", "[{:07}]", milliseconds(17));
    EXPECT_SHOWN("[17ms]", "[{:2}]", milliseconds(17));
    EXPECT_SHOWN("1.25s", "{:.2f}", std::chrono::duration<double>(1.25));
}
