// Stands in for Breakpad: records what it is given and reports nothing to anyone.
#ifndef FALLCATCH_EXAMPLES_BREAKPAD_RECORDER_H
#define FALLCATCH_EXAMPLES_BREAKPAD_RECORDER_H

#include <string>
#include <vector>

@class NSDictionary;

// What the reporter was created with; nil before BreakpadCreate.
NSDictionary* RecordedConfiguration();

// One line for each call after BreakpadCreate, in order.
const std::vector<std::string>& RecordedCalls();

#endif
