#include "ProbeRun.h"

#include <gtest/gtest.h>

#include <unistd.h>

#include <cerrno>
#include <cstdint>

namespace {

// Two addresses, hexadecimal, that nothing can be read from: one in the first page, one in the kernel's part,
// which ends the address space on 32 bits and its upper half on 64.
const Strings kUnreadable = { "1", sizeof(void*) == 8 ? "ffff800000000001" : "fffff001" };

// Whether the system itself fails to read a byte there. What holds here holds in the probe: it is built for
// the same processor and runs on the same system.
bool isUnreadable(const std::string& address)
{
    int ends[2];
    if (pipe(ends) != 0) {
        return false;
    }
    const auto number = static_cast<std::uintptr_t>(std::stoull(address, nullptr, 16));
    const bool refused = write(ends[1], reinterpret_cast<const void*>(number), 1) == -1 && errno == EFAULT;
    close(ends[0]);
    close(ends[1]);
    return refused;
}

// The configuration of a host that passes one URL and no parameters.
Configuration plainConfiguration()
{
    Configuration expected = BundleInformation();
    expected["BreakpadURL"] = Text("http://host.example/submit");
    expected["BreakpadServerType"] = Text("socorro");
    expected["BreakpadReportInterval"] = Text("0");
    return expected;
}

} // namespace

TEST(FallcatchInit, ConfigurationIsTheBundlesInformationUnderTheThreeSettings)
{
    Probe probe;
    probe.Init(InitCall());
    EXPECT_EQ(probe.Run().LatestConfiguration(), plainConfiguration());
}

TEST(FallcatchInit, BundleEntriesOfAnyClassReachTheReporter)
{
    Probe probe;
    probe.Init(InitCall());
    const Configuration configuration = probe.Run().LatestConfiguration();
    const Entry list = { "NSString", "NSArray", "(one, two)" };
    ASSERT_EQ(configuration.count("ListInTheBundle"), 1u);
    EXPECT_EQ(configuration.at("ListInTheBundle"), list);
}

TEST(FallcatchInit, ProgramWithoutABundlePassesTheThreeSettingsOnly)
{
    Probe probe;
    probe.LeaveBundle();
    probe.Init(InitCall());
    const Configuration expected = { { "BreakpadURL", Text("http://host.example/submit") },
                                     { "BreakpadServerType", Text("socorro") },
                                     { "BreakpadReportInterval", Text("0") } };
    EXPECT_EQ(probe.Run().LatestConfiguration(), expected);
}

TEST(FallcatchInit, CreatesOneReporterFromOneMutableDictionary)
{
    Probe probe;
    InitCall call;
    call.parameters = { L"ver=1.2", L"prod=App", L"a=b" };
    probe.Init(call);
    const ProbeResult result = probe.Run();
    EXPECT_EQ(result.Named("create"), std::vector<Strings>({ { "NSMutableDictionary" } }));
    EXPECT_EQ(result.Names(), Strings({ "create", "emptied", "initialised" }));
}

TEST(FallcatchInit, ReturnsTheReportersHandle)
{
    Probe probe;
    probe.Call({ "reporter", kReporter });
    probe.Init(InitCall());
    EXPECT_EQ(probe.Run().Named("initialised"), std::vector<Strings>({ { kReporter } }));
}

TEST(FallcatchInit, ReturnsNullWhenBreakpadRefusesTheConfiguration)
{
    Probe probe;
    probe.Call({ "reporter", "0" });
    probe.Init(InitCall());
    const ProbeResult result = probe.Run();
    EXPECT_EQ(result.Named("create").size(), 1u);
    EXPECT_EQ(result.Named("initialised"), std::vector<Strings>({ { "0" } }));
}

TEST(FallcatchInit, FirstAndThirdArgumentAreNeverRead)
{
    for (const std::string& address : kUnreadable) {
        ASSERT_TRUE(isUnreadable(address)) << address;
    }
    Probe probe;
    probe.Call({ "reporter", kReporter });
    InitCall call;
    call.unused1 = kUnreadable[0];
    call.unused2 = kUnreadable[1];
    probe.Init(call);
    const ProbeResult result = probe.Run();
    EXPECT_EQ(result.LatestConfiguration(), plainConfiguration());
    EXPECT_EQ(result.Named("initialised"), std::vector<Strings>({ { kReporter } }));
}

TEST(FallcatchInit, SecondCallKnowsNothingOfTheFirst)
{
    Probe probe;
    InitCall first;
    first.url = L"http://first.example/submit";
    first.parameters = { L"ver=1.2", L"Left=over" };
    probe.Init(first);
    probe.Init(InitCall());
    const ProbeResult result = probe.Run();
    EXPECT_EQ(result.Named("create").size(), 2u);
    EXPECT_EQ(result.LatestConfiguration(), plainConfiguration());
}

TEST(FallcatchInit, WorksOnAThreadThatFoundationDoesNotKnow)
{
    Probe probe;
    probe.Call({ "reporter", kReporter });
    Strings words = Probe::Words(InitCall());
    words.insert(words.begin(), "on-thread");
    probe.Call(words);
    const ProbeResult result = probe.Run();
    EXPECT_EQ(result.LatestConfiguration(), plainConfiguration());
    EXPECT_EQ(result.Names(), Strings({ "create", "emptied", "initialised" }));
}

TEST(FallcatchInit, WithoutADictionaryNoReporterIsCreated)
{
    Probe probe;
    probe.Call({ "reporter", kReporter });
    probe.Call({ "watch" });
    probe.Call({ "refuse-dictionary" });
    InitCall call;
    call.parameters = { L"ver=1.2" };
    probe.Init(call);
    const ProbeResult result = probe.Run();
    EXPECT_TRUE(result.Named("create").empty());
    EXPECT_EQ(result.Named("initialised"), std::vector<Strings>({ { "0" } }));
}

TEST(FallcatchInit, WithoutADictionaryThePoolIsReleasedAllTheSame)
{
    Probe probe;
    probe.Call({ "watch" });
    probe.Call({ "refuse-dictionary" });
    probe.Init(InitCall());
    EXPECT_EQ(probe.Run().Named("pool"), std::vector<Strings>({ { "init", "1" }, { "release", "1" } }));
}

TEST(FallcatchInit, LogsNothing)
{
    Probe probe;
    probe.Arguments({ "-tcmt", "TC_AR" });
    probe.Call({ "log", "all" });
    InitCall call;
    call.parameters = { L"ver=1.2", L"malformed", std::nullopt };
    probe.Init(call);
    probe.Call({ "finish" });
    const ProbeResult result = probe.Run();
    EXPECT_EQ(result.Named("create").size(), 1u);
    EXPECT_TRUE(result.Named("log").empty());
}
