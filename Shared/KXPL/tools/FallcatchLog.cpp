// fallcatch_log: prints what a crashed process had logged.
#include "hslog/crash/CrashLogText.h"
#include "hslog/crash/DeadLogs.h"

#include <clocale>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <fstream>
#include <iostream>
#include <iterator>
#include <new>
#include <string>

#include <unistd.h>

namespace {

using HSL::CrashLog::CrashLogText;
using HSL::CrashLog::DeadLog;
using HSL::CrashLog::TextOptions;

enum Status {
    kWhole = 0,
    kDamaged = 1, // some of it is shown, and what is missing is told
    kNoLog = 2
};

int usage(std::FILE* out)
{
    std::fputs(
        "usage: fallcatch_log [--all] [--json] [--newest BYTES] [--leave-out LIST] FILE\n"
        "       fallcatch_log [--all] [--json] [--newest BYTES] [--leave-out LIST] --product NAME\n"
        "\n"
        "Prints the messages in a crash log (\"-\": from standard input) as the program would have output "
        "them,\n"
        "then, on standard error, what is missing.\n"
        "With --product those that dead processes of the product left in shared memory, oldest first, and "
        "removes "
        "them.\n"
        "  --all     also those that the program's filter hides\n"
        "  --json    one object a line\n"
        "  --leave-out  not what a host's \"FallcatchLogLeaveOut\" would keep from being sent\n"
        "  --newest  no more than so many bytes of text, the newest\n"
        "Ends with 0, with 1 when something is missing or damaged, and with 2 when there is no log to print.\n",
        out);
    return out == stdout ? kWhole : kNoLog;
}

bool readAll(const std::string& path, std::string& bytes)
{
    if (path == "-") {
        bytes.assign(std::istreambuf_iterator<char>(std::cin), std::istreambuf_iterator<char>());
        return true;
    }
    std::ifstream file(path, std::ios::binary);
    bytes.assign(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
    return file.is_open() && !file.bad();
}

// Wide texts take the form that the locale gives them; a log may hold any of them.
void useUtf8()
{
    for (const char* name : { "C.UTF-8", "en_US.UTF-8", "UTF-8" }) {
        if (std::setlocale(LC_CTYPE, name) != nullptr) {
            return;
        }
    }
    std::setlocale(LC_CTYPE, "");
}

// A terminal obeys control characters, and these come from who knows where.
std::string forTerminal(const std::string& text)
{
    std::string shown;
    for (const char c : text) {
        const unsigned char byte = static_cast<unsigned char>(c);
        if ((byte < 0x20 && c != '\n' && c != '\t') || byte == 0x7F) {
            char code[8];
            std::snprintf(code, sizeof code, "\\x%02X", static_cast<unsigned int>(byte));
            shown += code;
        } else {
            shown += c;
        }
    }
    return shown;
}

// With a newline.
std::string timeText(std::int64_t seconds)
{
    const std::time_t time = static_cast<std::time_t>(seconds);
    char text[64];
    tm local = {};
    const bool isTime = localtime_r(&time, &local) != nullptr
        && std::strftime(text, sizeof text, "%Y-%m-%d %H:%M:%S\n", &local) > 0;
    return isTime ? text : "at no time\n";
}

// False when standard output took not all of it.
bool show(const CrashLogText& text)
{
    const bool isTerminal = isatty(STDOUT_FILENO) != 0;
    const std::string shown = isTerminal ? forTerminal(text.mLines) : text.mLines;
    const bool isOut =
        std::fwrite(shown.data(), 1, shown.size(), stdout) == shown.size() && std::fflush(stdout) == 0;
    const std::string notes = forTerminal(text.mNotes);
    std::fwrite(notes.data(), 1, notes.size(), stderr);
    return isOut;
}

// What was not output is left for the next time.
int printDead(const char* product, const TextOptions& options)
{
    int status = kNoLog;
    const auto print = [&](const DeadLog& log) {
        std::fprintf(stderr, "-- process %d, started %s", log.mProcess, timeText(log.mStarted).c_str());
        if (!log.mWhy.empty()) {
            std::fprintf(stderr, "-- no log: %s; it stays\n", log.mWhy.c_str());
            status = kDamaged;
            return false;
        }
        const CrashLogText text = HSL::CrashLog::textOf(log.mFile, options);
        const bool isOut = show(text);
        status = text.mIsDamaged || !isOut || status == kDamaged ? kDamaged : kWhole;
        return isOut;
    };
    const int taken = HSL::CrashLog::takeDeadLogs(product, print);
    if (taken < 0) {
        std::fprintf(stderr, "fallcatch_log: shared memory objects cannot be listed\n");
    } else if (status == kNoLog) {
        std::fprintf(stderr, "fallcatch_log: no dead process of \"%s\" left a log\n",
                     forTerminal(product).c_str());
    }
    return status;
}

int print(const std::string& path, const TextOptions& options)
{
    std::string file;
    if (!readAll(path, file)) {
        std::fprintf(stderr, "fallcatch_log: %s cannot be read\n", path.c_str());
        return kNoLog;
    }
    const CrashLogText text = HSL::CrashLog::textOf(file, options);
    if (!text.mIsLog) {
        std::fprintf(stderr, "fallcatch_log: %s: %s\n", path.c_str(), text.mWhy.c_str());
        return kNoLog;
    }
    return !show(text) || text.mIsDamaged ? kDamaged : kWhole;
}

} // namespace

int main(int argc, char** argv)
{
    TextOptions options;
    std::string path;
    const char* product = nullptr;
    for (int i = 1; i < argc; ++i) {
        const char* argument = argv[i];
        if (std::strcmp(argument, "--help") == 0 || std::strcmp(argument, "-h") == 0) {
            return usage(stdout);
        }
        if (std::strcmp(argument, "--all") == 0) {
            options.mWithHidden = true;
        } else if (std::strcmp(argument, "--json") == 0) {
            options.mAsJson = true;
        } else if (std::strcmp(argument, "--newest") == 0 && i + 1 < argc) {
            options.mNewest = std::strtoul(argv[++i], nullptr, 10);
        } else if (std::strcmp(argument, "--leave-out") == 0 && i + 1 < argc) {
            options.mLeaveOut = HSL::CrashLog::LeaveOut(argv[++i]);
        } else if (std::strcmp(argument, "--product") == 0 && i + 1 < argc && product == nullptr) {
            product = argv[++i];
        } else if ((argument[0] == '-' && argument[1] != 0) || !path.empty()) {
            return usage(stderr);
        } else {
            path = argument;
        }
    }
    if (path.empty() == (product == nullptr)) {
        return usage(stderr);
    }
    useUtf8();
    try {
        return product != nullptr ? printDead(product, options) : print(path, options);
    } catch (const std::bad_alloc&) {
        std::fprintf(stderr, "fallcatch_log: %s is too large\n", product != nullptr ? product : path.c_str());
        return kNoLog;
    }
}
