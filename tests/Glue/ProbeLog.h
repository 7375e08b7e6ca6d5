// Switches the logger on inside the probe and shows what reaches it.
#ifndef FALLCATCH_TESTS_PROBE_LOG_H
#define FALLCATCH_TESTS_PROBE_LOG_H

#include <string>

// Creates the log manager, with its messages printed as events:
//     log          text, context's name, category codes
// `categories` holds the numbers of those to enable, separated by commas, or "all".
void startLog(const std::string& categories);

// Throws the manager's master switch.
void switchLogOff();

// Prints whether there is a manager:
//     log-state    none or some
void printLogState();

// Sees to it that the collection thread leaves the calling thread's records in the ring; prints them with
//     ring         the bytes, hexadecimal
void holdLog();
void printRing();

// Has everything output and deletes the manager.
void finishLog();

#endif
