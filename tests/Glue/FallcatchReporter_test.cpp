#include "ProbeRun.h"

#include <gtest/gtest.h>

namespace {

std::vector<Strings> intervalSet(const std::string& reporter, const std::string& interval)
{
    Probe probe;
    probe.Call({ "interval", reporter, interval });
    return probe.Run().Named("set");
}

// The one call that setting an interval makes.
std::vector<Strings> intervalCall(const std::string& reporter, const std::string& text)
{
    return { { reporter, "NSString", "BreakpadReportInterval", "NSString", text } };
}

} // namespace

TEST(FallcatchSetReportInterval, SetsTheDecimalText)
{
    EXPECT_EQ(intervalSet(kReporter, "3600"), intervalCall(kReporter, "3600"));
}

TEST(FallcatchSetReportInterval, ZeroIsSetLikeAnyOther)
{
    EXPECT_EQ(intervalSet(kReporter, "0"), intervalCall(kReporter, "0"));
}

TEST(FallcatchSetReportInterval, NegativeNumberKeepsItsSign)
{
    EXPECT_EQ(intervalSet(kReporter, "-5"), intervalCall(kReporter, "-5"));
}

TEST(FallcatchSetReportInterval, SmallestNumberIsWrittenInFull)
{
    EXPECT_EQ(intervalSet(kReporter, "-2147483648"), intervalCall(kReporter, "-2147483648"));
}

TEST(FallcatchSetReportInterval, LargestNumberHasNoGrouping)
{
    EXPECT_EQ(intervalSet(kReporter, "2147483647"), intervalCall(kReporter, "2147483647"));
}

TEST(FallcatchSetReportInterval, NullHandleIsHandedOn)
{
    EXPECT_EQ(intervalSet("0", "60"), intervalCall("0", "60"));
}

TEST(FallcatchSetReportInterval, CallsNothingElse)
{
    Probe probe;
    probe.Call({ "interval", kReporter, "60" });
    EXPECT_EQ(probe.Run().Names(), Strings({ "set", "emptied" }));
}

TEST(FallcatchSetReportInterval, WorksOnAThreadThatFoundationDoesNotKnow)
{
    Probe probe;
    probe.Call({ "on-thread", "interval", kReporter, "60" });
    EXPECT_EQ(probe.Run().Named("set"), intervalCall(kReporter, "60"));
}

TEST(FallcatchSetReportInterval, LogsNothing)
{
    Probe probe;
    probe.Call({ "log", "all" });
    probe.Call({ "interval", kReporter, "60" });
    probe.Call({ "finish" });
    EXPECT_EQ(probe.Run().Names(), Strings({ "set", "emptied" }));
}

TEST(FallcatchRelease, HandsTheHandleToBreakpadAndDoesNothingElse)
{
    Probe probe;
    probe.Call({ "watch" });
    probe.Call({ "release", kReporter });
    const ProbeResult result = probe.Run();
    EXPECT_EQ(result.Named("release"), std::vector<Strings>({ { kReporter } }));
    EXPECT_EQ(result.Names(), Strings({ "release" }));
}

TEST(FallcatchRelease, NullHandleIsHandedOn)
{
    Probe probe;
    probe.Call({ "release", "0" });
    EXPECT_EQ(probe.Run().Named("release"), std::vector<Strings>({ { "0" } }));
}

TEST(FallcatchRelease, LogsNothing)
{
    Probe probe;
    probe.Call({ "log", "all" });
    probe.Call({ "release", kReporter });
    probe.Call({ "finish" });
    EXPECT_EQ(probe.Run().Names(), Strings({ "release" }));
}

TEST(FallcatchRelease, EndsAReportersLife)
{
    Probe probe;
    probe.Call({ "reporter", kReporter });
    probe.Init(InitCall());
    probe.Call({ "interval", kReporter, "60" });
    probe.Call({ "interval", kReporter, "3600" });
    probe.Call({ "release", kReporter });
    const ProbeResult result = probe.Run();
    EXPECT_EQ(result.Names(),
              Strings({ "create", "emptied", "initialised", "set", "emptied", "set", "emptied", "release" }));
    EXPECT_EQ(result.Named("initialised"), std::vector<Strings>({ { kReporter } }));
    EXPECT_EQ(result.Named("release"), std::vector<Strings>({ { kReporter } }));
}
