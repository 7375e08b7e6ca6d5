// Watches, from inside the process, what the bridge does with Foundation's objects.
#ifndef FALLCATCH_TESTS_PROBE_WATCH_H
#define FALLCATCH_TESTS_PROBE_WATCH_H

// Replaces the methods that are watched. Before this nothing of Foundation is touched.
void installWatch();

// Between the two, events are printed for
//     pool         init or release, number of the pool, counted up from 1
// and the strings that are made from wide text or from a format are remembered.
void startWatch();
void stopWatch();

// Prints, after it has emptied the configuration, how many owners are left of what the bridge made:
//     owners       dictionary or string, number of owners, text
void printOwners();

// The next NSMutableDictionary that anyone asks for is nil.
void refuseNextDictionary();

#endif
