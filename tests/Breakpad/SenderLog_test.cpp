// What the sender makes of a log file.
#include "SenderLog.h"

#include <gtest/gtest.h>

#include <string>

using namespace BreakpadLinux;

namespace {

// A file of a process without a log, from a machine of this kind.
std::string emptyLog()
{
    std::string file("HSLCrash\4\3\2\1\1\0\0\0", 16);
    file += std::string("\10\10\4\0", 4) + std::string(12, '\0');
    return file + std::string("DONE\4\0\0\0\0\0\0\0", 12);
}

} // namespace

TEST(SenderLog, WhatIsNoCrashLogIsSaid)
{
    EXPECT_EQ(TextOfLog("", 1024), "-- this is no crash log\n");
    EXPECT_EQ(TextOfLog("\xFF something else", 1024), "-- this is no crash log\n");
}

TEST(SenderLog, AProcessWithoutALogSaysSo)
{
    EXPECT_NE(TextOfLog(emptyLog(), 1024).find("the process had no log"), std::string::npos);
}

TEST(SenderLog, TheReasonsOfTheCrashedProcessStandAtTheEnd)
{
    const std::string why = "-- the log could not be written: its writer crashed\n";
    EXPECT_EQ(TextOfLog(why, 1024), why);
    const std::string text = TextOfLog(emptyLog().substr(0, 36) + why, 1024);
    EXPECT_EQ(text.substr(text.size() - why.size()), why) << text;
    EXPECT_NE(text.find("the file was cut short"), std::string::npos) << text;
}

TEST(SenderLog, TheLimitIsANumberOfBytesWithinBounds)
{
    EXPECT_EQ(LogBytesFrom(""), 262144u);
    EXPECT_EQ(LogBytesFrom("many"), 262144u);
    EXPECT_EQ(LogBytesFrom("-5"), 262144u);
    EXPECT_EQ(LogBytesFrom("10 KB"), 262144u);
    EXPECT_EQ(LogBytesFrom("5000"), 5000u);
    EXPECT_EQ(LogBytesFrom("1"), 1024u);
    EXPECT_EQ(LogBytesFrom("99999999999999999999"), 64u << 20);
}
