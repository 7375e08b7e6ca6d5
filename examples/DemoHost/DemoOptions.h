// The demo host's command line.
#ifndef FALLCATCH_EXAMPLES_DEMO_OPTIONS_H
#define FALLCATCH_EXAMPLES_DEMO_OPTIONS_H

#include <string>
#include <vector>

struct DemoOptions {
    std::wstring mUrl = L"http://reports.example/submit"; // the host's preferred submission URL
    std::vector<std::wstring> mParameters;                // key=value texts for FallcatchInit
    bool mHelp = false;
    std::string mError; // one line; empty when the command line is right
};

// Reads host options. Arguments that Foundation or the crash-test scan read from the process themselves
// (-serverName URL, -tcmt TYPE, -tcwt TYPE) are recognised and otherwise left to them. The locale
// must be set before: texts are converted to wide characters.
DemoOptions ReadOptions(int argc, char** argv);

void PrintHelp();

#endif
