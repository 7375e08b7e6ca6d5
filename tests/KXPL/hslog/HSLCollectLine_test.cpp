// The line that the plain callback gets, field by field.
#include "hslog/HSL.h"

#include "Interpose.h"
#include "ManualPass.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstdio>
#include <thread>

namespace {

// Seconds of 14 November 2023, 19:03:07 UTC, which is 14:03:07 in the zone "EST5".
constexpr unsigned int kExampleSeconds = 1699988587;

std::vector<std::string> gLines;

void takeLine(const char* line)
{
    gLines.push_back(line);
}

HandMadeRecord readyRecord(int sequence, unsigned int seconds = 0, unsigned int microseconds = 0,
                           unsigned char depth = 0)
{
    return HandMadeRecord().Header(sequence, seconds, microseconds, depth).Inline("ready").Count(0);
}

// The line that a pass over one record makes.
std::string lineOf(ManualPass& pass, const HandMadeRecord& record, const std::string& name = "Main")
{
    record.PublishIn(pass.Context(name));
    pass.Manager().Collect();
    return pass.lines.empty() ? "" : pass.lines.back();
}

// For a process in which nothing was logged before.
bool firstTwoLinesAreAsDocumented()
{
    setTimeZone("EST5");
    Interposed hooks;
    std::atomic<long> microseconds { 250000 };
    hooks.gettimeofdayHook = [&microseconds](struct timeval* now, void*) {
        now->tv_sec = kExampleSeconds;
        now->tv_usec = microseconds.load();
        return 0;
    };
    HSL::CLogManager::Initialize();
    HSL::LogManager()->SetOutputCallback(takeLine);
    HSL::LogManager()->SetEnable(true);
    HSL::LogManager()->SetFilterValue(3, true);
    HSL::HSLog(HSL::CCat(3), "ready");
    microseconds.store(500000);
    std::thread other([] {
        HSL::LogManager()->GetTLSContext()->SetName("TID 4711");
        HSL::HSLog(HSL::CCat(3), "set");
    });
    other.join();
    HSL::CLogManager::Cleanup();
    for (const std::string& line : gLines) {
        std::fputs(line.c_str(), stderr);
    }
    return gLines
        == std::vector<std::string> {
               "     1  14:03:07.250000  (00.000000) :  [Main              ]\tready\n",
               "     2  14:03:07.500000  (00.250000) :  [TID 4711          ]\tset\n",
           };
}

} // namespace

TEST(CollectLine, FirstTwoLinesAfterLoad)
{
    // In a process of its own, because the time of the previous record belongs to the module.
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    EXPECT_EXIT(std::exit(firstTwoLinesAreAsDocumented() ? 0 : 1), testing::ExitedWithCode(0), "");
}

TEST(CollectLine, EveryFieldInItsPlace)
{
    ManualPass pass;
    EXPECT_EQ(lineOf(pass, readyRecord(2, 50587, 500000, 1), "TID 4711"),
              "     2  14:03:07.500000  (00.000000) :  [TID 4711          ]\t|  ready\n");
}

TEST(CollectLine, SequenceOfSixDigitsFillsItsColumns)
{
    ManualPass pass;
    EXPECT_EQ(lineOf(pass, readyRecord(999999)),
              "999999  00:00:00.000000  (00.000000) :  [Main              ]\tready\n");
}

TEST(CollectLine, LongerSequenceWidensTheLine)
{
    ManualPass pass;
    EXPECT_EQ(lineOf(pass, readyRecord(2147483647)),
              "2147483647  00:00:00.000000  (00.000000) :  [Main              ]\tready\n");
}

TEST(CollectLine, NegativeSequenceIsPrintedWithItsSign)
{
    ManualPass pass;
    EXPECT_EQ(lineOf(pass, readyRecord(-12)),
              "   -12  00:00:00.000000  (00.000000) :  [Main              ]\tready\n");
}

TEST(CollectLine, NameOfEighteenCharactersFillsTheBrackets)
{
    ManualPass pass;
    EXPECT_EQ(lineOf(pass, readyRecord(1), "123456789012345678"),
              "     1  00:00:00.000000  (00.000000) :  [123456789012345678]\tready\n");
}

TEST(CollectLine, LongerNameIsNotCut)
{
    ManualPass pass;
    EXPECT_EQ(lineOf(pass, readyRecord(1), "a context with a long name"),
              "     1  00:00:00.000000  (00.000000) :  [a context with a long name]\tready\n");
}

TEST(CollectLine, EmptyNameIsAllBlanks)
{
    ManualPass pass;
    EXPECT_EQ(lineOf(pass, readyRecord(1), ""),
              "     1  00:00:00.000000  (00.000000) :  [                  ]\tready\n");
}

