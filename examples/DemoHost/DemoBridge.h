// The demo of the crash-reporter bridge.
#ifndef FALLCATCH_EXAMPLES_DEMO_BRIDGE_H
#define FALLCATCH_EXAMPLES_DEMO_BRIDGE_H

#include "DemoOptions.h"

// Creates the reporter, prints the configuration that reached it with the source of each value, changes the
// interval, scans the command line for a crash test, releases the reporter, and prints what came back. False
// when the reporter was not created.
bool ShowBridge(const DemoOptions& options);

#endif
