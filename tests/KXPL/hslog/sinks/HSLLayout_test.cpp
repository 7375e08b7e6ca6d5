// How lines look.
#include "hslog/sinks/HSLLayout.h"

#include "ManualPass.h"
#include "SinkTest.h"

using namespace HSL::Sinks;

namespace {

std::string byPattern(const char* pattern, const Line& line, bool hasColours = false)
{
    std::string text;
    MakePatternLayout(pattern, hasColours)->Append(text, line);
    return text;
}

std::string byJson(const Line& line, const JsonNames& names = JsonNames())
{
    std::string text;
    MakeJsonLayout(names)->Append(text, line);
    return text;
}

std::string json(std::string_view text)
{
    std::string to;
    AppendJson(to, text);
    return to;
}

} // namespace

TEST(PatternLayout, UsualPatternHasDateZoneLevelThreadAndCategory)
{
    setTimeZone("UTC-1");
    Line line = lineOf("message");
    line.mCategory = "net";
    EXPECT_EQ(byPattern(kUsualPattern, line),
              "2023-11-14 23:13:20.250000+01:00 Info          [Main] net: message\n");
}

TEST(PatternLayout, EveryFieldHasItsPlace)
{
    setTimeZone("UTC0");
    Line line = lineOf("message");
    line.mFile = "main.cpp";
    line.mLine = 12;
    line.mFunction = "run";
    line.mDepth = 2;
    EXPECT_EQ(byPattern("{number}|{source}|{function}|{category}|{indent}{message}|{level:6}|{unknown}{", line),
              "7|main.cpp:12|run|-||  |  message|Info  |{unknown}{\n");
    EXPECT_EQ(byPattern("{date}T{time}{zone}", line), "2023-11-14T22:13:20.250000+00:00\n");
}

TEST(PatternLayout, ZoneWestOfGreenwichAndOfHalfHours)
{
    setTimeZone("XXX3:30");
    EXPECT_EQ(byPattern("{time}{zone}", lineOf("")), "18:43:20.250000-03:30\n");
}

TEST(PatternLayout, WhatStaysTheSameForASecondIsMadeAnewForTheNext)
{
    setTimeZone("UTC0");
    const auto layout = MakePatternLayout("<{date} {time:17}{zone}> {message}");
    Line line = lineOf("first");
    std::string text;
    layout->Append(text, line);
    line.mMicroseconds = 7;
    layout->Append(text, line);
    line.mSeconds += 46 * 60 + 40;
    line.mMessage = "third";
    layout->Append(text, line);
    EXPECT_EQ(text,
              "<2023-11-14 22:13:20.250000  +00:00> first\n"
              "<2023-11-14 22:13:20.000007  +00:00> first\n"
              "<2023-11-14 23:00:00.000007  +00:00> third\n");
}

TEST(PatternLayout, DateAndZoneAreFilledToTheirWidth)
{
    setTimeZone("UTC0");
    EXPECT_EQ(byPattern("{date:12}|{zone:8}|{time:3}|", lineOf("")),
              "2023-11-14  |+00:00  |22:13:20.250000|\n");
}

TEST(PatternLayout, MessageStaysOneLine)
{
    EXPECT_EQ(byPattern("{message}", lineOf("a\nb\r\n")), "a\\nb\n");
}

TEST(PatternLayout, ColoursWhereTheyAreWanted)
{
    EXPECT_EQ(byPattern("{colour}{message}{plain}", lineOf("x", HSL::Level::kError), true),
              "\033[31mx\033[0m\n");
    EXPECT_EQ(byPattern("{colour}{message}{plain}", lineOf("x", HSL::Level::kError)), "x\n");
}

TEST(JsonLayout, OneObjectALine)
{
    setTimeZone("UTC-1");
    EXPECT_EQ(
        byJson(lineOf("say \"hi\"\n")),
        "{\"timestamp\":\"2023-11-14T22:13:20.250000Z\",\"level\":\"Info\",\"message\":\"say \\\"hi\\\"\\n\","
        "\"thread\":\"Main\",\"number\":7}\n");
}

TEST(JsonLayout, PlaceAndCategoryWhereThereAreAny)
{
    Line line = lineOf("x");
    line.mCategory = "net";
    line.mFile = "main.cpp";
    line.mLine = 12;
    line.mFunction = "run";
    const std::string text = byJson(line);
    EXPECT_NE(text.find("\"category\":\"net\""), std::string::npos);
    EXPECT_NE(text.find("\"file\":\"main.cpp\",\"line\":12,\"function\":\"run\"}"), std::string::npos);
}

TEST(JsonLayout, NamesAreTheHosts)
{
    JsonNames names;
    names.mTime = "";
    names.mLevel = "";
    names.mThread = "";
    names.mNumber = "seq";
    names.mMessage = "m\"";
    EXPECT_EQ(byJson(lineOf("x"), names), "{\"m\\\"\":\"x\",\"seq\":7}\n");
    EXPECT_NE(byJson(lineOf("x"), JsonNames::OpenTelemetry()).find("\"Body\":\"x\""), std::string::npos);
}

TEST(JsonLayout, EveryByteIsEscapedWhereItMustBe)
{
    EXPECT_EQ(json("\b\f\n\r\t\\\"/"), "\"\\b\\f\\n\\r\\t\\\\\\\"/\"");
    EXPECT_EQ(json(std::string_view("\0\x1f\x7f", 3)), "\"\\u0000\\u001f\\u007f\"");
    EXPECT_EQ(json("\u00e9\u20ac\U0001F600"), "\"\u00e9\u20ac\U0001F600\"");
}

TEST(JsonLayout, BytesThatAreNoUTF8BecomeTheReplacementCharacter)
{
    EXPECT_EQ(json("a\xff\xc3"), "\"a\\ufffd\\ufffd\"");
    EXPECT_EQ(json("\xed\x41\x80"), "\"\\ufffdA\\ufffd\"");
    EXPECT_EQ(json("\xed\xa0\x80"), "\"\\ufffd\\ufffd\\ufffd\"");
    EXPECT_EQ(json("\xe2\x82"), "\"\\ufffd\\ufffd\"");
}
