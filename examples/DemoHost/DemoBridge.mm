#include "DemoBridge.h"

#include "BreakpadRecorder.h"
#include "fallcatch.h"

#import <Foundation/NSArray.h>
#import <Foundation/NSAutoreleasePool.h>
#import <Foundation/NSBundle.h>
#import <Foundation/NSDictionary.h>
#import <Foundation/NSString.h>
#import <Foundation/NSUserDefaults.h>

#include <cstdio>
#include <set>
#include <string>

namespace {

constexpr int kHour = 3600;

std::string keyOf(const std::wstring& parameter)
{
    const std::wstring key = parameter.substr(0, parameter.find(L'='));
    if (key == L"ver") {
        return "BreakpadVersion";
    }
    if (key == L"prod") {
        return "BreakpadProduct";
    }
    NSString* text = [[[NSString alloc] initWithBytes:key.data()
                                               length:key.size() * sizeof(wchar_t)
                                             encoding:NSUTF32LittleEndianStringEncoding] autorelease];
    return text != nil ? [text UTF8String] : "";
}

std::set<std::string> keysOfHost(const DemoOptions& options)
{
    std::set<std::string> keys;
    for (const std::wstring& parameter : options.mParameters) {
        if (parameter.find(L'=') != std::wstring::npos) {
            keys.insert(keyOf(parameter));
        }
    }
    return keys;
}

const char* sourceOfUrl(const DemoOptions& options)
{
    if ([[NSUserDefaults standardUserDefaults] stringForKey:@"serverName"] != nil) {
        return "user default serverName";
    }
    return options.mUrl.empty() ? "built in" : "host, default URL";
}

std::string sourceOf(NSString* key, const DemoOptions& options, const std::set<std::string>& hostKeys)
{
    if (hostKeys.count([key UTF8String]) != 0) {
        return "host, parameter";
    }
    if ([key isEqualToString:@"BreakpadURL"]) {
        return sourceOfUrl(options);
    }
    if ([key isEqualToString:@"BreakpadServerType"] || [key isEqualToString:@"BreakpadReportInterval"]) {
        return "fallcatch";
    }
    return "bundle";
}

void printConfiguration(const DemoOptions& options)
{
    NSDictionary* configuration = RecordedConfiguration();
    const std::set<std::string> hostKeys = keysOfHost(options);
    std::printf("  %-24s %-36s %s\n", "key", "value", "source");
    NSArray* keys = [[configuration allKeys] sortedArrayUsingSelector:@selector(compare:)];
    for (NSUInteger i = 0; i < [keys count]; ++i) {
        NSString* key = [keys objectAtIndex:i];
        std::printf("  %-24s %-36s %s\n", [key UTF8String],
                    [[[configuration objectForKey:key] description] UTF8String],
                    sourceOf(key, options, hostKeys).c_str());
    }
}

void printTestCommands(const CrashRequest& request)
{
    std::printf("  GetTestCommandsList returned %d", request.mCount);
    if (request.mCount > 0) {
        std::printf(": crash on the %s thread", request.mCodes[0] == 0 ? "main" : "worker");
    }
    if (request.IsComplete()) {
        std::printf(", type %d", request.mCodes[1]);
    }
    std::puts("");
}

void* createReporter(const DemoOptions& options)
{
    std::vector<const wchar_t*> parameters;
    for (const std::wstring& parameter : options.mParameters) {
        parameters.push_back(parameter.c_str());
    }
    return FallcatchInit(nullptr, options.mUrl.c_str(), nullptr, parameters.data(),
                         static_cast<int>(parameters.size()));
}

} // namespace

bool ShowBridge(const DemoOptions& options, CrashRequest& request)
{
    NSAutoreleasePool* pool = [[NSAutoreleasePool alloc] init];
    void* reporter = createReporter(options);
    if (reporter != nullptr) {
        std::puts("The configuration that the reporter received from FallcatchInit:\n");
        printConfiguration(options);
        std::puts("\nThe other three functions:\n");
        request.mCount = GetTestCommandsList(request.mCodes, 2);
        printTestCommands(request);
        // A tester wants every report; a product, one an hour.
        FallcatchSetReportInterval(reporter, request.IsComplete() ? 0 : kHour);
        if (!request.IsComplete()) {
            FallcatchRelease(reporter);
        }
        for (const std::string& call : RecordedCalls()) {
            std::printf("  the reporter was told: %s\n", call.c_str());
        }
    }
    [pool release];
    return reporter != nullptr;
}
