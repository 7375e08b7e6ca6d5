// What the macros of HSLLog.h show.
#include "hslog/HSLLog.h"

#include "ManualPass.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

namespace {

class Log : public testing::Test {
protected:
    Log()
    {
        for (unsigned char level = 0; level < HSL::kLevels; ++level) {
            pass.Manager().SetFilterValue(level, true);
        }
    }

    // The messages since the last call.
    std::vector<std::string> Shown()
    {
        pass.Manager().Collect();
        std::vector<std::string> shown;
        for (const std::string& line : pass.lines) {
            shown.push_back(messageOf(line));
        }
        pass.lines.clear();
        return shown;
    }

    std::string One()
    {
        const std::vector<std::string> shown = Shown();
        return shown.size() == 1 ? shown[0] : "(" + std::to_string(shown.size()) + " messages)";
    }

    ManualPass pass;
};

} // namespace

TEST_F(Log, ValuesTakeThePlacesOfBracesInTurn)
{
    HSL_INFO("{} files in {} of {}", 42, "src", 'x');
    EXPECT_EQ(One(), "42 files in src of x");
}

TEST_F(Log, ValuesAreNamedByNumber)
{
    HSL_INFO("{1} {0} {1:>5} {0:03}", 7, "two");
    EXPECT_EQ(One(), "two 7   two 007");
}

TEST_F(Log, TextWithoutValuesIsShownAsItIs)
{
    HSL_INFO("100% of 50%% \\% \\ {{}} }}{{");
    EXPECT_EQ(One(), "100% of 50%% \\% \\ {} }{");
    HSL_INFO("");
    EXPECT_EQ(One(), "");
}

TEST_F(Log, PercentSignAndBackslashBesideValuesMeanThemselves)
{
    HSL_INFO("100%{}%d 5% and 6%%", 7);
    EXPECT_EQ(One(), "100%7%d 5% and 6%%");
    HSL_INFO("C:\\{}\\{}\\", "a", "b");
    EXPECT_EQ(One(), "C:\\a\\b\\");
    HSL_INFO("\\\\%{}\\%", 1);
    EXPECT_EQ(One(), "\\\\%1\\%");
    HSL_INFO("%n%s{}", 1);
    EXPECT_EQ(One(), "%n%s1");
}

TEST_F(Log, EachLevelHasItsMacro)
{
    ManualPass structured;
    for (unsigned char level = 0; level < HSL::kLevels; ++level) {
        structured.Manager().SetFilterValue(level, true);
    }
    const auto callback = structured.Manager().GetStructuredOutputCallback();
    structured.Manager().SetStructuredOutputCallback(callback);
    HSL_ULTRA_VERBOSE("{}", 0);
    HSL_VERBOSE("{}", 1);
    HSL_CHATTY("{}", 2);
    HSL_INFO("{}", 3);
    HSL_WARNING("{}", 4);
    HSL_ERROR("{}", 5);
    HSL_CATASTROPHY("{}", 6);
    HSL_LOG(HSL::Level::kError, "{}", 5);
    HSL_LOG(5, "{}", 5);
    structured.Manager().Collect();
    ASSERT_EQ(structured.messages.size(), 9u);
    for (const ManualPass::Message& message : structured.messages) {
        ASSERT_EQ(message.categories.size(), 1u);
        EXPECT_EQ(message.text, std::to_string(message.categories[0]));
    }
}

TEST_F(Log, CategoryOfSeveralCodesPassesByAnyOfThem)
{
    HSL::CCat both(77);
    both.mCodes[1] = 3;
    both.mCount = 2;
    HSL_LOG(both, "{}", 1);
    EXPECT_EQ(One(), "1");
    HSL_LOG(HSL::CCat(77), "{}", 1);
    EXPECT_EQ(Shown().size(), 0u);
}

TEST_F(Log, SameRecordAsThatOfABareCall)
{
    const int number = -5;
    const char* text = "text";
    HSL_INFO("a {} b {} c {:.2f} d", number, text, 1.5);
    HSL::LogManager()->GetTLSContext()->Log(3, "a %d b %s c %.2f d", number, text, 1.5);
    CCircularBuffer& ring = *HSL::LogManager()->GetTLSContext()->mBuffer;
    std::vector<unsigned char> bytes(cb_get_num_elem_used(ring.mControl));
    int size = static_cast<int>(bytes.size());
    ring.Read(bytes.data(), size);
    ASSERT_EQ(bytes.size() % 2, 0u);
    const std::size_t half = bytes.size() / 2;
    // Apart from number and time.
    bytes[half + 1] = bytes[1];
    std::memcpy(&bytes[half + 5], &bytes[5], 8);
    EXPECT_EQ(std::memcmp(&bytes[0], &bytes[half], half), 0);
}

