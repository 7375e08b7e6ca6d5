#include "BreakpadInterface.h"

#include "Configuration.h"
#include "fallcatch_breakpad.h"
#include "Reporter.h"

#import <Foundation/NSAutoreleasePool.h>
#import <Foundation/NSDictionary.h>
#import <Foundation/NSString.h>

#include <stdio.h>

using BreakpadLinux::Reporter;

#define EXPORTED __attribute__((visibility("default")))

namespace {

bool isText(id value)
{
    return [value isKindOfClass:[NSString class]];
}

} // namespace

EXPORTED void* BreakpadCreate(NSDictionary* configuration)
{
    NSAutoreleasePool* pool = [[NSAutoreleasePool alloc] init];
    std::string why;
    const auto settings = BreakpadLinux::ReadConfiguration(configuration, why);
    void* reporter = nullptr;
    if (settings) {
        reporter = new Reporter(*settings);
    } else {
        fprintf(stderr, "fallcatch: crashes are not reported: %s\n", why.c_str());
    }
    [pool release];
    return reporter;
}

EXPORTED void BreakpadSetKeyValue(void* reporter, NSString* key, NSString* value)
{
    if (reporter == nullptr || key == nil) {
        return;
    }
    NSAutoreleasePool* pool = [[NSAutoreleasePool alloc] init];
    if (!isText(key) || (value != nil && !isText(value))) {
        fprintf(stderr, "fallcatch: a key or value that is not a string is ignored\n");
    } else if (value == nil) {
        static_cast<Reporter*>(reporter)->RemoveKey(BreakpadLinux::Utf8(key));
    } else if ([key isEqual:@"BreakpadReportInterval"]
               && !BreakpadLinux::IsInterval(BreakpadLinux::Utf8(value))) {
        fprintf(stderr, "fallcatch: a report interval that is no number of seconds is ignored\n");
    } else {
        static_cast<Reporter*>(reporter)->SetKeyValue(BreakpadLinux::Utf8(key), BreakpadLinux::Utf8(value));
    }
    [pool release];
}

unsigned int FallcatchBreakpadFolder(const char* product, char* path, unsigned int size)
{
    NSAutoreleasePool* pool = [[NSAutoreleasePool alloc] init];
    const std::string folder = BreakpadLinux::ProductFolder(product != nullptr ? product : "");
    [pool release];
    if (path != nullptr && size > 0) {
        snprintf(path, size, "%s", folder.c_str());
    }
    return static_cast<unsigned int>(folder.size());
}

EXPORTED void BreakpadRelease(void* reporter)
{
    delete static_cast<Reporter*>(reporter);
}
