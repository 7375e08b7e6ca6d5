#include "CrashSandbox.h"

#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <sstream>
#include <sys/prctl.h>
#include <sys/ptrace.h>
#include <sys/wait.h>
#include <unistd.h>

namespace fs = std::filesystem;

namespace {

std::vector<char*> pointers(const CrashSandbox::Strings& strings)
{
    std::vector<char*> result;
    for (const std::string& text : strings) {
        result.push_back(const_cast<char*>(text.c_str()));
    }
    result.push_back(nullptr);
    return result;
}

void redirect(const std::string& path, int flags, int number)
{
    const int file = open(path.c_str(), flags, 0600);
    dup2(file, number);
    close(file);
}

bool endsWith(const std::string& text, const std::string& end)
{
    return text.size() >= end.size() && text.compare(text.size() - end.size(), end.size(), end) == 0;
}

// What a build that counts its branches says where it cannot open its files is no word of the host's.
std::string withoutCounts(const std::string& text)
{
    std::istringstream lines(text);
    std::string kept;
    for (std::string line; std::getline(lines, line);) {
        if (line.rfind("profiling:", 0) != 0) {
            kept += line + "\n";
        }
    }
    return kept.size() <= text.size() ? kept : text; // a last line without its end stays so
}

int waitForEnd(pid_t child)
{
    int status = 0;
    while (waitpid(child, &status, 0) < 0 && errno == EINTR) { }
    return status;
}

} // namespace

std::string ReadFile(const fs::path& path)
{
    std::ifstream file(path, std::ios::binary);
    return { std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>() };
}

CrashSandbox::CrashSandbox()
{
    char pattern[] = "/tmp/fallcatch-crash-XXXXXX";
    mFolder = mkdtemp(pattern);
    const std::string home = (mFolder / "home").string();
    // GNUstep takes the home folder from the password file; only this leads it elsewhere.
    std::ofstream(mFolder / "GNUstep.conf")
        << "GNUSTEP_USER_CONFIG_FILE=none\nGNUSTEP_USER_DIR=" << home << "\nGNUSTEP_USER_DEFAULTS_DIR=" << home
        << "/Defaults\nGNUSTEP_USER_DIR_LIBRARY=" << home << "/Library\n";
    prctl(PR_SET_CHILD_SUBREAPER, 1, 0, 0, 0);
}

CrashSandbox::~CrashSandbox()
{
    WaitForSenders();
    fs::remove_all(mFolder);
}

CrashSandbox::Strings CrashSandbox::environment() const
{
    Strings result;
    for (char** variable = environ; *variable != nullptr; ++variable) {
        const std::string text = *variable;
        const std::string name = text.substr(0, text.find('='));
        if (name.rfind("GNUSTEP_", 0) != 0 && !endsWith(name, "_proxy") && !endsWith(name, "_PROXY")) {
            result.push_back(text);
        }
    }
    result.push_back("GNUSTEP_CONFIG_FILE=" + (mFolder / "GNUstep.conf").string());
    if (mPatience > 0) {
        result.push_back("FALLCATCH_SENDER_TIMEOUT=" + std::to_string(mPatience));
    }
    result.insert(result.end(), mVariables.begin(), mVariables.end());
    return result;
}

pid_t CrashSandbox::start(const Strings& commandLine, bool traced)
{
    const Strings variables = environment();
    const std::vector<char*> arguments = pointers(commandLine);
    const std::vector<char*> environmentPointers = pointers(variables);
    const int create = O_WRONLY | O_CREAT | O_TRUNC;
    const pid_t child = fork();
    if (child == 0) {
        redirect("/dev/null", O_RDONLY, 0);
        redirect((mFolder / "out").string(), create, 1);
        redirect((mFolder / "err").string(), create, 2);
        if (chdir(mFolder.c_str()) == 0) {
            if (traced) {
                ptrace(PTRACE_TRACEME, 0, nullptr, nullptr);
            }
            execve(arguments[0], arguments.data(), environmentPointers.data());
        }
        _exit(127);
    }
    return child;
}

Ended CrashSandbox::finish(int status) const
{
    Ended ended;
    ended.signal = WIFSIGNALED(status) ? WTERMSIG(status) : 0;
    ended.status = WIFEXITED(status) ? WEXITSTATUS(status) : 0;
    ended.out = ReadFile(mFolder / "out");
    ended.err = withoutCounts(ReadFile(mFolder / "err"));
    return ended;
}

Ended CrashSandbox::RunProgram(const Strings& commandLine)
{
    return finish(waitForEnd(start(commandLine, false)));
}

Ended CrashSandbox::Run(const Strings& arguments)
{
    Strings commandLine { CRASH_HOST };
    commandLine.insert(commandLine.end(), arguments.begin(), arguments.end());
    return RunProgram(commandLine);
}

Ended CrashSandbox::RunTraced(const Strings& arguments)
{
    Strings commandLine { CRASH_HOST };
    commandLine.insert(commandLine.end(), arguments.begin(), arguments.end());
    const pid_t child = start(commandLine, true);
    int status = waitForEnd(child);
    // The first stop is that of the program's start. From there on its threads are traced too.
    ptrace(PTRACE_SETOPTIONS, child, nullptr, reinterpret_cast<void*>(PTRACE_O_TRACECLONE));
    for (pid_t thread = child; thread != child || WIFSTOPPED(status); thread = waitpid(-1, &status, __WALL)) {
        if (thread > 0 && WIFSTOPPED(status)) {
            const int stop = WSTOPSIG(status);
            const intptr_t signal = stop == SIGTRAP || stop == SIGSTOP ? 0 : stop;
            ptrace(PTRACE_CONT, thread, nullptr, reinterpret_cast<void*>(signal));
        }
    }
    return finish(status);
}

void CrashSandbox::WaitForSenders()
{
    while (waitpid(-1, nullptr, __WALL) > 0 || errno == EINTR) { }
}

void CrashSandbox::LetTimePass()
{
    for (const fs::path& ledger : Files("Ledger")) {
        fs::remove(ledger);
    }
}

std::vector<fs::path> CrashSandbox::Files(const std::string& suffix) const
{
    std::vector<fs::path> found;
    for (const fs::directory_entry& entry : fs::recursive_directory_iterator(mFolder)) {
        if (entry.is_regular_file() && endsWith(entry.path().filename().string(), suffix)) {
            found.push_back(entry.path());
        }
    }
    return found;
}

bool CrashSandbox::IsClean() const
{
    return Dumps().empty() && Files(".report").empty() && Files(".part").empty();
}

std::string CrashSandbox::Log() const
{
    return ReadFile(StateFolder() / "uploads.log");
}
