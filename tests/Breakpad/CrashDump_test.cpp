// What a dump holds, and what it does not.
#include "CrashSandbox.h"
#include "CrashServer.h"
#include "CrashStack.h"

#include <csignal>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>

namespace {

class CrashDump : public testing::Test {
protected:
    std::string Crash(const CrashSandbox::Strings& more)
    {
        CrashSandbox::Strings arguments { "--url", mServer.Url() };
        arguments.insert(arguments.end(), more.begin(), more.end());
        EXPECT_NE(mSandbox.Run(arguments).signal, 0);
        mSandbox.WaitForSenders();
        const auto reports = mServer.Reports();
        return reports.empty() ? std::string() : reports.back().dump;
    }

    // As minidump_stackwalk prints it.
    std::string Print(const std::string& dump) const
    {
        const std::string path = (mSandbox.Folder() / "received.dmp").string();
        const std::string output = (mSandbox.Folder() / "printed").string();
        std::ofstream(path, std::ios::binary) << dump;
        EXPECT_EQ(
            std::system(("'" STACKWALK "' '" + path + "' '" SYMBOLS "' >'" + output + "' 2>/dev/null").c_str()),
            0);
        return ReadFile(output);
    }

    CrashSandbox mSandbox;
    CrashServer mServer;
};

bool holds(const std::string& text, const std::string& part)
{
    return text.find(part) != std::string::npos;
}

std::string utf16(const std::string& text)
{
    std::string units;
    for (const char c : text) {
        units += c;
        units += '\0';
    }
    return units;
}

} // namespace

TEST_F(CrashDump, HoldsNoValuesOfTheEnvironmentAndNoArguments)
{
    mSandbox.SetVariable("DATABASE_PASSWORD=swordfish-in-a-variable");
    mSandbox.SetVariable("LC_MEASUREMENT=de_DE-is-kept");
    mSandbox.SetVariable("TZ=Europe/Berlin-is-kept");
    mSandbox.SetVariable("TZDIR=swordfish-of-another-name");
    for (const char* thread : { "-tcmt", "-tcwt" }) {
        const std::string dump = Crash({ "--parameter", "Note=swordfish-as-an-argument", thread, "TC_DER0" });
        ASSERT_EQ(dump.substr(0, 4), "MDMP");
        const std::size_t found = dump.find("swordfish");
        EXPECT_EQ(found, std::string::npos) << dump.substr(found > 100 ? found - 100 : 0, 200);
        EXPECT_TRUE(holds(dump, "DATABASE_PASSWORD=***********************"));
        EXPECT_TRUE(holds(dump, "LC_MEASUREMENT=de_DE-is-kept"));
        EXPECT_TRUE(holds(dump, "TZ=Europe/Berlin-is-kept"));
        EXPECT_TRUE(holds(dump, "/CrashHost"));
    }
}

TEST_F(CrashDump, HoldsThemWhereTheHostAsksForIt)
{
    mSandbox.SetVariable("DATABASE=swordfish-in-a-variable");
    const std::string dump = Crash({ "--parameter", "FallcatchKeepEnvironment=1", "-tcmt", "TC_DER0" });
    EXPECT_TRUE(holds(dump, "DATABASE=swordfish-in-a-variable"));
    EXPECT_TRUE(holds(dump, "FallcatchKeepEnvironment=1"));
}

TEST_F(CrashDump, HoldsNoneOfAStackThatOverflowedEither)
{
    mSandbox.SetVariable("DATABASE=swordfish-in-a-variable");
    for (const char* scenario : { "overflow-main", "overflow-worker", "exception" }) {
        const std::string dump = Crash({ "--scenario", scenario });
        ASSERT_EQ(dump.substr(0, 4), "MDMP");
        EXPECT_FALSE(holds(dump, "swordfish")) << scenario;
    }
}

TEST_F(CrashDump, NamesTheThreads)
{
    const std::string dump = Crash({ "--scenario", "thread-names", "-tcmt", "TC_DER0" });
    EXPECT_TRUE(holds(dump, utf16("sorts-apples")));
    EXPECT_TRUE(holds(dump, utf16("CrashHost")));
}

TEST_F(CrashDump, TellsTheDistribution)
{
    std::ifstream file("/etc/os-release");
    const std::string release { std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>() };
    if (release.empty() || std::ifstream("/etc/lsb-release")) {
        GTEST_SKIP() << "this system has the other file, or neither";
    }
    EXPECT_TRUE(holds(Crash({ "-tcmt", "TC_DER0" }), release));
}

TEST_F(CrashDump, TellsTheReasonThatTheCLibraryKept)
{
    const std::string dump = Crash({ "--scenario", "assertion" });
    EXPECT_TRUE(holds(dump, "Assertion `apples == pears' failed.")) << dump.size();
    EXPECT_TRUE(holds(dump, "abort_message"));
    EXPECT_FALSE(holds(Crash({ "-tcmt", "TC_DER0" }), "abort_message"));
}
