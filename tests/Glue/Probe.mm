// A host of the bridge. Takes calls from standard input, one per line, words separated by tabs, and prints
// what comes of them as events, in the form that BreakpadEvents.h tells.
//
// Numbers are decimal, addresses hexadecimal, and 0 is null. Wide text is a "w" and the units, hexadecimal,
// separated by commas; "null" stands for a null pointer.
//
//     reporter ADDRESS                     what BreakpadCreate returns
//     init UNUSED1 UNUSED2 URL COUNT list|null TEXT...
//     interval ADDRESS NUMBER
//     release ADDRESS
//     scan array|null CAPACITY
//     on-thread CALL...                    makes the call on a thread of its own
//     arguments                            address, text and, up to a zero, the object's bytes of each one
//     watch, refuse-dictionary, owners
//     log CATEGORIES, log-off, log-state, hold, ring, finish
#include "fallcatch.h"

#include "BreakpadEvents.h"
#include "ProbeLog.h"
#include "ProbeWatch.h"

#import <Foundation/NSArray.h>
#import <Foundation/NSAutoreleasePool.h>
#import <Foundation/NSDictionary.h>
#import <Foundation/NSProcessInfo.h>
#import <Foundation/NSString.h>
#import <objc/runtime.h>

#include <string.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <iostream>
#include <map>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

namespace {

using Words = std::vector<std::string>;

constexpr unsigned int kSecondsToLive = 60;
constexpr int kUntouched = -99;

bool gWatch = false;

Words split(const std::string& line, char separator)
{
    Words words;
    std::istringstream rest(line);
    for (std::string word; std::getline(rest, word, separator);) {
        words.push_back(word);
    }
    return words;
}

void* address(const std::string& word)
{
    return reinterpret_cast<void*>(std::stoul(word, nullptr, 16));
}

// Wide texts for the time of one call.
class WideTexts {
public:
    const wchar_t* Add(const std::string& word)
    {
        if (word == "null") {
            return nullptr;
        }
        std::wstring text;
        for (const std::string& unit : split(word.substr(1), ',')) {
            text += static_cast<wchar_t>(std::stoul(unit, nullptr, 16));
        }
        mTexts.push_back(text);
        return mTexts.back().c_str();
    }

private:
    std::deque<std::wstring> mTexts;
};

// Runs one call into the bridge.
template <typename Call> auto watched(Call call)
{
    if (gWatch) {
        startWatch();
    }
    auto result = call();
    stopWatch();
    return result;
}

void init(const Words& words)
{
    WideTexts texts;
    const wchar_t* url = texts.Add(words[3]);
    const int count = std::stoi(words[4]);
    std::vector<const wchar_t*> list;
    for (std::size_t i = 6; i < words.size(); ++i) {
        list.push_back(texts.Add(words[i]));
    }
    const wchar_t* const* parameters = words[5] == "null" ? nullptr : list.data();
    void* reporter
        = watched([&] { return FallcatchInit(address(words[1]), url, address(words[2]), parameters, count); });
    printEvent({ "initialised", addressText(reporter) });
}

void setInterval(const Words& words)
{
    watched([&] {
        FallcatchSetReportInterval(address(words[1]), std::stoi(words[2]));
        return 0;
    });
}

void release(const Words& words)
{
    watched([&] {
        FallcatchRelease(address(words[1]));
        return 0;
    });
}

void scan(const Words& words)
{
    int codes[] = { kUntouched, kUntouched, kUntouched, kUntouched };
    int* array = words[1] == "null" ? nullptr : codes;
    const int count = watched([&] { return GetTestCommandsList(array, std::stoi(words[2])); });
    Words event = { "scanned", std::to_string(count) };
    for (const int code : codes) {
        event.push_back(code == kUntouched ? "untouched" : std::to_string(code));
    }
    printEvent(event);
}

void printArguments(const Words&)
{
    NSArray* arguments = [[NSProcessInfo processInfo] arguments];
    for (NSUInteger i = 0; i < [arguments count]; ++i) {
        NSString* argument = [arguments objectAtIndex:i];
        const char* object = reinterpret_cast<const char*>(argument);
        const std::string bytes(object, strnlen(object, class_getInstanceSize(object_getClass(argument))));
        printEvent({ "argument", addressText(argument), textOf(argument), bytes });
    }
}

void watch(const Words&)
{
    installWatch();
    gWatch = true;
}

void run(const Words& words);

void runOnThread(const Words& words)
{
    std::thread(run, Words(words.begin() + 1, words.end())).join();
}

void run(const Words& words)
{
    static const std::map<std::string, std::function<void(const Words&)>> kCalls = {
        { "reporter", [](const Words& w) { setReporterToReturn(address(w[1])); } },
        { "init", init },
        { "interval", setInterval },
        { "release", release },
        { "scan", scan },
        { "on-thread", runOnThread },
        { "arguments", printArguments },
        { "watch", watch },
        { "refuse-dictionary", [](const Words&) { refuseNextDictionary(); } },
        { "owners", [](const Words&) { printOwners(); } },
        { "log", [](const Words& w) { startLog(w[1]); } },
        { "log-off", [](const Words&) { switchLogOff(); } },
        { "log-state", [](const Words&) { printLogState(); } },
        { "hold", [](const Words&) { holdLog(); } },
        { "ring", [](const Words&) { printRing(); } },
        { "finish", [](const Words&) { finishLog(); } },
    };
    kCalls.at(words.at(0))(words);
}

// Classes allocate what they never free when they are first used. Done here, that has a name by which a leak
// checker can tell it from leaks of the bridge (lsan.supp).
__attribute__((noinline)) NSAutoreleasePool* useFoundationOnce()
{
    NSAutoreleasePool* pool = [[NSAutoreleasePool alloc] init];
    [NSArray array];
    [NSMutableDictionary dictionary];
    [[NSProcessInfo processInfo] arguments];
    return pool;
}

} // namespace

int main()
{
    alarm(kSecondsToLive);
    NSAutoreleasePool* pool = useFoundationOnce();
    for (std::string line; std::getline(std::cin, line);) {
        run(split(line, '\t'));
    }
    [pool release];
    return 0;
}
