// Runs the crash host with a home folder of its own and watches what it leaves behind.
#ifndef FALLCATCH_TESTS_CRASH_SANDBOX_H
#define FALLCATCH_TESTS_CRASH_SANDBOX_H

#include <filesystem>
#include <string>
#include <sys/types.h>
#include <utility>
#include <vector>

struct Ended {
    int signal = 0; // 0 after a normal end
    int status = 0;
    std::string out;
    std::string err;
};

class CrashSandbox {
public:
    using Strings = std::vector<std::string>;

    CrashSandbox();
    CrashSandbox(const CrashSandbox&) = delete;
    CrashSandbox& operator=(const CrashSandbox&) = delete;
    ~CrashSandbox();

    const std::filesystem::path& Folder() const { return mFolder; }
    std::filesystem::path StateFolder() const { return mFolder / "home/Library/Caches/Breakpad/CrashHost"; }

    // How many seconds senders that are started from now on wait for a byte.
    void SetPatience(int seconds) { mPatience = seconds; }

    // Of processes that are started from now on, as NAME=VALUE.
    void SetVariable(const std::string& variable) { mVariables.push_back(variable); }

    // The host with these arguments, in the sandbox's folder, until its end.
    Ended Run(const Strings& arguments);
    // The same under a tracer that hands on every signal, as a debugger does when told to continue.
    Ended RunTraced(const Strings& arguments);
    // Any program with the host's environment.
    Ended RunProgram(const Strings& commandLine);

    // Senders outlive their hosts. Here they become children of the test, which waits for all of them.
    void WaitForSenders();

    // As if the times were over for which senders leave places in peace.
    void LetTimePass();

    // Files below the folder whose names end so.
    std::vector<std::filesystem::path> Files(const std::string& suffix) const;
    std::vector<std::filesystem::path> Dumps() const { return Files(".dmp"); }
    // Nothing waits to be sent, nothing is half written.
    bool IsClean() const;
    std::string Log() const;

private:
    pid_t start(const Strings& commandLine, bool traced);
    Ended finish(int status) const;
    Strings environment() const;

    std::filesystem::path mFolder;
    int mPatience = 0;
    Strings mVariables;
};

std::string ReadFile(const std::filesystem::path& path);

#endif
