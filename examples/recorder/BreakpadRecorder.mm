#include "BreakpadRecorder.h"

#include "BreakpadInterface.h"

#import <Foundation/NSDictionary.h>
#import <Foundation/NSString.h>

namespace {

NSDictionary* gConfiguration = nil;
std::vector<std::string> gCalls;
int gReporter = 0; // its address is the handle

std::string handleText(void* reporter)
{
    return reporter == &gReporter ? "the reporter" : "an unknown handle";
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

void PrepareThreadForCrash() { }

extern "C" {

void* BreakpadCreate(NSDictionary* configuration)
{
    gConfiguration = [configuration copy];
    return &gReporter;
}

void BreakpadSetKeyValue(void* reporter, NSString* key, NSString* value)
{
    gCalls.push_back("set " + std::string([key UTF8String]) + " to " + [value UTF8String] + " on "
                     + handleText(reporter));
}

void BreakpadRelease(void* reporter)
{
    gCalls.push_back("release " + handleText(reporter));
}

} // extern "C"
