// The three functions of the Breakpad client framework that the bridge calls. The host supplies them.
#ifndef FALLCATCH_BREAKPAD_INTERFACE_H
#define FALLCATCH_BREAKPAD_INTERFACE_H

@class NSDictionary;
@class NSString;

// Visible, so that a host built with hidden symbols can define them for the dynamic library.
#pragma GCC visibility push(default)
extern "C" {

// Returns an opaque handle, or null when it refuses the configuration.
void* BreakpadCreate(NSDictionary* configuration);
void BreakpadSetKeyValue(void* reporter, NSString* key, NSString* value);
void BreakpadRelease(void* reporter);

} // extern "C"
#pragma GCC visibility pop

#endif
