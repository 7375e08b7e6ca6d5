// The linker's --wrap option sends the bridge's calls here and this file's to the real Breakpad.
#include "BreakpadRecorder.h"

#include "fallcatch_breakpad.h"

#import <Foundation/NSDictionary.h>
#import <Foundation/NSString.h>

extern "C" {

void* __real_BreakpadCreate(NSDictionary* configuration);
void __real_BreakpadSetKeyValue(void* reporter, NSString* key, NSString* value);
void __real_BreakpadRelease(void* reporter);

void* __wrap_BreakpadCreate(NSDictionary* configuration);
void __wrap_BreakpadSetKeyValue(void* reporter, NSString* key, NSString* value);
void __wrap_BreakpadRelease(void* reporter);

} // extern "C"

namespace {

NSDictionary* gConfiguration = nil;
std::vector<std::string> gCalls;
void* gReporter = nullptr;

std::string handleText(void* reporter)
{
    return reporter == gReporter ? "the reporter" : "an unknown handle";
}

} // namespace

NSDictionary* RecordedConfiguration()
{
    return gConfiguration;
}

const std::vector<std::string>& RecordedCalls()
{
    return gCalls;
}

void PrepareThreadForCrash()
{
    FallcatchBreakpadPrepareThread();
}

void* __wrap_BreakpadCreate(NSDictionary* configuration)
{
    gConfiguration = [configuration copy];
    gReporter = __real_BreakpadCreate(configuration);
    return gReporter;
}

void __wrap_BreakpadSetKeyValue(void* reporter, NSString* key, NSString* value)
{
    gCalls.push_back("set " + std::string([key UTF8String]) + " to " + [value UTF8String] + " on "
                     + handleText(reporter));
    __real_BreakpadSetKeyValue(reporter, key, value);
}

void __wrap_BreakpadRelease(void* reporter)
{
    gCalls.push_back("release " + handleText(reporter));
    __real_BreakpadRelease(reporter);
}
