#include "ReportFile.h"

#include <gtest/gtest.h>
#include <random>

using namespace BreakpadLinux;
using Pairs = std::map<std::string, std::string>;

namespace {

std::string reportOf(const Pairs& pairs)
{
    std::string text = kReportHeader;
    for (const auto& pair : pairs) {
        AppendPair(text, pair.first, pair.second);
    }
    return text + kReportEnd;
}

} // namespace

TEST(ReportFile, WhatIsWrittenIsRead)
{
    const Pairs pairs {
        { "key", "value" }, { "empty", "" }, { "line\nend", "0 0\n" }, { "z", "\xF0\x9F\x92\xA5" }
    };
    EXPECT_EQ(ParseReport(reportOf(pairs)), pairs);
}

TEST(ReportFile, HasThisForm)
{
    EXPECT_EQ(reportOf({ { "ab", "cde" } }), "fallcatch report 1\n2 3\nabcde\n0 0\n");
}

TEST(ReportFile, OfTwoPairsWithOneKeyTheLaterCounts)
{
    std::string text = kReportHeader;
    AppendPair(text, "key", "1");
    AppendPair(text, "key", "2");
    const auto pairs = ParseReport(text + kReportEnd);
    ASSERT_TRUE(pairs);
    EXPECT_EQ(pairs->at("key"), "2");
}

// A process may be killed while it writes.
TEST(ReportFile, NoPartOfAReportIsAReport)
{
    const std::string whole = reportOf({ { "key", "value" }, { "other", "value with 0 0\n in it" } });
    for (std::size_t length = 0; length < whole.size(); ++length) {
        EXPECT_FALSE(ParseReport(whole.substr(0, length))) << length;
    }
}

TEST(ReportFile, LengthsBeyondTheFileAreRefused)
{
    EXPECT_FALSE(ParseReport("fallcatch report 1\n99999999999999999999999 1\nx"));
    EXPECT_FALSE(ParseReport("fallcatch report 1\n1 18446744073709551615\nxy\n0 0\n"));
    EXPECT_FALSE(ParseReport("fallcatch report 1\n-1 1\nx"));
}

TEST(ReportFile, RandomBytesNeitherCrashNorCountAsReports)
{
    std::mt19937 random(20);
    const std::string whole = reportOf({ { "key", "value" }, { "other", "text" } });
    for (int round = 0; round < 20000; ++round) {
        std::string text = whole;
        text[random() % text.size()] = static_cast<char>(random());
        const auto pairs = ParseReport(text);
        if (pairs) {
            EXPECT_LE(pairs->size(), 2U);
        }
    }
}
