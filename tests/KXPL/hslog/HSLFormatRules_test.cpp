// The rules by which formats are checked, and that they are those of the renderer.
#include "hslog/detail/HSLFormatRules.h"

#include "RenderRing.h"

#include <gtest/gtest.h>

#include <csignal>
#include <cstdio>
#include <random>
#include <string>
#include <vector>

#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

using namespace HSL::FormatCheck;

constexpr ValueKind kInt = { ValueKind::kInteger, sizeof(int), false, kNone };
constexpr ValueKind kByte = { ValueKind::kInteger, 1, false, kNone };
constexpr ValueKind kShort = { ValueKind::kInteger, 2, false, kNone };
constexpr ValueKind kLong = { ValueKind::kInteger, sizeof(long), true, kNone };
constexpr ValueKind kLongLong = { ValueKind::kInteger, 8, false, kNone };
constexpr ValueKind kDouble = { ValueKind::kReal, sizeof(double), false, kNone };
constexpr ValueKind kPointer = { ValueKind::kAddress, sizeof(void*), false, kNone };
constexpr ValueKind kText = { ValueKind::kNarrowText, sizeof(void*), false, kNone };
constexpr ValueKind kWide = { ValueKind::kWideText, sizeof(void*), false, kNone };

Problem problemOf(const std::string& format, const std::vector<ValueKind>& values)
{
    return Check(format.c_str(), values.data(), static_cast<int>(values.size())).mProblem;
}

// Which of a list of conversions suit a kind of value.
std::string suiting(const ValueKind& value)
{
    std::string found;
    for (const char* conversion :
         { "%d",  "%u", "%x",  "%hd", "%hhd", "%ld", "%lld", "%jd", "%Ld", "%c",  "%C",
           "%lc", "%f", "%lf", "%Lf", "%g",   "%p",  "%lp",  "%s",  "%ls", "%hs", "%S" }) {
        if (problemOf(conversion, { value }) == kNone) {
            found += std::string(found.empty() ? "" : " ") + conversion;
        }
    }
    return found;
}

// Renders in a child process that may use one second of processor time.
bool neverReturns(const std::string& format, int values)
{
    HandMadeRecord record = inlineRecord(format, values);
    for (int i = 0; i < values; ++i) {
        record.Int32(i);
    }
    const pid_t child = fork();
    if (child == 0) {
        const struct rlimit oneSecond = { 1, 1 };
        const struct rlimit noCore = { 0, 0 };
        setrlimit(RLIMIT_CPU, &oneSecond);
        setrlimit(RLIMIT_CORE, &noCore);
        std::signal(SIGXCPU, SIG_DFL);
        RenderRing ring;
        ring.Render(record);
        _exit(0);
    }
    int status = 0;
    waitpid(child, &status, 0);
    return WIFSIGNALED(status) && (WTERMSIG(status) == SIGXCPU || WTERMSIG(status) == SIGKILL);
}

using Random = std::mt19937;

std::size_t below(Random& random, std::size_t limit)
{
    return std::uniform_int_distribution<std::size_t>(0, limit - 1)(random);
}

std::string randomFormat(Random& random)
{
    static const std::vector<std::string> kParts = { "%d",  "%s",  "%.1f", "%-5d", "%5.2s", "%x", "%c",
                                                     "%lc", "%'d", "%+d",  "% d",  "%g",    "%e", "%",
                                                     "%%",  "\\",  "l",    "h",    "n",     "*",  "100",
                                                     "d",   "s",   "f",    " ",    ".",     "a",  "%ls" };
    std::string format;
    for (std::size_t parts = 1 + below(random, 5); parts > 0; --parts) {
        format += kParts[below(random, kParts.size())];
    }
    return format;
}

// One value of the test below, in each of the forms that it needs.
struct Sample {
    ValueKind kind;
    int number = 0;
    double real = 0;
    const char* text = nullptr;

    void AppendTo(HandMadeRecord& record) const
    {
        if (kind.mClass == ValueKind::kInteger) {
            record.Int32(number);
        } else if (kind.mClass == ValueKind::kReal) {
            record.Double(real);
        } else {
            record.String(text);
        }
    }
};

template <typename... Values> std::string printed(const std::string& format, Values... values)
{
    char text[4096];
    std::snprintf(text, sizeof text, format.c_str(), values...);
    return text;
}

template <typename First> std::string printedWith(const std::string& format, First first, const Sample& second)
{
    switch (second.kind.mClass) {
    case ValueKind::kInteger:
        return printed(format, first, second.number);
    case ValueKind::kReal:
        return printed(format, first, second.real);
    default:
        return printed(format, first, second.text);
    }
}

