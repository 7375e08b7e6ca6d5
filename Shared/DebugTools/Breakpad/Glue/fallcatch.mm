#include "fallcatch.h"

#include "BreakpadInterface.h"
#include "hslog/HSL.h"

#import <Foundation/Foundation.h>

#include <wchar.h>

// Memory is managed by hand: what is made with alloc and not released below is meant to stay for the life of
// the process.
#ifdef __has_feature
#if __has_feature(objc_arc)
#error                                                                                                         \
    "fallcatch.mm manages its memory by hand: compile it without -fobjc-arc (Xcode: -fno-objc-arc for this file)"
#endif
#endif

static_assert(sizeof(wchar_t) == 4, "host strings are UTF-32");

namespace {

// Foundation's UTF-32 little-endian encoding, by value.
constexpr NSStringEncoding kUTF32LittleEndian = static_cast<NSStringEncoding>(0x9C000100);
constexpr unsigned char kInfo = 3;

NSString* const kDefaultUrl = @FALLCATCH_DEFAULT_URL;

// Nil for text that is not valid UTF-32. The caller never releases the result.
NSString* stringFromWide(const wchar_t* text)
{
    return [[NSString alloc] initWithBytes:text
                                    length:wcslen(text) * sizeof(wchar_t)
                                  encoding:kUTF32LittleEndian];
}

NSString* submissionUrl(const wchar_t* defaultUrl)
{
    NSString* url = [[NSUserDefaults standardUserDefaults] stringForKey:@"serverName"];
    if (url != nil) {
        return url; // also when empty
    }
    url = stringFromWide(defaultUrl != nullptr ? defaultUrl : L"");
    if ([url length] == 0) {
        return kDefaultUrl;
    }
    return url;
}

void setParameter(NSMutableDictionary* configuration, const wchar_t* parameter)
{
    NSArray* components = [stringFromWide(parameter) componentsSeparatedByString:@"="];
    if ([components count] <= 1) {
        return;
    }
    NSString* key = [components objectAtIndex:0];
    NSString* value = [components objectAtIndex:1];
    if ([key compare:@"ver"] == NSOrderedSame) {
        key = @"BreakpadVersion";
    }
    if ([key compare:@"prod"] == NSOrderedSame) {
        key = @"BreakpadProduct";
    }
    [configuration setObject:value forKey:key];
}

// Collects the codes of GetTestCommandsList.
class Codes {
public:
    explicit Codes(int* codes)
        : mCodes(codes)
    {
    }

    void Append(int code)
    {
        if (mCodes != nullptr) {
            mCodes[mCount++] = code;
        }
    }

    int Count() const { return mCount; }

private:
    int* mCodes;
    int mCount = 0;
};

bool isEqual(NSString* argument, NSString* word)
{
    return [argument compare:word] == NSOrderedSame;
}

void appendCrashType(NSString* argument, Codes& codes)
{
    // A type's code is its index.
    static NSString* const kCrashTypes[]
        = { @"TC_AR",    @"TC_GC",          @"TC_DIV0",           @"TC_DER0",
            @"TC_PUREV", @"TC_RECOVERABLE", @"TC_NONRECOVERABLE", @"TC_CONSTRUCTWITHNULL" };
    int code = 0;
    for (NSString* type : kCrashTypes) {
        if (isEqual(argument, type)) {
            HSL::HSLog(HSL::CCat(kInfo), "Crash type: %s\n", static_cast<const void*>(argument));
            codes.Append(code);
            return;
        }
        ++code;
    }
    HSL::HSLog(HSL::CCat(kInfo), "Unknown crash test case instruction: %s\n",
               static_cast<const void*>(argument));
}

} // namespace

void* FallcatchInit(void*, const wchar_t* defaultUrl, void*, const wchar_t* const* parameters,
                    int parameterCount)
{
    NSAutoreleasePool* pool = [[NSAutoreleasePool alloc] init];
    NSMutableDictionary* configuration = [[NSMutableDictionary alloc] init];
    [configuration addEntriesFromDictionary:[[NSBundle mainBundle] infoDictionary]];
    void* reporter = nullptr;
    if (configuration != nil) {
        [configuration setObject:submissionUrl(defaultUrl) forKey:@"BreakpadURL"];
        [configuration setObject:@"socorro" forKey:@"BreakpadServerType"];
        [configuration setObject:@"0" forKey:@"BreakpadReportInterval"];
        for (int i = 0; parameters != nullptr && i < parameterCount; ++i) {
            if (parameters[i] != nullptr) {
                setParameter(configuration, parameters[i]);
            }
        }
        reporter = BreakpadCreate(configuration);
    }
    [pool release];
    return reporter;
}

void FallcatchSetReportInterval(void* reporter, int interval)
{
    NSAutoreleasePool* pool = [[NSAutoreleasePool alloc] init];
    BreakpadSetKeyValue(reporter, @"BreakpadReportInterval", [[NSString alloc] initWithFormat:@"%d", interval]);
    [pool release];
}

void FallcatchRelease(void* reporter)
{
    BreakpadRelease(reporter);
}

int GetTestCommandsList(int* codes, int)
{
    HSL::HSLog(HSL::CCat(kInfo), "Checking command line for crash test parameters\n");
    NSAutoreleasePool* pool = [[NSAutoreleasePool alloc] init];
    NSArray* arguments = [[NSProcessInfo processInfo] arguments];
    const int count = static_cast<int>([arguments count]);
    if (count < 2) {
        HSL::HSLog(HSL::CCat(kInfo), "No crash test parameters found\n");
        return 0; // the pool stays, on this path only
    }

    Codes found(codes);
    bool typeDue = false;
    for (int i = 0; i < count; ++i) {
        NSString* argument = [arguments objectAtIndex:static_cast<NSUInteger>(i)];
        if (typeDue) {
            appendCrashType(argument, found);
            break;
        }
        if (isEqual(argument, @"-tcmt")) {
            HSL::HSLog(HSL::CCat(kInfo), "Received instruction to crash on main thread\n");
            found.Append(0);
            typeDue = true;
        } else if (isEqual(argument, @"-tcwt")) {
            HSL::HSLog(HSL::CCat(kInfo), "Received instruction to crash on workder thread\n");
            found.Append(1);
            typeDue = true;
        }
    }
    [pool release];
    return found.Count();
}
