// What a crash log holds, held against what the next pass outputs of the same rings.
#include "hslog/HSLCrashLog.h"

#include "CrashLogFixture.h"
#include "HandMadeRecord.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <clocale>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

using HSL::CCat;
using HSL::CLogContext;
using HSL::CLogManager;

namespace {

class CrashLog : public CrashLogTest {
protected:
    void ExpectWhatTheNextPassOutputs(std::size_t lines)
    {
        const std::vector<std::string> shown = Lines();
        EXPECT_EQ(shown, NextPass());
        EXPECT_EQ(shown.size(), lines);
        EXPECT_FALSE(mText.mIsDamaged) << mText.mNotes;
    }
};

void logSomething(CLogContext& context, std::mt19937& random)
{
    static const std::string kLong(3000, 'l');
    context.mDepth = static_cast<int>(random() % 4);
    switch (random() % 7) {
    case 0:
        return context.Log(CCat(3), "nothing");
    case 1:
        return context.Log(CCat(3), "%d and %s", static_cast<int>(random()), "text");
    case 2:
        return context.Log(CCat(3), "%.3f %S", 1.5, L"wide \u00e9");
    case 3:
        return context.Log(CCat(3), short { 0 }, static_cast<int>(random() % 100));
    case 4:
        return context.Log(CCat(4), "hidden %d", 4);
    case 5:
        return context.Log(CCat(3), "%s", kLong.c_str());
    default:
        return context.Log(CCat(3), "too many", 1, 2ll, -3l, static_cast<const void*>(&context), u'x' + 0.5f);
    }
}

} // namespace

TEST_F(CrashLog, HoldsWhatTheNextPassWouldOutput)
{
    CLogContext& one = mPass.Context("one");
    CLogContext& two = mPass.Context("a name that is longer than its column");
    one.Log(CCat(3), "x=%d y=%s", 5, "ab");
    two.Log(CCat(3), "count %d", 1, 2);
    one.Log(CCat(3), "50%% done");
    ExpectWhatTheNextPassOutputs(3);
    EXPECT_EQ(mText.mNotes, "-- 3 pending; 0 more that the filter hides\n");
}

// Rings that wrap, passes in between and every kind of value.
TEST_F(CrashLog, HoldsWhatAnyNextPassWouldOutput)
{
    ASSERT_NE(std::setlocale(LC_CTYPE, "C.UTF-8"), nullptr);
    std::mt19937 random(1);
    mPass.Manager().AddFormatString("registered %d");
    std::vector<CLogContext*> contexts;
    for (int i = 0; i < 5; ++i) {
        contexts.push_back(&mPass.Context("context " + std::to_string(i), 20000));
    }
    std::size_t compared = 0;
    for (int round = 0; round < 300; ++round) {
        for (std::size_t messages = random() % 60; messages > 0; --messages) {
            logSomething(*contexts[random() % contexts.size()], random);
        }
        const std::vector<std::string> shown = Lines();
        ASSERT_EQ(shown, NextPass()) << "round " << round;
        ASSERT_FALSE(mText.mIsDamaged) << mText.mNotes;
        compared += shown.size();
    }
    EXPECT_GT(compared, 5000u);
}

TEST_F(CrashLog, DroppedMessagesAreTold)
{
    CLogContext& context = mPass.Context("full", 20000);
    for (int i = 0; i < 1000; ++i) {
        context.Log(CCat(3), "message %d", i);
    }
    const std::vector<std::string> shown = Lines();
    EXPECT_EQ(shown, NextPass());
    EXPECT_EQ(messageOf(shown.back()), "*** HSLOG DROPPED MESSAGE(S) ***");
}

TEST_F(CrashLog, HiddenMessagesAreCountedAndShownOnRequest)
{
    CLogContext& context = mPass.Context("context");
    context.Log(CCat(3), "shown");
    mPass.Manager().SetFilterValue(5, true);
    context.Log(CCat(5), "hidden later");
    mPass.Manager().SetFilterValue(5, false);
    EXPECT_EQ(Lines().size(), 1u);
    EXPECT_EQ(mText.mNotes, "-- 1 pending; 1 more that the filter hides\n");
    mOptions.mWithHidden = true;
    const std::vector<std::string> all = Lines();
    ASSERT_EQ(all.size(), 2u);
    EXPECT_EQ(messageOf(all[1]), "hidden later");
}

