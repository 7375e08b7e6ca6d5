// Runs the probe (Probe.mm) as a process of its own and hands back the events that it printed.
//
//     Probe probe;
//     probe.UserDefaults("{ serverName = \"http://user.example/submit\"; }");
//     probe.Init(InitCall());
//     const ProbeResult result = probe.Run();
#ifndef FALLCATCH_TESTS_PROBE_RUN_H
#define FALLCATCH_TESTS_PROBE_RUN_H

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

using Strings = std::vector<std::string>;

// An address that stands for a reporter; nobody looks behind it.
constexpr const char* kReporter = "5eed0";

struct InitCall {
    std::optional<std::wstring> url = L"http://host.example/submit";
    std::vector<std::optional<std::wstring>> parameters;
    std::optional<int> count; // unless given, as many as there are
    bool nullList = false;
    std::string unused1 = "0";
    std::string unused2 = "0";
};

struct Entry {
    std::string keyClass;
    std::string valueClass;
    std::string value;

    bool operator==(const Entry& other) const
    {
        return keyClass == other.keyClass && valueClass == other.valueClass && value == other.value;
    }
};

void PrintTo(const Entry& entry, std::ostream* out);

using Configuration = std::map<std::string, Entry>;

// An entry of two strings, as all are that the bridge sets.
Entry Text(const std::string& value);

class ProbeResult {
public:
    explicit ProbeResult(const std::string& output);

    // The events in order, each with its name first.
    std::vector<Strings> events;

    // Those of one name, without the name.
    std::vector<Strings> Named(const std::string& name) const;
    // The names of all events but entries, in order.
    Strings Names() const;
    // What the latest BreakpadCreate got.
    Configuration LatestConfiguration() const;
    // The value of one of its keys; "<no such key>" without it.
    std::string Value(const std::string& key) const;
    // The texts of all messages, in order.
    Strings Messages() const;
};

// What the Info-gnustep.plist of the probe's bundle holds.
Configuration BundleInformation();

class Probe {
public:
    // A program of this build: Probe, with the static library, or SharedProbe, with the dynamic one. Each
    // lies in a bundle of its own.
    explicit Probe(const std::string& program = "Probe");
    ~Probe();

    Probe(const Probe&) = delete;
    Probe& operator=(const Probe&) = delete;

    // Runs a copy that has no bundle around it.
    void LeaveBundle();
    // The user's defaults for the probe, as a property list.
    void UserDefaults(const std::string& propertyList);
    // The command line: what the process is told to be its own name, and what comes behind it.
    void Name(const std::string& name) { mArguments[0] = name; }
    void Arguments(const Strings& arguments);

    // One call, see Probe.mm.
    void Call(const Strings& words);
    void Init(const InitCall& call) { Call(Words(call)); }
    static Strings Words(const InitCall& call);

    // Fails the test when the probe does not end with 0 or writes to standard error.
    ProbeResult Run();

private:
    std::string mFolder;
    std::string mProgram;
    std::string mPath;
    Strings mArguments;
    std::string mScript;
};

#endif
