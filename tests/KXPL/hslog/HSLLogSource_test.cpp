// The macros of HSLLog.h with the place of the call, and with low levels left out.
#define HSL_LOG_SOURCE
#define HSL_LEAST_LEVEL 3
#include "hslog/HSLLog.h"

#include "ManualPass.h"

#include <gtest/gtest.h>

#include <string>

namespace {

std::string place(int line, const char* function)
{
    return "[HSLLogSource_test.cpp:" + std::to_string(line) + " " + function + "] ";
}

void logHere(int value)
{
    HSL_INFO("{}% {{}}", value);
}
constexpr int kLineOfLogHere = __LINE__ - 2;

template <typename T> void logAnything(const T& value)
{
    HSL_LOG(3, "any {}", value);
}
constexpr int kLineOfLogAnything = __LINE__ - 2;

} // namespace

TEST(LogSource, TextBeginsWithFileLineAndFunction)
{
    ManualPass pass;
    logHere(5);
    logAnything("x");
    HSL_INFO("no values: 100%");
    const int line = __LINE__ - 1;
    pass.Manager().Collect();
    ASSERT_EQ(pass.lines.size(), 3u);
    EXPECT_EQ(messageOf(pass.lines[0]), place(kLineOfLogHere, "logHere") + "5% {}");
    EXPECT_EQ(messageOf(pass.lines[1]), place(kLineOfLogAnything, "logAnything") + "any x");
    EXPECT_EQ(messageOf(pass.lines[2]), place(line, "TestBody") + "no values: 100%");
}

TEST(LogSource, CallsBelowTheLeastLevelAreNotThere)
{
    ManualPass pass;
    int evaluated = 0;
    for (unsigned char level = 0; level < HSL::kLevels; ++level) {
        pass.Manager().SetFilterValue(level, true);
    }
    HSL_CHATTY("{}", ++evaluated);
    HSL_ULTRA_VERBOSE_ONCE("{}", ++evaluated);
    HSL_VERBOSE_EVERY_N(2, "{}", ++evaluated);
    HSL_INFO("{}", ++evaluated);
    pass.Manager().Collect();
    EXPECT_EQ(pass.lines.size(), 1u);
    EXPECT_EQ(evaluated, 1);
}
