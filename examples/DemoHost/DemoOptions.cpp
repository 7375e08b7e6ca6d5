#include "DemoOptions.h"

#include "CrashTypes.h"

#include <getopt.h>

#include <cstdio>
#include <cstdlib>

namespace {

enum Option {
    kHelp = 1,
    kUrl,
    kParameter,
    kServerName,
    kTestSwitch
};

const struct option kOptions[] = {
    { "help", no_argument, nullptr, kHelp },
    { "url", required_argument, nullptr, kUrl },
    { "parameter", required_argument, nullptr, kParameter },
    { "serverName", required_argument, nullptr, kServerName },
    { "tcmt", no_argument, nullptr, kTestSwitch },
    { "tcwt", no_argument, nullptr, kTestSwitch },
    { nullptr, 0, nullptr, 0 },
};

bool widen(const char* text, std::wstring& wide)
{
    const std::size_t length = std::mbstowcs(nullptr, text, 0);
    if (length == static_cast<std::size_t>(-1)) {
        return false;
    }
    wide.resize(length);
    std::mbstowcs(&wide[0], text, length);
    return true;
}

// getopt reorders the arguments it is given, so it works on a copy.
int nextOption(std::vector<char*>& arguments, int* index)
{
    return getopt_long_only(static_cast<int>(arguments.size()) - 1, arguments.data(), ":", kOptions, index);
}

} // namespace

DemoOptions ReadOptions(int argc, char** argv)
{
    DemoOptions options;
    std::vector<char*> arguments(argv, argv + argc);
    arguments.push_back(nullptr);
    opterr = 0;
    int index = 0;
    for (int option = nextOption(arguments, &index); option != -1; option = nextOption(arguments, &index)) {
        bool readable = true;
        std::wstring parameter;
        switch (option) {
        case kHelp:
            options.mHelp = true;
            return options;
        case kUrl:
            readable = widen(optarg, options.mUrl);
            break;
        case kParameter:
            readable = widen(optarg, parameter);
            options.mParameters.push_back(parameter);
            break;
        case kServerName:
            break;
        case kTestSwitch:
            // Whatever word follows is for the scan to judge.
            if (optind < argc && arguments[static_cast<std::size_t>(optind)][0] != '-') {
                ++optind;
            }
            break;
        default:
            options.mError = std::string(option == ':' ? "no value behind " : "no option ")
                + arguments[static_cast<std::size_t>(optind) - 1];
            return options;
        }
        if (!readable) {
            options.mError = std::string("not text in this locale: ") + optarg;
            return options;
        }
    }
    if (optind < argc) {
        options.mError = std::string("no use for ") + arguments[static_cast<std::size_t>(optind)];
    }
    return options;
}

void PrintHelp()
{
    std::printf("usage: DemoHost [--url URL] [--parameter KEY=VALUE ...] [-serverName URL] [-tcmt|-tcwt TYPE]\n"
                "\n"
                "Shows all of fallcatch at work in one host.\n"
                "\n"
                "  --url URL              the submission URL that this host prefers; may be empty\n"
                "  --parameter KEY=VALUE  handed to FallcatchInit; \"ver\" and \"prod\" are short for the\n"
                "                         version and the product; may be given more than once\n"
                "  -serverName URL        the user default that overrides every other submission URL\n"
                "  --help                 this text\n"
                "\n"
                "%s",
                Crash::Help().c_str());
}
