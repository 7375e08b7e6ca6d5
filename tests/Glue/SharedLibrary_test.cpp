// A host linked with the dynamic library: the same functions, with Breakpad's found in the host.
#include "ProbeRun.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <set>
#include <sstream>
#include <string>

namespace {

// The names that nm lists for the dynamic library.
std::set<std::string> symbols(const std::string& options)
{
    const std::string command = std::string(FALLCATCH_NM) + " -D -P " + options + " '" FALLCATCH_LIBRARY "'";
    FILE* output = popen(command.c_str(), "r");
    std::string text;
    if (output != nullptr) {
        for (int character = std::fgetc(output); character != EOF; character = std::fgetc(output)) {
            text += static_cast<char>(character);
        }
        EXPECT_EQ(pclose(output), 0) << command;
    }
    std::set<std::string> names;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        names.insert(line.substr(0, line.find(' ')));
    }
    return names;
}

} // namespace

TEST(SharedLibrary, ExportsTheFourFunctionsAndNothingElse)
{
    EXPECT_EQ(symbols("--defined-only"),
              std::set<std::string>({ "FallcatchInit", "FallcatchRelease", "FallcatchSetReportInterval",
                                      "GetTestCommandsList" }));
}

TEST(SharedLibrary, ExportsWhatItsListOfExportsNames)
{
    std::ifstream list(FALLCATCH_EXPORTS);
    std::set<std::string> names;
    for (std::string name; std::getline(list, name);) {
        names.insert(name);
    }
    EXPECT_EQ(symbols("--defined-only"), names);
}

TEST(SharedLibrary, LeavesBreakpadToTheHost)
{
    const std::set<std::string> undefined = symbols("--undefined-only");
    EXPECT_EQ(undefined.count("BreakpadCreate"), 1u);
    EXPECT_EQ(undefined.count("BreakpadSetKeyValue"), 1u);
    EXPECT_EQ(undefined.count("BreakpadRelease"), 1u);
}

TEST(SharedLibrary, InitReachesTheHostsBreakpad)
{
    Probe probe("SharedProbe");
    probe.UserDefaults("{ serverName = \"http://user.example/submit\"; }");
    probe.Call({ "reporter", kReporter });
    InitCall call;
    call.parameters = { L"ver=1.2", L"prod=App" };
    probe.Init(call);
    const ProbeResult result = probe.Run();
    Configuration expected = BundleInformation();
    expected["BreakpadURL"] = Text("http://user.example/submit");
    expected["BreakpadServerType"] = Text("socorro");
    expected["BreakpadReportInterval"] = Text("0");
    expected["BreakpadVersion"] = Text("1.2");
    expected["BreakpadProduct"] = Text("App");
    EXPECT_EQ(result.LatestConfiguration(), expected);
    EXPECT_EQ(result.Named("initialised"), std::vector<Strings>({ { kReporter } }));
}

TEST(SharedLibrary, IntervalAndReleaseReachTheHostsBreakpad)
{
    Probe probe("SharedProbe");
    probe.Call({ "interval", kReporter, "3600" });
    probe.Call({ "release", kReporter });
    const ProbeResult result = probe.Run();
    EXPECT_EQ(
        result.Named("set"),
        std::vector<Strings>({ { kReporter, "NSString", "BreakpadReportInterval", "NSString", "3600" } }));
    EXPECT_EQ(result.Named("release"), std::vector<Strings>({ { kReporter } }));
}

TEST(SharedLibrary, ScansTheHostsCommandLine)
{
    Probe probe("SharedProbe");
    probe.Arguments({ "-tcwt", "TC_DIV0" });
    probe.Call({ "scan", "array", "2" });
    EXPECT_EQ(probe.Run().Named("scanned"),
              std::vector<Strings>({ { "2", "1", "2", "untouched", "untouched" } }));
}

TEST(SharedLibrary, KeepsApartFromTheHostsLogManager)
{
    Probe probe("SharedProbe");
    probe.Arguments({ "-tcwt", "TC_DIV0" });
    probe.Call({ "log", "all" });
    probe.Call({ "scan", "array", "2" });
    probe.Call({ "finish" });
    EXPECT_EQ(probe.Run().Names(), Strings({ "scanned" }));
}
