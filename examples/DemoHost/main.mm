// A host that shows all of fallcatch at work.
#include "DemoBridge.h"
#include "DemoLogging.h"
#include "DemoOptions.h"

#include "BreakpadRecorder.h"
#include "CrashTypes.h"
#include "KxThread.h"

#import <Foundation/NSException.h>

#include <clocale>
#include <cstdio>
#include <cstdlib>

namespace {

// "%S" in a log format and the texts of the command line follow the host's locale. Where that knows ASCII only,
// wide texts would come out empty. By way of the environment, because GNUstep sets the locale again from it.
void useLocale()
{
    if (std::setlocale(LC_CTYPE, "") == nullptr || MB_CUR_MAX == 1) {
        setenv("LC_ALL", "C.UTF-8", 1);
        std::setlocale(LC_CTYPE, "");
    }
}

// GNUstep would end the program by exit(1), which no crash reporter sees.
void abortOnUncaught(NSException*)
{
    std::abort();
}

} // namespace

int main(int argc, char** argv)
{
    useLocale();
    const DemoOptions options = ReadOptions(argc, argv);
    if (!options.mError.empty()) {
        std::fprintf(stderr, "DemoHost: %s; see DemoHost --help\n", options.mError.c_str());
        return 2;
    }
    if (options.mHelp) {
        PrintHelp();
        return 0;
    }

    NSSetUncaughtExceptionHandler(abortOnUncaught);
    KxThread::Initialize();
    StartLogging();
    CrashRequest request;
    if (!ShowBridge(options, request)) {
        std::fprintf(stderr, "DemoHost: the reporter refused the configuration\n");
        return 1;
    }
    std::puts("\nWhat the scan for a crash test logged:\n");
    const bool complete = ShowLogging();
    if (request.IsComplete()) {
        std::puts("\nNow the crash that the command line asks for.");
        std::fflush(stdout);
        Crash::Perform(request.mCodes, request.mCount, PrepareThreadForCrash);
    }
    return complete ? 0 : 1;
}
