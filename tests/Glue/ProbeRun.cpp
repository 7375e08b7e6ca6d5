#include "ProbeRun.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>

extern "C" char** environ;

namespace {

namespace files = std::filesystem;

std::string readFile(const std::string& path)
{
    std::ifstream file(path, std::ios::binary);
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

void writeFile(const std::string& path, const std::string& text)
{
    std::ofstream(path, std::ios::binary) << text;
    // Foundation refuses a configuration that others may write to.
    files::permissions(path, files::perms::owner_read | files::perms::owner_write);
}

Strings split(const std::string& text, char separator)
{
    Strings parts;
    std::size_t begin = 0;
    for (std::size_t end; (end = text.find(separator, begin)) != std::string::npos; begin = end + 1) {
        parts.push_back(text.substr(begin, end - begin));
    }
    parts.push_back(text.substr(begin));
    return parts;
}

std::string wideWord(const std::optional<std::wstring>& text)
{
    if (!text) {
        return "null";
    }
    std::ostringstream word;
    word << "w" << std::hex;
    for (std::size_t i = 0; i < text->size(); ++i) {
        word << (i == 0 ? "" : ",") << static_cast<unsigned long>((*text)[i]);
    }
    return word.str();
}

std::vector<char*> pointers(Strings& strings)
{
    std::vector<char*> list;
    for (std::string& string : strings) {
        list.push_back(string.data());
    }
    list.push_back(nullptr);
    return list;
}

// GNUstep takes the home folder from the password file, so only its own configuration file can lead it
// elsewhere. Its other settings would lead it back. Where AddressSanitizer is built in, its leak checker is
// told what to expect, and sees through libraries that have no frame pointers.
Strings environmentFor(const std::string& configurationFile)
{
    Strings environment = {
        "GNUSTEP_CONFIG_FILE=" + configurationFile,
        "ASAN_OPTIONS=fast_unwind_on_malloc=0",
        "LSAN_OPTIONS=suppressions=" FALLCATCH_LEAK_SUPPRESSIONS ":print_suppressions=0",
    };
    const Strings replaced = { "GNUSTEP_", "ASAN_OPTIONS=", "LSAN_OPTIONS=" };
    for (char** variable = environ; *variable != nullptr; ++variable) {
        const auto begins = [variable](const std::string& name) {
            return std::string(*variable).rfind(name, 0) == 0;
        };
        if (std::none_of(replaced.begin(), replaced.end(), begins)) {
            environment.push_back(*variable);
        }
    }
    return environment;
}

// Runs a program with its three streams in the files "in", "out" and "err" of a folder. Returns what waitpid
// says.
int runProgram(const std::string& path, Strings arguments, Strings environment, const std::string& folder)
{
    posix_spawn_file_actions_t streams;
    posix_spawn_file_actions_init(&streams);
    const int create = O_WRONLY | O_CREAT | O_TRUNC;
    posix_spawn_file_actions_addopen(&streams, 0, (folder + "/in").c_str(), O_RDONLY, 0);
    posix_spawn_file_actions_addopen(&streams, 1, (folder + "/out").c_str(), create, 0600);
    posix_spawn_file_actions_addopen(&streams, 2, (folder + "/err").c_str(), create, 0600);
    pid_t child = 0;
    const int error = posix_spawn(&child, path.c_str(), &streams, nullptr, pointers(arguments).data(),
                                  pointers(environment).data());
    posix_spawn_file_actions_destroy(&streams);
    EXPECT_EQ(error, 0) << path;
    int status = -1;
    if (error == 0) {
        waitpid(child, &status, 0);
    }
    return status;
}

} // namespace

void PrintTo(const Entry& entry, std::ostream* out)
{
    *out << entry.keyClass << " -> " << entry.valueClass << " \"" << entry.value << "\"";
}

Entry Text(const std::string& value)
{
    return { "NSString", "NSString", value };
}

ProbeResult::ProbeResult(const std::string& output)
{
    std::istringstream lines(output);
    for (std::string line; std::getline(lines, line);) {
        events.push_back(split(line, '\t'));
    }
}

std::vector<Strings> ProbeResult::Named(const std::string& name) const
{
    std::vector<Strings> found;
    for (const Strings& event : events) {
        if (event[0] == name) {
            found.emplace_back(event.begin() + 1, event.end());
        }
    }
    return found;
}

Strings ProbeResult::Names() const
{
    Strings names;
    for (const Strings& event : events) {
        if (event[0] != "entry") {
            names.push_back(event[0]);
        }
    }
    return names;
}

Configuration ProbeResult::LatestConfiguration() const
{
    Configuration configuration;
    for (const Strings& event : events) {
        if (event[0] == "create") {
            configuration.clear();
        } else if (event[0] == "entry") {
            configuration[event[2]] = { event[1], event[3], event[4] };
        }
    }
    return configuration;
}

std::string ProbeResult::Value(const std::string& key) const
{
    const Configuration configuration = LatestConfiguration();
    const auto entry = configuration.find(key);
    return entry == configuration.end() ? "<no such key>" : entry->second.value;
}

Strings ProbeResult::Messages() const
{
    Strings messages;
    for (const Strings& fields : Named("log")) {
        messages.push_back(fields[0]);
    }
    return messages;
}

Configuration BundleInformation()
{
    return {
        { "CFBundleName", Text("Probe") },
        { "BreakpadProduct", Text("Product of the bundle") },
        { "BreakpadVersion", Text("0.1") },
        { "BreakpadURL", Text("http://bundle.example/submit") },
        { "BreakpadServerType", Text("server type of the bundle") },
        { "BreakpadReportInterval", Text("77") },
        { "ver", Text("not mapped in the bundle") },
        { "OnlyInTheBundle", Text("kept") },
        { "ListInTheBundle", { "NSString", "NSArray", "(one, two)" } },
    };
}

Probe::Probe(const std::string& program)
    : mProgram(program)
    , mPath(std::string(FALLCATCH_PROBE_DIR) + "/" + program + ".app/" + program)
    , mArguments({ mPath })
{
    std::string folder = (files::temp_directory_path() / "fallcatch-probe-XXXXXX").string();
    if (mkdtemp(folder.data()) == nullptr) {
        std::perror(folder.c_str());
        std::abort();
    }
    mFolder = folder;
    files::create_directory(mFolder + "/defaults");
    writeFile(mFolder + "/GNUstep.conf",
              "GNUSTEP_USER_CONFIG_FILE=" + mFolder + "/none\nGNUSTEP_USER_DIR=" + mFolder
                  + "/user\nGNUSTEP_USER_DEFAULTS_DIR=" + mFolder + "/defaults\n");
}

Probe::~Probe()
{
    std::error_code ignored;
    files::remove_all(mFolder, ignored);
}

void Probe::LeaveBundle()
{
    const std::string copy = mFolder + "/" + mProgram;
    files::copy_file(mPath, copy);
    mPath = copy;
    mArguments[0] = copy;
}

void Probe::UserDefaults(const std::string& propertyList)
{
    writeFile(mFolder + "/defaults/" + mProgram + ".plist", propertyList);
}

void Probe::Arguments(const Strings& arguments)
{
    mArguments.insert(mArguments.end(), arguments.begin(), arguments.end());
}

void Probe::Call(const Strings& words)
{
    for (std::size_t i = 0; i < words.size(); ++i) {
        mScript += (i == 0 ? "" : "\t") + words[i];
    }
    mScript += "\n";
}

Strings Probe::Words(const InitCall& call)
{
    const int all = static_cast<int>(call.parameters.size());
    Strings words = { "init",
                      call.unused1,
                      call.unused2,
                      wideWord(call.url),
                      std::to_string(call.count.value_or(all)),
                      call.nullList ? "null" : "list" };
    for (const std::optional<std::wstring>& parameter : call.parameters) {
        words.push_back(wideWord(parameter));
    }
    return words;
}

ProbeResult Probe::Run()
{
    writeFile(mFolder + "/in", mScript);
    const int status = runProgram(mPath, mArguments, environmentFor(mFolder + "/GNUstep.conf"), mFolder);
    EXPECT_TRUE(WIFEXITED(status)) << "ended by signal " << WTERMSIG(status);
    EXPECT_EQ(WIFEXITED(status) ? WEXITSTATUS(status) : -1, 0);
    EXPECT_EQ(readFile(mFolder + "/err"), "");
    return ProbeResult(readFile(mFolder + "/out"));
}
