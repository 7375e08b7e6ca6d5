// The part of a line in front of the message, written by hand, against the C library's formatter.
#include "hslog/collect/HSLLineHeader.h"

#include "Interpose.h"
#include "RandomRounds.h"
#include "WithoutShortcuts.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstdlib>
#include <random>
#include <string>

namespace {

using HSL::ClockCache;
using HSL::LineHeader;

std::string textOf(const LineHeader& header)
{
    HSL::TextBuffer text;
    ClockCache clock;
    HSL::appendLineHeader(text, header, clock);
    return std::string(text.CStr(), text.Size());
}

void expectSameWithoutShortcuts(const LineHeader& header)
{
    const std::string quick = textOf(header);
    const WithoutShortcuts everyPiece;
    ASSERT_EQ(quick, textOf(header));
}

class LineHeaderZones : public testing::Test {
protected:
    LineHeaderZones() { setZone("UTC0"); }
    ~LineHeaderZones() override { setZone("UTC0"); }

    static void setZone(const char* rule)
    {
        setenv("TZ", rule, 1);
        tzset();
    }
};

} // namespace

TEST_F(LineHeaderZones, UsualOneIsWrittenWithoutTheFormatter)
{
    Interposed hooks;
    int formatted = 0;
    hooks.vsnprintfHook = [&formatted](char*, std::size_t, const char*, va_list) { return ++formatted; };
    EXPECT_EQ(textOf({ 17, 50587, 500000, 1.25, "TID 4711" }),
              "    17  14:03:07.500000  (01.250000) :  [TID 4711          ]\t");
    EXPECT_EQ(formatted, 0);
}

TEST_F(LineHeaderZones, SequenceOfEveryWidth)
{
    for (int sequence :
         { 0, 1, 9, 10, 99999, 100000, 999999, 1000000, INT_MAX, -1, -9999, -99999, -100000, INT_MIN }) {
        expectSameWithoutShortcuts({ sequence, 0, 0, 0.0, "Main" });
    }
}

TEST_F(LineHeaderZones, MicrosecondsOfAnyValue)
{
    for (unsigned int microseconds : { 0u, 1u, 99999u, 100000u, 999999u, 1000000u, 2147483648u, UINT_MAX }) {
        expectSameWithoutShortcuts({ 1, 0, microseconds, 0.0, "Main" });
    }
}

TEST_F(LineHeaderZones, DeltaOfAnyValue)
{
    for (double delta : { 0.0, 1e-6, 0.999999, 0.9999999, 1.0, 9.5, 99.999999, 100.0, 12345.678901,
                          4294967296.0, 1e18, -1e-7, -1e-6, -0.5, -1.0, -1.25, -99.5, -4294967296.0 }) {
        expectSameWithoutShortcuts({ 1, 0, 0, delta, "Main" });
    }
}

TEST_F(LineHeaderZones, NamesOfAnyLength)
{
    for (std::size_t length : { 0u, 1u, 7u, 8u, 15u, 16u, 17u, 18u, 19u, 33u, 127u, 128u, 65000u, 65407u,
                                65408u, 65495u, 65536u, 70000u }) {
        expectSameWithoutShortcuts({ 1, 0, 0, 0.0, std::string(length, 'n') });
    }
}

TEST_F(LineHeaderZones, NameEndsAtItsFirstZeroByte)
{
    EXPECT_EQ(textOf({ 1, 0, 0, 0.0, std::string("ab\0cd", 5) }),
              "     1  00:00:00.000000  (00.000000) :  [ab                ]\t");
    expectSameWithoutShortcuts({ 1, 0, 0, 0.0, std::string("a longer name\0 than that", 24) });
}

TEST_F(LineHeaderZones, TimeThatCannotBeBrokenDownShowsAsZeros)
{
    Interposed hooks;
    hooks.localtimeHook = [](const std::time_t*, std::tm*) { return static_cast<std::tm*>(nullptr); };
    EXPECT_EQ(textOf({ 1, 50587, 0, 0.0, "Main" }),
              "     1  00:00:00.000000  (00.000000) :  [Main              ]\t");
}

TEST_F(LineHeaderZones, FieldsThatAreNoTimeOfDayShowAsTheyAre)
{
    std::tm odd = {};
    Interposed hooks;
    hooks.localtimeHook = [&odd](const std::time_t*, std::tm*) { return &odd; };
    for (int hour : { -1, 100, 99 }) {
        odd.tm_hour = hour;
        odd.tm_sec = 60;
        expectSameWithoutShortcuts({ 1, 50587, 0, 0.0, "Main" });
    }
}

TEST_F(LineHeaderZones, RandomHeadersAreAsFormatted)
{
    std::mt19937 random(24);
    std::uniform_real_distribution<double> delta(-3.0, 120.0);
    for (long i = randomRounds(300000); i > 0; --i) {
        const int sequence = static_cast<int>(random()) >> random() % 32;
        const unsigned int seconds = static_cast<unsigned int>(random());
        const unsigned int any = static_cast<unsigned int>(random());
        const unsigned int microseconds = random() % 100 == 0 ? any : any % 1000000;
        const std::string name(random() % 30, static_cast<char>('a' + random() % 26));
        const double shown = random() % 4 == 0 ? delta(random) / 1e6 : delta(random);
        expectSameWithoutShortcuts({ sequence, seconds, microseconds, shown, name });
    }
}

TEST_F(LineHeaderZones, EachSecondIsAskedForOnce)
{
    int asked = 0;
    Interposed hooks;
    hooks.localtimeHook = [&asked](const std::time_t* time, std::tm* result) {
        ++asked;
        return __real_localtime_r(time, result);
    };
    ClockCache clock;
    for (int turn = 0; turn < 10; ++turn) {
        EXPECT_EQ(std::string(clock.Text(3599), 8), "00:59:59");
        EXPECT_EQ(std::string(clock.Text(3600), 8), "01:00:00");
        EXPECT_EQ(clock.TimeOfDay(3600).mHour, 1);
    }
    EXPECT_EQ(asked, 2);
}