TEST_F(CrashLog, RegisteredFormatsArriveWithTheirIds)
{
    CLogContext& context = mPass.Context("context");
    context.Log(CCat(3), static_cast<short>(mPass.Manager().AddFormatString("first %d")), 1);
    context.Log(CCat(3), static_cast<short>(mPass.Manager().AddFormatString(L"wide %d")), 2);
    context.Log(CCat(3), static_cast<short>(mPass.Manager().AddFormatString("third %s")), "text");
    context.Log(CCat(3), short { -1 }, 4);
    context.Log(CCat(3), short { 7 }, 5);
    ExpectWhatTheNextPassOutputs(5);
}

TEST_F(CrashLog, NullWideTextSpoilsNothing)
{
    CLogContext& context = mPass.Context("context");
    context.Log(CCat(3), "before");
    context.Log(CCat(3), "%S is null, %d", static_cast<const wchar_t*>(nullptr), 7);
    context.Log(CCat(3), "after");
    EXPECT_EQ(Messages(), (std::vector<std::string> { "before", "<NULL> is null, 7", "after" }));
    EXPECT_FALSE(mText.mIsDamaged);
}

TEST_F(CrashLog, FormatsThatNeverReturnOrDoNotSuitAreShownAsTheyAre)
{
    CLogContext& context = mPass.Context("context");
    context.Log(CCat(3), "100%% of %s", "all");
    context.Log(CCat(3), "%s", 7);
    context.Log(CCat(3), "%n", &context);
    context.Log(CCat(3), "last");
    const std::vector<std::string> messages = Messages();
    ASSERT_EQ(messages.size(), 4u);
    EXPECT_EQ(messages[0], "<NEVER RETURNS> 100%% of %s (\"all\")");
    EXPECT_EQ(messages[1], "<%s with int32 7>");
    EXPECT_EQ(messages[2].compare(0, 17, "<%n with pointer "), 0) << messages[2];
    EXPECT_EQ(messages[3], "last");
}

TEST_F(CrashLog, ARecordThatIsBeingWrittenIsLeftOut)
{
    CLogContext& context = mPass.Context("context");
    context.Log(CCat(3), "whole");
    HandMadeRecord().Header(2, 5).Inline("half %d").Count(1).PushTo(*context.mBuffer);
    EXPECT_EQ(Messages(), std::vector<std::string> { "whole" });
    EXPECT_FALSE(mText.mIsDamaged);
}

TEST_F(CrashLog, KeptLinesArriveOnceWithThoseThatArePending)
{
    ASSERT_TRUE(HSL::KeepLines());
    CLogContext& context = mPass.Context("context");
    for (int i = 0; i < 5; ++i) {
        context.Log(CCat(3), "message %d", i);
        if (i == 2) {
            NextPass();
        }
    }
    const std::vector<std::string> shown = Lines();
    NextPass();
    EXPECT_EQ(shown, mPass.lines);
    EXPECT_EQ(mText.mNotes, "-- 3 output and 2 pending; 0 more that the filter hides\n");
}

TEST_F(CrashLog, KeptLinesAreThoseOfTheStructuredCallbackToo)
{
    ASSERT_TRUE(HSL::KeepLines());
    CLogContext& context = mPass.Context("context");
    context.mDepth = 2;
    context.Log(CCat(3), "pending %s", "text");
    const std::vector<std::string> pending = Lines();
    const auto before = mPass.Manager().GetStructuredOutputCallback();
    mPass.Manager().SetStructuredOutputCallback(before);
    mPass.Manager().Collect();
    ASSERT_EQ(mPass.messages.size(), 1u);
    EXPECT_EQ(Lines(), pending);
    EXPECT_EQ(mText.mNotes, "-- 1 output and 0 pending; 0 more that the filter hides\n");
}

TEST_F(CrashLog, TheNewestLinesAreKeptWhenTheMemoryIsFull)
{
    ASSERT_TRUE(HSL::KeepLines(4096));
    CLogContext& context = mPass.Context("context");
    for (int i = 0; i < 2000; ++i) {
        context.Log(CCat(3), "message %d of some length", i * i);
    }
    const std::vector<std::string> all = NextPass();
    const std::vector<std::string> shown = Lines();
    ASSERT_GT(shown.size(), 20u);
    ASSERT_LT(shown.size(), all.size());
    EXPECT_EQ(shown,
              std::vector<std::string>(all.end() - static_cast<std::ptrdiff_t>(shown.size()), all.end()));
    EXPECT_FALSE(mText.mIsDamaged);
}

