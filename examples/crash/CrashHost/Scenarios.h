// Circumstances in which a host may crash.
#ifndef FALLCATCH_EXAMPLES_SCENARIOS_H
#define FALLCATCH_EXAMPLES_SCENARIOS_H

#include <string>

namespace Scenarios {

bool IsKnown(const std::string& name);

// A line for each.
std::string Help();

// Nothing for the empty name. Some of them crash and do not return.
void Run(const std::string& name, void* reporter);

// Logs the text if the scenario was one that logs.
void SayLastWords(const char* words);

} // namespace Scenarios

#endif
