// The demo of the crash-reporter bridge.
#ifndef FALLCATCH_EXAMPLES_DEMO_BRIDGE_H
#define FALLCATCH_EXAMPLES_DEMO_BRIDGE_H

#include "DemoOptions.h"

// What the command line asks for, as GetTestCommandsList found it.
struct CrashRequest {
    int mCodes[2] = { -1, -1 };
    int mCount = 0;

    bool IsComplete() const { return mCount == 2; }
};

// Creates the reporter, prints the configuration that reached it with the source of each value, scans the
// command line for a crash test, changes the interval, and prints what came back. Releases the reporter unless
// a crash is asked for. False when the reporter was not created.
bool ShowBridge(const DemoOptions& options, CrashRequest& request);

#endif
