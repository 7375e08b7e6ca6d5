// The demo of the logger.
#ifndef FALLCATCH_EXAMPLES_DEMO_LOGGING_H
#define FALLCATCH_EXAMPLES_DEMO_LOGGING_H

// Creates the log manager and switches every level on. Lines go to standard output.
void StartLogging();

// Logs every value type from four threads, shows the structured callback, floods one ring, and ends logging.
// Prints an account of all log calls of the process; false if it does not add up.
bool ShowLogging();

#endif
