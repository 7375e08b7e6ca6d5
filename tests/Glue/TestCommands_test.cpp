// The codes that the scan of the command line gives. The messages it logs: TestCommandsLog_test.cpp.
#include "ProbeRun.h"

#include <gtest/gtest.h>

#include <string>
#include <tuple>

namespace {

constexpr const char* kUntouched = "untouched";

// Result and the array's four cells after a scan, the array having room for more than is ever written.
Strings scan(const Strings& arguments, const std::string& capacity = "2")
{
    Probe probe;
    probe.Arguments(arguments);
    probe.Call({ "scan", "array", capacity });
    const std::vector<Strings> scans = probe.Run().Named("scanned");
    return scans.size() == 1 ? scans[0] : Strings();
}

Strings found(const Strings& codes)
{
    Strings expected = { std::to_string(codes.size()) };
    expected.insert(expected.end(), codes.begin(), codes.end());
    expected.resize(5, kUntouched);
    return expected;
}

const Strings kNothing = found({});

struct Thread {
    const char* word;
    const char* code;
};

struct CrashType {
    const char* word;
    const char* code;
};

using Command = std::tuple<Thread, CrashType>;

std::string nameOf(const testing::TestParamInfo<Command>& info)
{
    const std::string type = std::get<1>(info.param).word;
    return std::string(std::get<0>(info.param).word).substr(1) + "_" + type.substr(3);
}

class TestCommandsOfEachKind : public testing::TestWithParam<Command> { };

// A word that nearly is a switch, and is none.
class TestCommandsNearlyASwitch : public testing::TestWithParam<const char*> { };

class TestCommandsNearlyACrashType : public testing::TestWithParam<const char*> { };

class TestCommandsOfAnyCapacity : public testing::TestWithParam<const char*> { };

} // namespace

TEST_P(TestCommandsOfEachKind, GivesBothCodes)
{
    const auto& [thread, type] = GetParam();
    EXPECT_EQ(scan({ thread.word, type.word }), found({ thread.code, type.code }));
}

INSTANTIATE_TEST_SUITE_P(
    All, TestCommandsOfEachKind,
    testing::Combine(testing::Values(Thread { "-tcmt", "0" }, Thread { "-tcwt", "1" }),
                     testing::Values(CrashType { "TC_AR", "0" }, CrashType { "TC_GC", "1" },
                                     CrashType { "TC_DIV0", "2" }, CrashType { "TC_DER0", "3" },
                                     CrashType { "TC_PUREV", "4" }, CrashType { "TC_RECOVERABLE", "5" },
                                     CrashType { "TC_NONRECOVERABLE", "6" },
                                     CrashType { "TC_CONSTRUCTWITHNULL", "7" })),
    nameOf);

TEST_P(TestCommandsNearlyASwitch, IsPassedOver)
{
    EXPECT_EQ(scan({ GetParam(), "TC_AR" }), kNothing);
}

INSTANTIATE_TEST_SUITE_P(All, TestCommandsNearlyASwitch,
                         testing::Values("-TCMT", "-tcMT", "-TCWT", "tcmt", "--tcmt", "-tcmt ", " -tcwt",
                                         "-tcm", "-tcmtx", "-tc", "-tcmt=TC_AR", "-", ""));

TEST_P(TestCommandsNearlyACrashType, GivesTheThreadOnly)
{
    EXPECT_EQ(scan({ "-tcwt", GetParam() }), found({ "1" }));
}

INSTANTIATE_TEST_SUITE_P(All, TestCommandsNearlyACrashType,
                         testing::Values("tc_ar", "Tc_AR", "TC_A", "TC_ARX", "TC_AR ", " TC_GC", "TC_DIV",
                                         "TC_DIV1", "TC_", "AR", "2", "", "TC_CONSTRUCTWITHNULLS"));

TEST(TestCommands, ArgumentsBehindTheCrashTypeAreNotLookedAt)
{
    EXPECT_EQ(scan({ "-tcmt", "TC_CONSTRUCTWITHNULL", "-tcwt", "TC_AR" }), found({ "0", "7" }));
}

TEST(TestCommands, ArgumentsBehindAnUnknownCrashTypeAreNotLookedAt)
{
    EXPECT_EQ(scan({ "-tcmt", "unknown", "TC_AR", "-tcwt", "TC_GC" }), found({ "0" }));
}

TEST(TestCommands, MainThreadSwitchAtTheEndGivesTheThreadOnly)
{
    EXPECT_EQ(scan({ "-tcmt" }), found({ "0" }));
}

TEST(TestCommands, WorkerThreadSwitchAtTheEndGivesTheThreadOnly)
{
    EXPECT_EQ(scan({ "-tcwt" }), found({ "1" }));
}

TEST(TestCommands, SecondSwitchIsTakenAsAnUnknownCrashType)
{
    EXPECT_EQ(scan({ "-tcmt", "-tcwt" }), found({ "0" }));
}

