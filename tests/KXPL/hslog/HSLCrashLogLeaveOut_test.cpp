// Messages that must not be shown of a log.
#include "hslog/crash/LeaveOut.h"

#include "CrashLogFixture.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

using HSL::CCat;
using HSL::CLogContext;
using HSL::CrashLog::LeaveOut;

TEST(LeaveOut, OfNothingIsEmpty)
{
    EXPECT_TRUE(LeaveOut().IsEmpty());
    EXPECT_TRUE(LeaveOut("").IsEmpty());
    EXPECT_TRUE(LeaveOut(";;").IsEmpty());
    EXPECT_FALSE(LeaveOut("").IsIn("anything"));
}

TEST(LeaveOut, WordsAreFoundAnywhereInAnyCase)
{
    const LeaveOut leaveOut("password;;Token=; a b ");
    EXPECT_TRUE(leaveOut.IsIn("the PassWord"));
    EXPECT_TRUE(leaveOut.IsIn("token=7"));
    EXPECT_TRUE(leaveOut.IsIn("x a b y"));
    EXPECT_FALSE(leaveOut.IsIn("xa b"));
    EXPECT_FALSE(leaveOut.IsIn("token 7, passwor"));
    EXPECT_FALSE(leaveOut.IsIn(""));
}

TEST(LeaveOut, OfAByteThatIsNoLetterOnlyTheSameOneIsFound)
{
    EXPECT_TRUE(LeaveOut("\xC3\xA4").IsIn("\xC3\xA4"));
    EXPECT_FALSE(LeaveOut("\xC3\xA4").IsIn("\xC3\x84"));
    EXPECT_FALSE(LeaveOut("[").IsIn("{"));
    EXPECT_TRUE(LeaveOut("a").IsIn(std::string("\0A", 2)));
}

TEST(LeaveOut, CategoriesAreOneOrARange)
{
    const LeaveOut leaveOut("#30;#40-42;#255");
    for (const int code : { 30, 40, 41, 42, 255 }) {
        EXPECT_TRUE(leaveOut.Holds(std::string(1, static_cast<char>(code)))) << code;
    }
    for (const int code : { 0, 29, 31, 39, 43, 254 }) {
        EXPECT_FALSE(leaveOut.Holds(std::string(1, static_cast<char>(code)))) << code;
    }
    EXPECT_TRUE(leaveOut.Holds("\x03\x1E"));
    EXPECT_FALSE(leaveOut.Holds(""));
    EXPECT_FALSE(leaveOut.IsIn("#30"));
}

// Rather too much is left out than that a mistake in the list lets something through unnoticed.
TEST(LeaveOut, WhatIsNoCategoryIsAWord)
{
    for (const char* entry : { "#256", "#", "#x", "#30x", "#30-", "#30-256", "#1000", "#30-40-50" }) {
        EXPECT_FALSE(LeaveOut(entry).Holds("\x1E")) << entry;
        EXPECT_TRUE(LeaveOut(entry).IsIn(entry)) << entry;
    }
    EXPECT_FALSE(LeaveOut("#40-30").Holds("\x1E"));
}

namespace {

class CrashLogLeaveOut : public CrashLogTest { };

} // namespace

TEST_F(CrashLogLeaveOut, NumberAndTimeOfALineRemain)
{
    ASSERT_TRUE(HSL::KeepLines());
    CLogContext& context = mPass.Context("context");
    CLogContext& secret = mPass.Context("of Secret Agents");
    mPass.Manager().SetFilterValue(30, true);
    context.mDepth = 2;
    context.Log(CCat(3), "user %s", "and his SECRET");
    context.Log(CCat(30), "category");
    context.Log(CCat(3), "shown");
    secret.Log(CCat(3), "message");
    const std::vector<std::string> whole = Lines();
    mOptions.mLeaveOut = LeaveOut("#30;secret");
    for (int i = 0; i < 2; ++i) { // pending, then output
        const std::vector<std::string> lines = Lines();
        ASSERT_EQ(lines.size(), 4u);
        for (const std::size_t at : { 0u, 1u, 3u }) {
            const std::size_t header = whole[at].find(":  [") + 4;
            EXPECT_EQ(lines[at], whole[at].substr(0, header) + "                  ]\t<LEFT OUT>\n");
        }
        EXPECT_EQ(lines[2], whole[2]);
        EXPECT_NE(mText.mNotes.find("-- 3 messages are left out\n"), std::string::npos) << mText.mNotes;
        EXPECT_FALSE(mText.mIsDamaged);
        NextPass();
    }
}

TEST_F(CrashLogLeaveOut, JsonShowsNothingOfIt)
{
    CLogContext& context = mPass.Context("context");
    context.mDepth = 2;
    context.Log(CCat(3), "%S", L"secret");
    mOptions.mAsJson = true;
    mOptions.mLeaveOut = LeaveOut("secret");
    const std::string line = Lines().at(0);
    EXPECT_NE(line.find("\"thread\":\"\",\"depth\":0,\"categories\":[],"), std::string::npos) << line;
    EXPECT_NE(line.find("\"text\":\"<LEFT OUT>\""), std::string::npos) << line;
}

TEST_F(CrashLogLeaveOut, NamesInNotesAreLeftOutToo)
{
    CLogContext& context = mPass.Context("the secret thread");
    context.Log(CCat(3), "message");
    context.mBuffer->mControl->end_offset += 5;
    mOptions.mLeaveOut = LeaveOut("secret");
    Lines();
    EXPECT_NE(mText.mNotes.find("thread \"<LEFT OUT>\": its ring was damaged"), std::string::npos)
        << mText.mNotes;
    context.mBuffer->mControl->end_offset -= 5;
}