// What one call of snprintf makes of the whole format and both values.
std::string printedWhole(const std::string& format, const Sample& first, const Sample& second)
{
    switch (first.kind.mClass) {
    case ValueKind::kInteger:
        return printedWith(format, first.number, second);
    case ValueKind::kReal:
        return printedWith(format, first.real, second);
    default:
        return printedWith(format, first.text, second);
    }
}

} // namespace

TEST(FormatRules, ConversionsThatSuitEachKindOfValue)
{
    EXPECT_EQ(suiting(kInt), "%d %u %x %c %C %lc");
    EXPECT_EQ(suiting(kShort), "%d %u %x %hd %c %C %lc");
    EXPECT_EQ(suiting(kByte), "%d %u %x %hd %hhd %c %C %lc");
    EXPECT_EQ(suiting(kLong), "%ld");
    EXPECT_EQ(suiting(kLongLong), "%lld %jd");
    EXPECT_EQ(suiting(kDouble), "%f %lf %g");
    EXPECT_EQ(suiting(kPointer), "%p");
    EXPECT_EQ(suiting(kText), "%s");
    EXPECT_EQ(suiting(kWide), "%ls %S");
}

TEST(FormatRules, SizeConversionsTakeWhatIsAsWideAsASize)
{
    const ValueKind size = sizeof(std::size_t) == sizeof(int) ? kInt : kLong;
    EXPECT_EQ(problemOf("%zu %td", { size, size }), kNone);
    EXPECT_EQ(problemOf("%zu", { kByte }), kUnsuitable);
    EXPECT_EQ(problemOf("%zu", { kLongLong }), kUnsuitable);
    EXPECT_EQ(problemOf("%td", { kInt }), sizeof(std::size_t) == sizeof(int) ? kNone : kUnsuitable);
}

TEST(FormatRules, FlagsWidthAndPrecisionMayStandInAConversion)
{
    EXPECT_EQ(problemOf("%-+ #0'12.5d", { kInt }), kNone);
    EXPECT_EQ(problemOf("%.d", { kInt }), kNone);
    EXPECT_EQ(problemOf("%.-5d", { kInt }), kMalformed);
    EXPECT_EQ(problemOf("%5-d", { kInt }), kMalformed);
    EXPECT_EQ(problemOf("%1$d", { kInt }), kMalformed);
    EXPECT_EQ(problemOf("%*d", { kInt }), kWidthFromValue);
    EXPECT_EQ(problemOf("%.*d", { kInt }), kWidthFromValue);
}

TEST(FormatRules, WidthAndPrecisionAreBounded)
{
    EXPECT_EQ(problemOf("%65535.65535f", { kDouble }), kNone);
    EXPECT_EQ(problemOf("%65536f", { kDouble }), kTooWide);
    EXPECT_EQ(problemOf("%.999999999e", { kDouble }), kTooWide);
    EXPECT_EQ(problemOf("%99999999999999999999d", { kInt }), kTooWide);
    EXPECT_EQ(CheckUnknownValues("%.65536s").mProblem, kTooWide);
}

TEST(FormatRules, ALetterBehindOtherTextEndsNoConversion)
{
    EXPECT_EQ(problemOf("%a", { kDouble }), kMalformed);
    EXPECT_EQ(problemOf("%a and %f", { kDouble }), kMalformed) << "the renderer takes up to the n";
    EXPECT_EQ(problemOf("50%, then %d", { kInt }), kMalformed) << "the renderer takes up to the e";
    EXPECT_EQ(problemOf("100%", { kInt }), kMalformed);
}

TEST(FormatRules, EveryKindIsRefusedToAConversionThatWrites)
{
    for (const ValueKind& kind : { kInt, kLong, kLongLong, kDouble, kPointer, kText, kWide }) {
        EXPECT_EQ(problemOf("%n", { kind }), kWrites);
        EXPECT_EQ(problemOf("%ln", { kind }), kWrites);
    }
}

TEST(FormatRules, DoubledPercentCountsWhereAConversionIsSought)
{
    EXPECT_EQ(problemOf("100%% %d", { kInt }), kNeverReturns);
    EXPECT_EQ(problemOf("%d %% %d", { kInt, kInt }), kNeverReturns);
    EXPECT_EQ(problemOf("%d%%", { kInt }), kTooFewValues) << "shown as [extra format arguments: __ ]";
    EXPECT_EQ(problemOf("50%% done", {}), kNone);
    EXPECT_EQ(problemOf("%d%%", { kInt, kInt }), kNeverReturns);
}

