// What others read from the dumps: rust-minidump, with Breakpad's symbols and with those that Mozilla's dump_syms
// makes, and lldb. tools/readers builds the first two.
#include "CrashSandbox.h"
#include "CrashServer.h"
#include "CrashTypes.h"

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <gtest/gtest.h>
#include <sstream>
#include <tuple>
#include <unistd.h>

namespace fs = std::filesystem;

namespace {

struct Told {
    std::string reason; // without blanks
    int thread = -1;    // that crashed; 0 is the main one
    std::vector<std::string> functions;
    std::vector<std::string> places; // file:line of each
};

// The program's path; empty where it is not.
std::string find(const std::string& name, const std::string& folders)
{
    std::istringstream all(folders);
    for (std::string folder; std::getline(all, folder, ':');) {
        const std::string path = folder + "/" + name;
        if (!folder.empty() && access(path.c_str(), X_OK) == 0) {
            return path;
        }
    }
    return "";
}

std::string builtReader(const std::string& name)
{
    const char* folder = std::getenv("FALLCATCH_READERS");
    return find(name, (folder != nullptr ? std::string(folder) : READERS) + "/bin");
}

std::string lldb()
{
    const char* path = std::getenv("PATH");
    return find("lldb", path != nullptr ? path : "/usr/bin");
}

// A type of crash by its code, and the thread.
class CrashReaders : public testing::TestWithParam<std::tuple<int, int>> {
protected:
    const Crash::Type& Type() const { return *Crash::Find(std::get<0>(GetParam())); }
    int Thread() const { return std::get<1>(GetParam()); }

    void MakeDump()
    {
        CrashServer server;
        mSandbox.Run({ Thread() == 0 ? "-tcmt" : "-tcwt", Type().word, "--url", server.Url() });
        mSandbox.WaitForSenders();
        ASSERT_EQ(server.Reports().size(), 1U) << mSandbox.Log();
        std::ofstream(Dump(), std::ios::binary) << server.Reports()[0].dump;
    }

    Told Read(const std::string& reader, const std::string& program, const std::string& symbols = SYMBOLS)
    {
        const Ended ended = mSandbox.RunProgram(
            { "/usr/bin/env", "python3", READ_DUMP, reader, program, Dump(), CRASH_HOST, symbols });
        EXPECT_EQ(ended.status, 0) << ended.err;
        Told told;
        std::istringstream lines(ended.out);
        std::getline(lines, told.reason);
        std::string line;
        std::getline(lines, line);
        told.thread = std::atoi(line.c_str());
        while (std::getline(lines, line)) {
            const std::size_t blank = line.find(' ');
            told.functions.push_back(line.substr(0, blank));
            told.places.push_back(line.substr(blank + 1));
        }
        return told;
    }

    // Names differ in how they tell name spaces and templates; places do not. Where the processor stood on no code,
    // lldb finds one frame more than Breakpad does.
    void ExpectTheSame(const Told& breakpad, const Told& other) const
    {
        EXPECT_EQ(other.reason.rfind(breakpad.reason.substr(0, breakpad.reason.find('/')), 0), 0U)
            << other.reason;
        EXPECT_EQ(other.thread, breakpad.thread);
        const auto mine = std::find(breakpad.functions.begin(), breakpad.functions.end(), Type().function);
        const auto its = std::find(other.functions.begin(), other.functions.end(), Type().function);
        ASSERT_NE(mine, breakpad.functions.end());
        ASSERT_NE(its, other.functions.end());
        const auto more = (its - other.functions.begin()) - (mine - breakpad.functions.begin());
        EXPECT_TRUE(more == 0 || (more == 1 && Type().word == std::string("TC_GC"))) << more;
        EXPECT_EQ(Places(other, its - other.functions.begin()),
                  Places(breakpad, mine - breakpad.functions.begin()));
    }

    static std::vector<std::string> Places(const Told& told, std::ptrdiff_t first)
    {
        return { told.places.begin() + first, told.places.end() };
    }

    // Of the host; those of the libraries, without which much of a stack is guessed, are Breakpad's.
    std::string MozillasSymbols(const std::string& program)
    {
        const std::string folder = (mSandbox.Folder() / "symbols").string();
        fs::create_directory(folder);
        const fs::path host = fs::path(CRASH_HOST).filename();
        for (const fs::directory_entry& library : fs::directory_iterator(SYMBOLS)) {
            if (library.is_directory() && library.path().filename() != host) {
                fs::create_directory_symlink(library.path(), folder + "/" + library.path().filename().string());
            }
        }
        const Ended ended = mSandbox.RunProgram({ program, "--inlines", "--store", folder, CRASH_HOST });
        EXPECT_EQ(ended.status, 0) << ended.err;
        return folder;
    }

    std::string Dump() const { return (mSandbox.Folder() / "received").string(); }

    CrashSandbox mSandbox;
};

std::string nameOf(const testing::TestParamInfo<std::tuple<int, int>>& info)
{
    return std::string(Crash::Find(std::get<0>(info.param))->word)
        + (std::get<1>(info.param) == 0 ? "_main" : "_worker");
}

} // namespace

TEST(CrashReader, AllAreThere)
{
    std::string missing;
    for (const char* name : { "minidump-stackwalk", "dump_syms" }) {
        missing += builtReader(name).empty() ? std::string(" ") + name + " (tools/readers builds it)" : "";
    }
    missing += lldb().empty() ? " lldb (Debian: lldb)" : "";
    if (!missing.empty()) {
        GTEST_SKIP() << "no dump is read by" << missing;
    }
}

TEST_P(CrashReaders, TellTheSameAsBreakpads)
{
    const std::string rust = builtReader("minidump-stackwalk");
    const std::string dumpSyms = builtReader("dump_syms");
    if (rust.empty() && dumpSyms.empty() && lldb().empty()) {
        GTEST_SKIP() << "none of the other readers is there";
    }
    MakeDump();
    const Told breakpad = Read("breakpad", STACKWALK);
    EXPECT_EQ(breakpad.reason.rfind(Type().reason, 0), 0U) << breakpad.reason;
    EXPECT_EQ(breakpad.thread, Thread());
    if (!rust.empty()) {
        const Told told = Read("rust", rust);
        ExpectTheSame(breakpad, told);
        EXPECT_EQ(told.reason.rfind(breakpad.reason, 0), 0U) << told.reason << ", the kind of fault too";
    }
    if (!dumpSyms.empty()) {
        const std::string symbols = MozillasSymbols(dumpSyms);
        ExpectTheSame(breakpad, Read("breakpad", STACKWALK, symbols));
        if (!rust.empty()) {
            ExpectTheSame(breakpad, Read("rust", rust, symbols));
        }
    }
    if (!lldb().empty()) {
        ExpectTheSame(breakpad, Read("lldb", lldb()));
    }
}

INSTANTIATE_TEST_SUITE_P(Breakpad, CrashReaders, testing::Combine(testing::Range(0, 8), testing::Values(0, 1)),
                         nameOf);
