#include "BreakpadEvents.h"

#include "BreakpadInterface.h"

#import <Foundation/NSArray.h>
#import <Foundation/NSDictionary.h>
#import <Foundation/NSObjCRuntime.h>
#import <Foundation/NSString.h>

#include <cstdio>

// Goes with the pool that was in force when it was made.
@interface PoolWitness : NSObject
@end

@implementation PoolWitness
- (void)dealloc
{
    printEvent({ "emptied" });
    [super dealloc];
}
@end

namespace {

void* gReporter = nullptr;
NSMutableDictionary* gConfiguration = nil;

// Concrete classes are Foundation's own business; what counts is the public class above them.
std::string classText(id object)
{
    for (Class known :
         { [NSString class], [NSArray class], [NSMutableDictionary class], [NSDictionary class] }) {
        if ([object isKindOfClass:known]) {
            return textOf(NSStringFromClass(known));
        }
    }
    return object == nil ? "nil" : textOf(NSStringFromClass([object class]));
}

void leavePoolWitness()
{
    [[[PoolWitness alloc] init] autorelease];
}

} // namespace

void printEvent(const std::vector<std::string>& fields)
{
    std::string line;
    for (const std::string& field : fields) {
        if (!line.empty()) {
            line += '\t';
        }
        for (const char character : field) {
            const unsigned char byte = static_cast<unsigned char>(character);
            if (byte < 0x20 || byte == 0x7F || byte == '\\') {
                char escaped[8];
                std::snprintf(escaped, sizeof escaped, "\\x%02x", static_cast<unsigned int>(byte));
                line += escaped;
            } else {
                line += character;
            }
        }
    }
    line += '\n';
    std::fwrite(line.data(), 1, line.size(), stdout);
    std::fflush(stdout);
}

std::string addressText(const void* address)
{
    char text[32];
    std::snprintf(text, sizeof text, "%lx", reinterpret_cast<unsigned long>(address));
    return text;
}

std::string textOf(NSString* string)
{
    return string == nil ? "(nil)" : [string UTF8String];
}

void setReporterToReturn(void* reporter)
{
    gReporter = reporter;
}

NSMutableDictionary* lastConfiguration()
{
    return gConfiguration;
}

// Visible, so that the dynamic library finds them in the program.
#pragma GCC visibility push(default)

void* BreakpadCreate(NSDictionary* configuration)
{
    printEvent({ "create", classText(configuration) });
    NSEnumerator* keys = [configuration keyEnumerator];
    for (id key = [keys nextObject]; key != nil; key = [keys nextObject]) {
        id value = [configuration objectForKey:key];
        printEvent({ "entry", classText(key), textOf([key description]), classText(value),
                     textOf([value description]) });
    }
    gConfiguration = static_cast<NSMutableDictionary*>([configuration retain]);
    leavePoolWitness();
    return gReporter;
}

void BreakpadSetKeyValue(void* reporter, NSString* key, NSString* value)
{
    printEvent({ "set", addressText(reporter), classText(key), textOf(key), classText(value), textOf(value) });
    leavePoolWitness();
}

void BreakpadRelease(void* reporter)
{
    printEvent({ "release", addressText(reporter) });
}

#pragma GCC visibility pop