TEST(FormatRules, BackslashCountsInFrontOfTheFirstPercentMet)
{
    EXPECT_EQ(problemOf("\\%d", { kInt }), kNeverReturns);
    EXPECT_EQ(problemOf("%d \\%d", { kInt, kInt }), kNeverReturns);
    EXPECT_EQ(problemOf("\\ %d", { kInt }), kNone);
    EXPECT_EQ(problemOf("%d\\", { kInt }), kNone);
    EXPECT_EQ(problemOf("\\%%", {}), kNone) << "without values nothing is sought";
}

TEST(FormatRules, WhatIsCalledEndlessIsEndless)
{
    EXPECT_FALSE(neverReturns("100 %d", 1));
    EXPECT_TRUE(neverReturns("100%% %d", 1));
    EXPECT_TRUE(neverReturns("%d%%", 2));
    EXPECT_TRUE(neverReturns("%d\\%d", 2));
    EXPECT_FALSE(neverReturns("%d%%", 1));
}

TEST(FormatRules, NumbersOfConversionsAndValuesMustAgree)
{
    EXPECT_EQ(problemOf("%d", {}), kTooFewValues);
    EXPECT_EQ(problemOf("%d %d", { kInt }), kTooFewValues);
    EXPECT_EQ(problemOf("", { kInt }), kTooManyValues);
    EXPECT_EQ(problemOf("%d", { kInt, kInt }), kTooManyValues);
    EXPECT_EQ(problemOf("100%", {}), kTooFewValues);
    EXPECT_EQ(problemOf("%d%d%d%d%d%d%d%d%d%d", std::vector<ValueKind>(10, kInt)), kNone);
    EXPECT_EQ(problemOf("%d%d%d%d%d%d%d%d%d%d%d", std::vector<ValueKind>(11, kInt)), kTooManyForACall);
}

TEST(FormatRules, ProblemsValueIsCountedFromOne)
{
    const ValueKind values[] = { kInt, kText, kDouble };
    EXPECT_EQ(Check("%d %s %d", values, 3).mValue, 3);
    EXPECT_EQ(Check("%d %d %f", values, 3).mValue, 2);
    EXPECT_EQ(Check("%d %s %f", values, 3).mValue, 0);
}

TEST(FormatRules, UnknownValuesAreTakenToSuit)
{
    EXPECT_EQ(CheckUnknownValues("%d %s %S %p").mProblem, kNone);
    EXPECT_EQ(CheckUnknownValues("50%% done").mProblem, kNone);
    EXPECT_EQ(CheckUnknownValues("100%% %d").mProblem, kNeverReturns);
    EXPECT_EQ(CheckUnknownValues("\\%d").mProblem, kNeverReturns);
    EXPECT_EQ(CheckUnknownValues("%d%%").mProblem, kTooFewValues);
    EXPECT_EQ(CheckUnknownValues("%s %n").mProblem, kWrites);
    EXPECT_EQ(CheckUnknownValues("%*d").mProblem, kWidthFromValue);
    EXPECT_EQ(CheckUnknownValues("%a").mProblem, kMalformed);
    EXPECT_EQ(CheckUnknownValues("%d%d%d%d%d%d%d%d%d%d").mProblem, kNone);
    EXPECT_EQ(CheckUnknownValues("%d%d%d%d%d%d%d%d%d%d%d").mProblem, kTooFewValues);
}

TEST(FormatRules, EveryProblemHasItsText)
{
    for (int problem = kNone; problem <= kWideFormat; ++problem) {
        EXPECT_STRNE(Describe(static_cast<Problem>(problem)), "");
    }
}

// What the rules accept comes out of the renderer as one call of printf would print it.
TEST(FormatRules, AcceptedMessagesAreRenderedAsPrintfWould)
{
    const std::vector<Sample> samples = { { kInt, 65, 0, nullptr },
                                          { kDouble, 0, 2.5, nullptr },
                                          { kText, 0, 0, "text" } };
    Random random(1);
    RenderRing ring;
    int accepted = 0;
    for (int i = 0; i < 200000; ++i) {
        const std::string format = randomFormat(random);
        const Sample& first = samples[below(random, samples.size())];
        const Sample& second = samples[below(random, samples.size())];
        if (problemOf(format, { first.kind, second.kind }) != kNone) {
            continue;
        }
        HandMadeRecord record = inlineRecord(format, 2);
        first.AppendTo(record);
        second.AppendTo(record);
        ASSERT_EQ(ring.Render(record), printedWhole(format, first, second)) << format;
        ++accepted;
    }
    EXPECT_GT(accepted, 1000);
}
