// Stands in for the Breakpad framework inside a test program: every call is printed as an event.
//
// An event is one line of standard output, its fields separated by tabs:
//     create       NSMutableDictionary or another class; one line "entry" per key follows
//     entry        key's class, key, value's class, value
//     set          handle, key's class, key, value's class, value
//     release      handle
//     emptied      the autorelease pool that was in force during the create or set above has gone
#ifndef FALLCATCH_TESTS_BREAKPAD_EVENTS_H
#define FALLCATCH_TESTS_BREAKPAD_EVENTS_H

#include <string>
#include <vector>

// A backslash, a tab, a newline and other control characters are printed as \xHH. Any thread.
void printEvent(const std::vector<std::string>& fields);

// Hexadecimal, without a prefix.
std::string addressText(const void* address);

// What BreakpadCreate returns from now on; null at first.
void setReporterToReturn(void* reporter);

#ifdef __OBJC__
@class NSMutableDictionary;
@class NSString;

std::string textOf(NSString* string);

// The dictionary that BreakpadCreate got last, or nil. The recorder is one more owner of it.
NSMutableDictionary* lastConfiguration();
#endif

#endif
