// What the bridge keeps for the life of the process, and what it gives back.
#include "ProbeRun.h"

#include <gtest/gtest.h>

namespace {

// The owners left after a call and after the configuration has been emptied.
std::vector<Strings> ownersAfter(const InitCall& call)
{
    Probe probe;
    probe.Call({ "watch" });
    probe.Init(call);
    probe.Call({ "owners" });
    return probe.Run().Named("owners");
}

std::vector<Strings> poolsOf(const Strings& call)
{
    Probe probe;
    probe.Call({ "watch" });
    probe.Call(call);
    return probe.Run().Named("pool");
}

const std::vector<Strings> kOnePoolReleasedOnce = { { "init", "1" }, { "release", "1" } };

} // namespace

TEST(FallcatchMemory, ConfigurationIsNeverReleased)
{
    const std::vector<Strings> owners = ownersAfter(InitCall());
    ASSERT_FALSE(owners.empty());
    EXPECT_EQ(owners[0], Strings({ "dictionary", "1", "" }));
}

TEST(FallcatchMemory, ConvertedUrlIsNeverReleased)
{
    const std::vector<Strings> owners = ownersAfter(InitCall());
    ASSERT_EQ(owners.size(), 2u);
    EXPECT_EQ(owners[1], Strings({ "string", "1", "http://host.example/submit" }));
}

TEST(FallcatchMemory, HostsUrlIsNotConvertedWithAServerName)
{
    Probe probe;
    probe.UserDefaults("{ serverName = \"http://user.example/submit\"; }");
    probe.Call({ "watch" });
    probe.Init(InitCall());
    probe.Call({ "owners" });
    EXPECT_EQ(probe.Run().Named("owners"), std::vector<Strings>({ { "dictionary", "1", "" } }));
}

TEST(FallcatchMemory, ParameterTextsAreNeverReleased)
{
    InitCall call;
    call.parameters = { L"ver=1.2", L"a=b=c" };
    const std::vector<Strings> owners = ownersAfter(call);
    ASSERT_EQ(owners.size(), 4u);
    EXPECT_EQ(owners[2], Strings({ "string", "1", "ver=1.2" }));
    EXPECT_EQ(owners[3], Strings({ "string", "1", "a=b=c" }));
}

TEST(FallcatchMemory, IgnoredParameterTextIsNeverReleasedEither)
{
    InitCall call;
    call.parameters = { L"malformed" };
    const std::vector<Strings> owners = ownersAfter(call);
    ASSERT_EQ(owners.size(), 3u);
    EXPECT_EQ(owners[2], Strings({ "string", "1", "malformed" }));
}

TEST(FallcatchMemory, IntervalsTextIsNeverReleased)
{
    Probe probe;
    probe.Call({ "watch" });
    probe.Call({ "interval", kReporter, "3600" });
    probe.Call({ "owners" });
    EXPECT_EQ(probe.Run().Named("owners"), std::vector<Strings>({ { "string", "1", "3600" } }));
}

TEST(FallcatchMemory, InitReleasesItsPoolOnce)
{
    InitCall call;
    call.parameters = { L"ver=1.2", L"a=b" };
    EXPECT_EQ(poolsOf(Probe::Words(call)), kOnePoolReleasedOnce);
}

TEST(FallcatchMemory, InitReleasesItsPoolOnceWhenBreakpadRefuses)
{
    Probe probe;
    probe.Call({ "watch" });
    probe.Call({ "reporter", "0" });
    probe.Init(InitCall());
    EXPECT_EQ(probe.Run().Named("pool"), kOnePoolReleasedOnce);
}

TEST(FallcatchMemory, PoolLivesUntilTheReporterIsCreated)
{
    Probe probe;
    probe.Call({ "watch" });
    probe.Init(InitCall());
    EXPECT_EQ(probe.Run().Names(), Strings({ "pool", "create", "pool", "emptied", "initialised" }));
}

TEST(FallcatchMemory, SettingAnIntervalReleasesItsPoolOnce)
{
    EXPECT_EQ(poolsOf({ "interval", kReporter, "60" }), kOnePoolReleasedOnce);
}

TEST(FallcatchMemory, PoolLivesUntilTheIntervalIsSet)
{
    Probe probe;
    probe.Call({ "watch" });
    probe.Call({ "interval", kReporter, "60" });
    EXPECT_EQ(probe.Run().Names(), Strings({ "pool", "set", "pool", "emptied" }));
}