TEST_F(Log, NothingIsEvaluatedWhileTheCategoryIsOff)
{
    int evaluated = 0;
    const auto value = [&evaluated] { return ++evaluated; };
    HSL::LogManager()->SetFilterValue(3, false);
    HSL_INFO("{}", value());
    HSL_INFO_IF(value() != 0, "{}", 1);
    HSL::LogManager()->SetFilterValue(3, true);
    HSL::LogManager()->SetEnable(false);
    HSL_INFO("{}", value());
    HSL_LOG(HSL::CCat(3), "{}", value());
    HSL::LogManager()->SetEnable(true);
    EXPECT_EQ(evaluated, 0);
    HSL_INFO("{}", value());
    EXPECT_EQ(evaluated, 1);
    EXPECT_EQ(One(), "1");
}

TEST_F(Log, CallThatIsOffTakesNoNumber)
{
    const int before = HSL::LogManager()->mSequence;
    HSL::LogManager()->SetFilterValue(3, false);
    HSL_INFO("{}", 1);
    EXPECT_EQ(HSL::LogManager()->mSequence, before);
    HSL_WARNING("{}", 1);
    EXPECT_EQ(HSL::LogManager()->mSequence, before + 1);
}

TEST(LogWithoutManager, CallReturnsAtOnce)
{
    int evaluated = 0;
    HSL_INFO("{}", ++evaluated);
    HSL_LOG(HSL::CCat(3), "{}", ++evaluated);
    EXPECT_EQ(evaluated, 0);
    EXPECT_EQ(HSL::CLogManager::Instance(), nullptr);
}

TEST_F(Log, ConditionDecides)
{
    for (int i = 0; i < 4; ++i) {
        HSL_INFO_IF(i % 2 == 1, "{}", i);
    }
    EXPECT_EQ(Shown(), (std::vector<std::string> { "1", "3" }));
}

TEST_F(Log, FirstAndThenEveryNth)
{
    for (int i = 0; i < 7; ++i) {
        HSL_INFO_EVERY_N(3, "{}", i);
        HSL_LOG_EVERY_N(4, 1, "all {}", i);
    }
    EXPECT_EQ(Shown().size(), 3u + 7u);
    for (int i = 0; i < 2; ++i) {
        HSL_INFO_EVERY_N(0, "{}", i);
    }
    EXPECT_EQ(Shown(), (std::vector<std::string> { "0", "1" }));
}

TEST_F(Log, OnlyCallsThatPassAreCounted)
{
    for (int i = 0; i < 4; ++i) {
        HSL::LogManager()->SetFilterValue(3, i >= 2);
        HSL_INFO_EVERY_N(2, "every {}", i);
        HSL_INFO_ONCE("once {}", i);
    }
    EXPECT_EQ(Shown(), (std::vector<std::string> { "every 2", "once 2" }));
}

TEST_F(Log, AtMostOneInAPeriod)
{
    for (int i = 0; i < 100; ++i) {
        HSL_INFO_EVERY_MS(3600000, "{}", i);
    }
    EXPECT_EQ(One(), "0");
    for (int i = 0; i < 3; ++i) {
        HSL_INFO_EVERY_MS(0, "{}", i);
    }
    EXPECT_EQ(Shown().size(), 3u);
}

TEST_F(Log, EachPlaceHasItsOwnOnce)
{
    for (int i = 0; i < 3; ++i) {
        HSL_INFO_ONCE("a {}", i);
        HSL_INFO_ONCE("b {}", i);
    }
    EXPECT_EQ(Shown(), (std::vector<std::string> { "a 0", "b 0" }));
}

TEST_F(Log, MacroIsOneStatement)
{
    if (pass.lines.empty())
        HSL_INFO("{}", 1);
    else
        HSL_INFO("{}", 2);
    EXPECT_EQ(One(), "1");
}

TEST_F(Log, ValueMayLogItself)
{
    const auto outer = [] {
        HSL_INFO("inner {}", 1);
        return 2;
    };
    HSL_INFO("outer {}", outer());
    EXPECT_EQ(Shown(), (std::vector<std::string> { "inner 1", "outer 2" }));
}
