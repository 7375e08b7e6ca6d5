#include "ProbeWatch.h"

#include "BreakpadEvents.h"

#import <Foundation/NSAutoreleasePool.h>
#import <Foundation/NSBundle.h>
#import <Foundation/NSDictionary.h>
#import <Foundation/NSString.h>
#import <Foundation/NSUserDefaults.h>
#include <objc/runtime.h>

#include <cstdarg>
#include <map>
#include <string>
#include <utility>
#include <vector>

namespace {

constexpr NSStringEncoding kUTF32LittleEndian = static_cast<NSStringEncoding>(0x9C000100);

bool gWatching = false;
bool gRefuseDictionary = false;
int gPools = 0;

// The pools' numbers. Foundation uses the memory of a pool again, so a number belongs to the latest one.
std::map<const void*, int>& poolNumbers()
{
    static std::map<const void*, int> numbers;
    return numbers;
}

// Each has one owner more than without the watch, so that it can be asked later in any case. The text is kept
// apart: a string cut into parts may be asked for its owners only once the parts are gone.
std::vector<std::pair<NSString*, std::string>>& strings()
{
    static std::vector<std::pair<NSString*, std::string>> made;
    return made;
}

// Methods of all types go by way of this one, which compilers let pass for any function.
using AnyFunction = void (*)();

template <typename Function> Function replace(Class target, SEL selector, Function replacement)
{
    const Method method = class_getInstanceMethod(target, selector);
    const IMP original = method_getImplementation(method);
    class_replaceMethod(target, selector, reinterpret_cast<IMP>(reinterpret_cast<AnyFunction>(replacement)),
                        method_getTypeEncoding(method));
    return reinterpret_cast<Function>(reinterpret_cast<AnyFunction>(original));
}

id (*gPoolInit)(id, SEL) = nullptr;
void (*gPoolRelease)(id, SEL) = nullptr;
id (*gInitWithBytes)(id, SEL, const void*, NSUInteger, NSStringEncoding) = nullptr;
id (*gDictionaryAlloc)(id, SEL) = nullptr;

id poolInit(id self, SEL selector)
{
    id pool = gPoolInit(self, selector);
    if (gWatching) {
        poolNumbers()[pool] = ++gPools;
        printEvent({ "pool", "init", std::to_string(gPools) });
    }
    return pool;
}

void poolRelease(id self, SEL selector)
{
    if (gWatching) {
        printEvent({ "pool", "release", std::to_string(poolNumbers()[self]) });
    }
    gPoolRelease(self, selector);
}

id remembered(id string)
{
    // An empty string is a constant of Foundation's, which counts no owners.
    if (gWatching && [string length] != 0) {
        strings().push_back({ [string retain], textOf(string) });
    }
    return string;
}

id initWithBytes(id self, SEL selector, const void* bytes, NSUInteger length, NSStringEncoding encoding)
{
    id string = gInitWithBytes(self, selector, bytes, length, encoding);
    return encoding == kUTF32LittleEndian ? remembered(string) : string;
}

id initWithFormat(id self, SEL, NSString* format, ...)
{
    va_list values;
    va_start(values, format);
    id string = [self initWithFormat:format arguments:values];
    va_end(values);
    return remembered(string);
}

id dictionaryAlloc(id self, SEL selector)
{
    if (gRefuseDictionary && gWatching) {
        gRefuseDictionary = false;
        return nil;
    }
    return gDictionaryAlloc(self, selector);
}

void printOwnersOf(id object, const char* kind, const std::string& text, NSUInteger ownersOfTheWatch)
{
    printEvent({ "owners", kind, std::to_string([object retainCount] - ownersOfTheWatch), text });
}

} // namespace

void installWatch()
{
    // Otherwise Foundation would make them, with pools and dictionaries of its own, while the bridge is
    // watched.
    [[NSBundle mainBundle] infoDictionary];
    [[NSUserDefaults standardUserDefaults] stringForKey:@"serverName"];

    Class pool = [NSAutoreleasePool class];
    gPoolInit = replace(pool, @selector(init), poolInit);
    gPoolRelease = replace(pool, @selector(release), poolRelease);
    // What alloc returns is a stand-in, and its init methods make the string.
    Class unmadeString = object_getClass([NSString alloc]);
    gInitWithBytes = replace(unmadeString, @selector(initWithBytes:length:encoding:), initWithBytes);
    replace(unmadeString, @selector(initWithFormat:), initWithFormat);
    gDictionaryAlloc = replace(object_getClass([NSMutableDictionary class]), @selector(alloc), dictionaryAlloc);
}

void startWatch()
{
    gWatching = true;
}

void stopWatch()
{
    gWatching = false;
}

void printOwners()
{
    NSAutoreleasePool* pool = [[NSAutoreleasePool alloc] init];
    NSMutableDictionary* configuration = lastConfiguration();
    [configuration removeAllObjects];
    [pool release];
    if (configuration != nil) {
        printOwnersOf(configuration, "dictionary", "", 1);
    }
    for (const auto& [string, text] : strings()) {
        printOwnersOf(string, "string", text, 1);
    }
}

void refuseNextDictionary()
{
    gRefuseDictionary = true;
}
