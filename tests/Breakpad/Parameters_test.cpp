#include "Parameters.h"

#include "Keys.h"

#include <gtest/gtest.h>

using BreakpadLinux::CutAtCharacter;
using BreakpadLinux::Parameters;

namespace {

std::string valueOf(const Parameters& parameters, const std::string& key)
{
    for (const auto& pair : parameters.Pairs()) {
        if (pair.first == key) {
            return pair.second;
        }
    }
    return "(none)";
}

} // namespace

TEST(Parameters, ALaterValueReplacesAnEarlierOne)
{
    Parameters parameters;
    parameters.Set("a", "1");
    parameters.Set("b", "2");
    parameters.Set("a", "3");
    ASSERT_EQ(parameters.Pairs().size(), 2U);
    EXPECT_EQ(valueOf(parameters, "a"), "3");
}

TEST(Parameters, ARemovedKeyIsGoneAndLeavesRoom)
{
    Parameters parameters;
    for (int i = 0; i < 64; ++i) {
        parameters.Set("key" + std::to_string(i), "v");
    }
    parameters.Remove("key7");
    EXPECT_EQ(valueOf(parameters, "key7"), "(none)");
    parameters.Set("new", "value");
    EXPECT_EQ(valueOf(parameters, "new"), "value");
}

TEST(Parameters, RemovingAnUnknownKeyChangesNothing)
{
    Parameters parameters;
    parameters.Set("a", "1");
    parameters.Remove("b");
    EXPECT_EQ(parameters.Pairs().size(), 1U);
}

TEST(Parameters, The65thPairIsDropped)
{
    Parameters parameters;
    for (int i = 0; i < 65; ++i) {
        parameters.Set("key" + std::to_string(i), "v");
    }
    EXPECT_EQ(parameters.Pairs().size(), 64U);
    EXPECT_EQ(valueOf(parameters, "key63"), "v");
    EXPECT_EQ(valueOf(parameters, "key64"), "(none)");
}

TEST(Parameters, AFullListStillTakesNewValuesOfItsKeys)
{
    Parameters parameters;
    for (int i = 0; i < 64; ++i) {
        parameters.Set("key" + std::to_string(i), "v");
    }
    parameters.Set("key5", "new");
    EXPECT_EQ(valueOf(parameters, "key5"), "new");
}

TEST(Parameters, AValueOf255BytesStaysWhole)
{
    Parameters parameters;
    parameters.Set("key", std::string(255, 'x'));
    EXPECT_EQ(valueOf(parameters, "key").size(), 255U);
}

TEST(Parameters, AValueOf256BytesLosesItsLast)
{
    Parameters parameters;
    parameters.Set("key", std::string(255, 'x') + "y");
    EXPECT_EQ(valueOf(parameters, "key"), std::string(255, 'x'));
}

TEST(Parameters, ALongKeyIsCutAndFoundByItsLongName)
{
    Parameters parameters;
    const std::string key(300, 'k');
    parameters.Set(key, "1");
    EXPECT_EQ(valueOf(parameters, std::string(255, 'k')), "1");
    parameters.Remove(key);
    EXPECT_TRUE(parameters.Pairs().empty());
}

TEST(Parameters, AnEmptyKeyIsDropped)
{
    Parameters parameters;
    parameters.Set("", "value");
    EXPECT_TRUE(parameters.Pairs().empty());
}

TEST(Parameters, AUrlIsNeverCut)
{
    Parameters parameters;
    const std::string url = "http://host/" + std::string(400, 'p');
    parameters.Set(BreakpadLinux::kUrl, url);
    EXPECT_EQ(valueOf(parameters, BreakpadLinux::kUrl), url);
}

TEST(Parameters, PlacesAreNeverCut)
{
    const std::string path = "/" + std::string(400, 'p');
    for (const char* key : { BreakpadLinux::kMinidumpLocation, BreakpadLinux::kReporterExeLocation }) {
        Parameters parameters;
        parameters.Set(key, path);
        EXPECT_EQ(valueOf(parameters, key), path);
    }
}

// Every length of character, at every place over the limit.
TEST(CutAtCharacter, NeverSplitsACharacter)
{
    for (const std::string character : { "x", "\xC3\xA9", "\xE2\x82\xAC", "\xF0\x9F\x92\xA5" }) {
        for (std::size_t before = 250; before <= 256; ++before) {
            const std::string text = std::string(before, 'a') + character + "z";
            std::string expected = std::string(before, 'a');
            if (before > 255) {
                expected.resize(255);
            } else if (before + character.size() <= 255) {
                expected += character;
                if (expected.size() < 255) {
                    expected += 'z';
                }
            }
            EXPECT_EQ(CutAtCharacter(text, 255), expected) << before << " " << character;
        }
    }
}

TEST(CutAtCharacter, LeavesShortTextAlone)
{
    EXPECT_EQ(CutAtCharacter("\xE2\x82\xAC", 3), "\xE2\x82\xAC");
    EXPECT_EQ(CutAtCharacter("", 0), "");
    EXPECT_EQ(CutAtCharacter("\xE2\x82\xAC", 2), "");
}
