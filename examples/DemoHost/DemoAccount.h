// Counts what the logger outputs and compares it with what was logged. The counting functions run on the thread
// that collects, the others between passes.
#ifndef FALLCATCH_EXAMPLES_DEMO_ACCOUNT_H
#define FALLCATCH_EXAMPLES_DEMO_ACCOUNT_H

// Takes one line into account. False while it should not be shown, see BeginElision.
bool CountLine(const char* line);
// Takes one call of the structured callback into account.
void CountStructured();

// From here on, of runs of lines whose message begins with this text only the first two and the last are shown.
void BeginElision(const char* message);
void EndElision();

// Prints the account; true when lines, markers and gaps add up to the number of calls.
bool PrintAccount(int calls);

#endif