TEST_F(CrashLog, ALineLongerThanTheMemoryIsCut)
{
    ASSERT_TRUE(HSL::KeepLines(4096));
    CLogContext& context = mPass.Context("context");
    context.Log(CCat(3), "before");
    context.Log(CCat(3), "%s", std::string(10000, 'x').c_str());
    context.Log(CCat(3), "after");
    NextPass();
    const std::vector<std::string> messages = Messages();
    EXPECT_EQ(messages.back(), "after");
    ASSERT_GE(messages.size(), 2u);
    EXPECT_EQ(messages[messages.size() - 2], std::string(messages[messages.size() - 2].size(), 'x'));
}

TEST_F(CrashLog, LocalTimeIsThatOfTheProcess)
{
    setTimeZone("FC-05:30");
    mPass.Replace();
    CLogContext& context = mPass.Context("context");
    context.Log(CCat(3), "message");
    const std::vector<std::string> here = Lines();
    setTimeZone("UTC0");
    const std::vector<std::string> elsewhere = Lines();
    EXPECT_EQ(here, elsewhere);
    setTimeZone("FC-05:30");
    EXPECT_EQ(here, NextPass());
}

TEST_F(CrashLog, ContextsThatWentAreTold)
{
    {
        CLogContext gone("gone", 20000, CLogContext::MallocFunc, CLogContext::FreeFunc);
        gone.Log(CCat(3), "lost");
    }
    mPass.Context("still here").Log(CCat(3), "message");
    EXPECT_EQ(Messages(), std::vector<std::string> { "message" });
    EXPECT_NE(mText.mNotes.find("1 messages went with threads that ended"), std::string::npos) << mText.mNotes;
}

TEST_F(CrashLog, ARenamedContextHasItsNewName)
{
    CLogContext& context = mPass.Context("before");
    context.SetName("a new and much longer name than it had before, of a thread that does many things");
    context.Log(CCat(3), "message");
    ExpectWhatTheNextPassOutputs(1);
}

TEST_F(CrashLog, SlotsOfContextsThatWentAreUsedAgain)
{
    for (int i = 0; i < 10000; ++i) {
        CLogContext context("brief", 8192, CLogContext::MallocFunc, CLogContext::FreeFunc);
        context.SetName(std::string(static_cast<std::size_t>(i % 300), 'n').c_str());
    }
    mPass.Context("last").Log(CCat(3), "message");
    ExpectWhatTheNextPassOutputs(1);
}

TEST_F(CrashLog, JsonHasAnObjectForEachMessage)
{
    mOptions.mAsJson = true;
    CLogContext& context = mPass.Context("a \"name\"");
    context.mDepth = 1;
    HandMadeRecord()
        .Header(7, 1700000000, 250000, 1, { 3, 20 })
        .Inline("tab\tand \xFF %d")
        .Count(1)
        .Int32(5)
        .PublishIn(context);
    ASSERT_EQ(Lines().size(), 1u);
    EXPECT_EQ(Lines()[0],
              "{\"number\":7,\"time\":1700000000.250000,\"thread\":\"a \\\"name\\\"\",\"depth\":1,"
              "\"categories\":[{\"code\":3,\"level\":\"Info\"},{\"code\":20}],\"state\":\"pending\","
              "\"text\":\"tab\\u0009and \xEF\xBF\xBD 5\"}\n");
}

TEST_F(CrashLog, OnlyTheNewestLinesOnRequest)
{
    CLogContext& context = mPass.Context("context");
    for (int i = 0; i < 1000; ++i) {
        context.Log(CCat(3), "message %d", i);
    }
    const std::vector<std::string> all = Lines();
    mOptions.mNewest = 5000;
    std::vector<std::string> newest = Lines();
    EXPECT_EQ(newest[0], "-- only the newest 5000 bytes of the log\n");
    newest.erase(newest.begin());
    std::size_t bytes = 0;
    for (const std::string& line : newest) {
        bytes += line.size();
    }
    EXPECT_LE(bytes, 5000u);
    EXPECT_GT(bytes, 4900u);
    EXPECT_EQ(newest,
              std::vector<std::string>(all.end() - static_cast<std::ptrdiff_t>(newest.size()), all.end()));
}

TEST(CrashLogWithoutManager, SaysSo)
{
    const CrashLogFile file;
    EXPECT_EQ(HSL::WriteCrashLog(file.Number()), 0);
    const HSL::CrashLog::CrashLogText text = HSL::CrashLog::textOf(file.Bytes(), {});
    EXPECT_TRUE(text.mIsLog);
    EXPECT_EQ(text.mLines, "");
    EXPECT_NE(text.mNotes.find("the process had no log"), std::string::npos) << text.mNotes;
}