TEST(CollectLine, NameIsNoFormat)
{
    ManualPass pass;
    EXPECT_EQ(lineOf(pass, readyRecord(1), "100%d"),
              "     1  00:00:00.000000  (00.000000) :  [100%d             ]\tready\n");
}

TEST(CollectLine, HeaderIsCutAt65535CharactersAndTheMessageFollows)
{
    ManualPass pass;
    const std::string start = "     1  00:00:00.000000  (00.000000) :  [";
    const std::string line = lineOf(pass, readyRecord(1, 0, 0, 1), std::string(70000, 'n'));
    EXPECT_EQ(line, start + std::string(65535 - start.size(), 'n') + "|  ready\n");
}

TEST(CollectLine, DepthZeroIndentsNothing)
{
    ManualPass pass;
    EXPECT_EQ(messageOf(lineOf(pass, readyRecord(1, 0, 0, 0))), "ready");
}

TEST(CollectLine, DepthTwoIndentsTwice)
{
    ManualPass pass;
    EXPECT_EQ(messageOf(lineOf(pass, readyRecord(1, 0, 0, 2))), "|  |  ready");
}

TEST(CollectLine, Depth255Indents255Times)
{
    ManualPass pass;
    std::string expected;
    for (int i = 0; i < 255; ++i) {
        expected += "|  ";
    }
    EXPECT_EQ(messageOf(lineOf(pass, readyRecord(1, 0, 0, 255))), expected + "ready");
}

TEST(CollectLine, ContextsDepthReachesTheLine)
{
    ManualPass pass;
    HSL::CLogContext& context = pass.Context("Main");
    context.mDepth = 3;
    context.Log(HSL::CCat(3), "deep");
    pass.Manager().Collect();
    ASSERT_EQ(pass.lines.size(), 1u);
    EXPECT_EQ(messageOf(pass.lines[0]), "|  |  |  deep");
}

TEST(CollectLine, TimeOfDayIsLocal)
{
    ManualPass pass;
    setTimeZone("XYZ-05:30"); // half past five hours ahead of UTC
    EXPECT_EQ(lineOf(pass, readyRecord(1, 86399, 7)),
              "     1  05:29:59.000007  (00.000000) :  [Main              ]\tready\n");
}

TEST(CollectLine, TimeOfDayFollowsDaylightSaving)
{
    ManualPass pass;
    setTimeZone("AAA0BBB,M3.5.0/1,M10.5.0/2");
    EXPECT_EQ(lineOf(pass, readyRecord(1, 1688212800)), // 1 July 2023, 12:00:00 UTC
              "     1  13:00:00.000000  (00.000000) :  [Main              ]\tready\n");
}

TEST(CollectLine, MicrosecondsArePrintedAsRecorded)
{
    ManualPass pass;
    EXPECT_EQ(lineOf(pass, readyRecord(1, 0, 1234567)),
              "     1  00:00:00.1234567  (00.000000) :  [Main              ]\tready\n");
}

TEST(CollectLine, EndsWithOneNewlineEvenWithoutAMessage)
{
    ManualPass pass;
    EXPECT_EQ(lineOf(pass, HandMadeRecord().Header(1).Inline("").Count(0)),
              "     1  00:00:00.000000  (00.000000) :  [Main              ]\t\n");
}

TEST(CollectLine, NewlineOfTheMessageIsKeptAndOneIsAdded)
{
    ManualPass pass;
    const std::string line = lineOf(pass, HandMadeRecord().Header(1).Inline("done\n").Count(0));
    EXPECT_EQ(line.substr(line.find('\t')), "\tdone\n\n");
}

TEST(CollectLine, DroppedMessagesRecordIsALineLikeAnyOther)
{
    ManualPass pass;
    HSL::CLogContext& context = pass.Context("Main", 65536);
    int logged = 0;
    while (!context.mDropping && logged < 65536) {
        context.Log(HSL::CCat(3), "fill");
        ++logged;
    }
    context.Log(HSL::CCat(3), "discarded");
    pass.Manager().Collect();
    context.Log(HSL::CCat(3), "again");
    pass.Manager().Collect();

    ASSERT_EQ(pass.lines.size(), static_cast<std::size_t>(logged) + 1);
    const std::string& dropped = pass.lines[pass.lines.size() - 2];
    EXPECT_EQ(messageOf(dropped), "*** HSLOG DROPPED MESSAGE(S) ***");
    EXPECT_EQ(numberOf(dropped), logged);
    EXPECT_EQ(messageOf(pass.lines.back()), "again");
    EXPECT_EQ(numberOf(pass.lines.back()), logged + 2);
}
