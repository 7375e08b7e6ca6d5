// Records what the bridge tells the reporter. Two sources implement it: BreakpadRecorder.mm stands in for
// Breakpad and reports nothing to anyone; BreakpadObserver.mm listens and passes every call on to the real one.
#ifndef FALLCATCH_EXAMPLES_BREAKPAD_RECORDER_H
#define FALLCATCH_EXAMPLES_BREAKPAD_RECORDER_H

#include <string>
#include <vector>

@class NSDictionary;

// What the reporter was created with; nil before BreakpadCreate.
NSDictionary* RecordedConfiguration();

// One line for each call after BreakpadCreate, in order.
const std::vector<std::string>& RecordedCalls();

// Makes a thread's stack overflow reportable, where the real Breakpad is there.
void PrepareThreadForCrash();

#endif
