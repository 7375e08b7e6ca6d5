// A small host that starts the reporter and then crashes as its command line asks.
#include "CrashTypes.h"
#include "Scenarios.h"
#include "fallcatch.h"
#include "fallcatch_breakpad.h"

#import <Foundation/NSAutoreleasePool.h>
#import <Foundation/NSException.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

namespace {

struct Options {
    std::wstring url;
    std::vector<std::wstring> parameters;
    bool hasInterval = false;
    int interval = 0;
    std::string scenario;
};

// GNUstep would end the program by exit(1), which no crash reporter sees.
void abortOnUncaught(NSException*)
{
    std::abort();
}

void prepareThread()
{
    FallcatchBreakpadPrepareThread();
    Scenarios::SayLastWords("the next step is the one that goes wrong");
}

std::wstring widen(const char* text)
{
    // Command lines of this host are ASCII.
    return std::wstring(text, text + std::strlen(text));
}

int usage()
{
    std::printf("usage: CrashHost [OPTION]... [-tcmt TYPE | -tcwt TYPE]\n"
                "\n"
                "%s"
                "\n"
                "  --list               the crash types, for programs\n"
                "  --url URL            where reports go\n"
                "  --parameter KEY=VAL  handed to FallcatchInit; may be repeated\n"
                "  --interval SECONDS   set after the start\n"
                "  --scenario NAME      what happens before the crash, or instead of one:\n"
                "%s",
                Crash::Help().c_str(), Scenarios::Help().c_str());
    return EXIT_SUCCESS;
}

bool parse(int argc, char** argv, Options& options)
{
    for (int i = 1; i < argc; ++i) {
        const std::string name = argv[i];
        if (name.size() > 1 && name[0] == '-' && name[1] != '-') {
            ++i; // for GetTestCommandsList, or a user default such as -serverName
        } else if (i + 1 == argc) {
            return false;
        } else if (name == "--url") {
            options.url = widen(argv[++i]);
        } else if (name == "--parameter") {
            options.parameters.push_back(widen(argv[++i]));
        } else if (name == "--interval") {
            options.hasInterval = true;
            options.interval = std::atoi(argv[++i]);
        } else if (name == "--scenario") {
            options.scenario = argv[++i];
        } else {
            return false;
        }
    }
    return options.scenario.empty() || Scenarios::IsKnown(options.scenario);
}

} // namespace

int main(int argc, char** argv)
{
    Options options;
    if (argc == 2 && std::strcmp(argv[1], "--help") == 0) {
        return usage();
    }
    if (argc == 2 && std::strcmp(argv[1], "--list") == 0) {
        std::printf("%s", Crash::List().c_str());
        return EXIT_SUCCESS;
    }
    if (!parse(argc, argv, options)) {
        std::fprintf(stderr, "CrashHost: see CrashHost --help\n");
        return 2;
    }
    NSAutoreleasePool* pool = [[NSAutoreleasePool alloc] init];
    NSSetUncaughtExceptionHandler(abortOnUncaught);

    std::vector<const wchar_t*> parameters;
    for (const std::wstring& parameter : options.parameters) {
        parameters.push_back(parameter.c_str());
    }
    void* reporter = FallcatchInit(nullptr, options.url.c_str(), nullptr, parameters.data(),
                                   static_cast<int>(parameters.size()));
    std::printf("reporter: %s\n", reporter != nullptr ? "started" : "none");
    std::fflush(stdout);
    if (options.hasInterval) {
        FallcatchSetReportInterval(reporter, options.interval);
    }
    Scenarios::Run(options.scenario, reporter);

    int codes[2];
    const int count = GetTestCommandsList(codes, 2);
    Scenarios::SayLastWords("now doing what the command line asks for");
    Crash::Perform(codes, count, prepareThread);
    if (options.scenario != "release") {
        FallcatchRelease(reporter);
    }
    [pool release];
    return EXIT_SUCCESS;
}