TEST(TestCommands, SecondSwitchAlsoEndsTheScan)
{
    EXPECT_EQ(scan({ "-tcwt", "-tcmt", "TC_AR" }), found({ "1" }));
}

TEST(TestCommands, RepeatedSwitchIsTakenAsAnUnknownCrashType)
{
    EXPECT_EQ(scan({ "-tcmt", "-tcmt", "TC_AR" }), found({ "0" }));
}

TEST(TestCommands, CrashTypeMustFollowAtOnce)
{
    EXPECT_EQ(scan({ "-tcmt", "between", "TC_AR" }), found({ "0" }));
}

TEST(TestCommands, CrashTypeWithoutASwitchIsPassedOver)
{
    EXPECT_EQ(scan({ "TC_GC" }), kNothing);
}

TEST(TestCommands, CrashTypeBeforeTheSwitchIsPassedOver)
{
    EXPECT_EQ(scan({ "TC_GC", "-tcwt" }), found({ "1" }));
}

TEST(TestCommands, OtherArgumentsBeforeTheSwitchArePassedOver)
{
    EXPECT_EQ(scan({ "document", "-x", "-tcwt", "TC_DER0" }), found({ "1", "3" }));
}

TEST(TestCommands, ProgramWithoutArgumentsHasNone)
{
    EXPECT_EQ(scan({}), kNothing);
}

TEST(TestCommands, ProgramsOwnNameIsScannedToo)
{
    Probe probe;
    probe.Name("-tcwt");
    probe.Arguments({ "TC_PUREV" });
    probe.Call({ "scan", "array", "2" });
    EXPECT_EQ(probe.Run().Named("scanned"), std::vector<Strings>({ found({ "1", "4" }) }));
}

TEST(TestCommands, ProgramsOwnNameAloneIsTooFew)
{
    Probe probe;
    probe.Name("-tcwt");
    probe.Call({ "scan", "array", "2" });
    EXPECT_EQ(probe.Run().Named("scanned"), std::vector<Strings>({ kNothing }));
}

TEST_P(TestCommandsOfAnyCapacity, WritesBothCodes)
{
    EXPECT_EQ(scan({ "-tcmt", "TC_DIV0" }, GetParam()), found({ "0", "2" }));
}

INSTANTIATE_TEST_SUITE_P(All, TestCommandsOfAnyCapacity, testing::Values("0", "1", "-1", "-2147483648"));

TEST(TestCommands, LargeCapacityGivesNoMore)
{
    EXPECT_EQ(scan({ "-tcmt", "TC_DIV0", "-tcwt", "TC_AR" }, "4"), found({ "0", "2" }));
}

TEST(TestCommands, NullArrayIsLeftAlone)
{
    Probe probe;
    probe.Arguments({ "-tcmt", "TC_DIV0" });
    probe.Call({ "scan", "null", "2" });
    EXPECT_EQ(probe.Run().Named("scanned"), std::vector<Strings>({ kNothing }));
}

TEST(TestCommands, EachScanStartsAnew)
{
    Probe probe;
    probe.Arguments({ "-tcmt", "TC_DIV0" });
    probe.Call({ "scan", "array", "2" });
    probe.Call({ "scan", "array", "2" });
    const Strings both = found({ "0", "2" });
    EXPECT_EQ(probe.Run().Named("scanned"), std::vector<Strings>({ both, both }));
}

TEST(TestCommands, ScanCallsNothingOfBreakpad)
{
    Probe probe;
    probe.Arguments({ "-tcmt", "TC_DIV0" });
    probe.Call({ "scan", "array", "2" });
    EXPECT_EQ(probe.Run().Names(), Strings({ "scanned" }));
}

TEST(TestCommands, PoolIsReleasedOnceWhenThereAreArguments)
{
    Probe probe;
    probe.Arguments({ "-tcmt", "TC_DIV0" });
    probe.Call({ "watch" });
    probe.Call({ "scan", "array", "2" });
    EXPECT_EQ(probe.Run().Named("pool"), std::vector<Strings>({ { "init", "1" }, { "release", "1" } }));
}

TEST(TestCommands, PoolIsReleasedOnceWhenNoArgumentIsASwitch)
{
    Probe probe;
    probe.Arguments({ "TC_GC" });
    probe.Call({ "watch" });
    probe.Call({ "scan", "array", "2" });
    EXPECT_EQ(probe.Run().Named("pool"), std::vector<Strings>({ { "init", "1" }, { "release", "1" } }));
}

TEST(TestCommands, PoolStaysWhenThereAreNoArguments)
{
    Probe probe;
    probe.Call({ "watch" });
    probe.Call({ "scan", "array", "2" });
    EXPECT_EQ(probe.Run().Named("pool"), std::vector<Strings>({ { "init", "1" } }));
}
