// The bridge on any host texts and any command line, compared with models of what each call has to do.
//
// Input: bit 0 of the first byte chooses the call.
//     FallcatchInit: bit 1 the user default "serverName", a text, is set; bit 2 the list is null; the URL, a
//     text; the
//         count (signed, never more than the list has); then parameters, texts, to the end.
//     GetTestCommandsList: words to the end, each its number in the list of known ones or, from there on, a
//     text.
// A text: its length in units, modulo 64; bit 6 for units of 4 bytes instead of one; 255 for a null text.
#include "fallcatch.h"

#include "BreakpadEvents.h"
#include "FuzzTarget.h"
#include "FuzzUnits.h"

#import <Foundation/Foundation.h>
#include <objc/runtime.h>

#include <map>
#include <vector>

// The bridge keeps strings for good, on purpose.
extern "C" __attribute__((visibility("default"))) const char* __asan_default_options();
const char* __asan_default_options()
{
    return "detect_leaks=0";
}

namespace {

using Text = std::u32string;

constexpr std::size_t kMostTexts = 12;
constexpr NSStringEncoding kUTF32LittleEndian = static_cast<NSStringEncoding>(0x9C000100);

struct HostText {
    bool isNull = false;
    std::vector<wchar_t> units; // with its zero

    const wchar_t* Pointer() const { return isNull ? nullptr : units.data(); }
    Text Value() const { return Text(units.begin(), units.end() - 1); }
    bool IsValid() const
    {
        for (const char32_t unit : Value()) {
            if (unit > 0x10FFFF || (unit >= 0xD800 && unit <= 0xDFFF)) {
                return false;
            }
        }
        return true;
    }
};

HostText takeText(FuzzInput& input)
{
    HostText text;
    const unsigned int head = input.Byte();
    text.isNull = head == 255;
    const bool wide = (head & 64) != 0;
    const std::string bytes = input.Bytes(text.isNull ? 0 : (head % 64) * (wide ? 4u : 1u));
    for (const std::uint32_t unit : fuzzUnits(bytes, wide ? UnicodeForm::utf32 : UnicodeForm::utf8)) {
        if (unit == 0) {
            break;
        }
        text.units.push_back(static_cast<wchar_t>(unit));
    }
    text.units.push_back(0);
    return text;
}

// Foundation takes a character and the marks combined with it for one, so that a "=" with a mark does not
// separate and "ver" with one is another key. Where the marks begin and end is its own business.
bool hasMarks(const Text& text)
{
    NSCharacterSet* marks = [NSCharacterSet nonBaseCharacterSet];
    for (const char32_t unit : text) {
        if (unit <= 0xFFFF && [marks characterIsMember:static_cast<unichar>(unit)]) {
            return true;
        }
    }
    return false;
}

// Lives until the pool in force goes.
NSString* stringOf(const Text& text)
{
    return [[[NSString alloc] initWithBytes:text.data()
                                     length:text.size() * sizeof(char32_t)
                                   encoding:kUTF32LittleEndian] autorelease];
}

Text textOf32(NSString* string)
{
    Text text;
    for (NSUInteger i = 0; i < [string length]; ++i) {
        const char32_t unit = [string characterAtIndex:i];
        if (unit >= 0xDC00 && unit <= 0xDFFF && !text.empty() && text.back() >= 0xD800
            && text.back() <= 0xDBFF) {
            text.back() = 0x10000 + (text.back() - 0xD800) * 0x400 + (unit - 0xDC00);
        } else {
            text += unit;
        }
    }
    return text;
}

using Entries = std::map<Text, Text>;

Entries entriesOf(NSDictionary* dictionary)
{
    Entries entries;
    NSEnumerator* keys = [dictionary keyEnumerator];
    for (NSString* key = [keys nextObject]; key != nil; key = [keys nextObject]) {
        entries[textOf32(key)] = textOf32([[dictionary objectForKey:key] description]);
    }
    return entries;
}

std::string shown(const Entries& entries)
{
    std::string all;
    for (const auto& [key, value] : entries) {
        for (const char32_t unit : key + U"=" + value + U"\n") {
            const bool plain = unit == U'\n' || (unit >= 0x20 && unit < 0x7F);
            all += plain ? std::string(1, static_cast<char>(unit))
                         : "{" + std::to_string(static_cast<unsigned long>(unit)) + "}";
        }
    }
    return all;
}

void addParameter(Entries& entries, const HostText& parameter)
{
    const Text text = parameter.Value();
    const std::size_t equals = text.find(U'=');
    if (parameter.isNull || !parameter.IsValid() || equals == Text::npos) {
        return;
    }
    Text key = text.substr(0, equals);
    const Text value = text.substr(equals + 1, text.find(U'=', equals + 1) - equals - 1);
    if (key == U"ver") {
        key = Text(U"BreakpadVersion");
    } else if (key == U"prod") {
        key = Text(U"BreakpadProduct");
    }
    entries[key] = value;
}

void setServerName(const HostText* text)
{
    NSUserDefaults* defaults = [NSUserDefaults standardUserDefaults];
    [defaults removeVolatileDomainForName:NSArgumentDomain];
    if (text != nullptr) {
        [defaults setVolatileDomain:[NSDictionary dictionaryWithObject:stringOf(text->Value())
                                                                forKey:@"serverName"]
                            forName:NSArgumentDomain];
    }
}

void init(FuzzInput& input, unsigned int kind)
{
    Entries expected = entriesOf([[NSBundle mainBundle] infoDictionary]);
    HostText server;
    const bool hasServer = (kind & 2) != 0 && (server = takeText(input)).IsValid();
    setServerName(hasServer ? &server : nullptr);
    const HostText url = takeText(input);
    const bool urlCounts = !url.isNull && url.IsValid() && !url.Value().empty();
    const std::string builtIn = FALLCATCH_DEFAULT_URL;
    const Text otherwise = urlCounts ? url.Value() : Text(builtIn.begin(), builtIn.end());
    expected[U"BreakpadURL"] = hasServer ? server.Value() : otherwise;
    expected[U"BreakpadServerType"] = Text(U"socorro");
    expected[U"BreakpadReportInterval"] = Text(U"0");

    int count = input.SignedByte();
    std::vector<HostText> parameters;
    while (!input.AtEnd() && parameters.size() < kMostTexts) {
        parameters.push_back(takeText(input));
    }
    std::vector<const wchar_t*> list;
    for (const HostText& parameter : parameters) {
        list.push_back(parameter.Pointer());
    }
    const bool noList = (kind & 4) != 0;
    count = noList ? count : std::min(count, static_cast<int>(list.size()));
    bool marks = false;
    for (int i = 0; i < count && !noList; ++i) {
        const HostText& parameter = parameters[static_cast<std::size_t>(i)];
        marks = marks || (parameter.IsValid() && hasMarks(parameter.Value()));
        addParameter(expected, parameter);
    }

    int reporter = 0;
    setReporterToReturn(&reporter);
    void* unread = reinterpret_cast<void*>(1);
    fuzzRequire(FallcatchInit(unread, url.Pointer(), unread, noList ? nullptr : list.data(), count)
                    == &reporter,
                "another reporter");
    NSMutableDictionary* configuration = lastConfiguration();
    const Entries real = entriesOf(configuration);
    fuzzRequire(marks || real == expected,
                "the configuration\n" + shown(real) + "instead of\n" + shown(expected));
    [configuration release]; // the recorder's
    [configuration release]; // the bridge's own, which it never lets go
}

NSArray* gArguments = nil;

id fuzzedArguments(id, SEL)
{
    return gArguments;
}

void replaceArguments()
{
    using AnyFunction = void (*)();
    Class info = [[NSProcessInfo processInfo] class];
    const SEL selector = @selector(arguments);
    class_replaceMethod(info, selector, reinterpret_cast<IMP>(reinterpret_cast<AnyFunction>(fuzzedArguments)),
                        method_getTypeEncoding(class_getInstanceMethod(info, selector)));
}

const std::vector<Text> kWords
    = { U"TC_AR",    U"TC_GC",          U"TC_DIV0",           U"TC_DER0",
        U"TC_PUREV", U"TC_RECOVERABLE", U"TC_NONRECOVERABLE", U"TC_CONSTRUCTWITHNULL",
        U"-tcmt",    U"-tcwt" };
constexpr std::size_t kCrashTypes = 8;

// The words behind the first switch do not matter but for the next one.
std::vector<int> expectedCodes(const std::vector<Text>& arguments)
{
    std::vector<int> codes;
    for (std::size_t i = 0; i < arguments.size() && arguments.size() > 1; ++i) {
        if (arguments[i] != U"-tcmt" && arguments[i] != U"-tcwt") {
            continue;
        }
        codes.push_back(arguments[i] == U"-tcwt" ? 1 : 0);
        for (std::size_t type = 0; type < kCrashTypes && i + 1 < arguments.size(); ++type) {
            if (arguments[i + 1] == kWords[type]) {
                codes.push_back(static_cast<int>(type));
            }
        }
        break;
    }
    return codes;
}

void scan(FuzzInput& input)
{
    bool marks = false;
    std::vector<Text> arguments;
    NSMutableArray* array = [NSMutableArray array];
    while (!input.AtEnd() && arguments.size() < kMostTexts) {
        const unsigned int word = input.Byte();
        HostText other;
        if (word >= kWords.size()) {
            other = takeText(input);
        }
        const Text argument = word < kWords.size() ? kWords[word] : other.Value();
        NSString* string = stringOf(argument);
        if (string != nil) {
            marks = marks || hasMarks(argument);
            arguments.push_back(argument);
            [array addObject:string];
        }
    }
    gArguments = array;
    std::vector<int> codes(2, -99);
    const int count = GetTestCommandsList(codes.data(), static_cast<int>(arguments.size()) - 3);
    const std::vector<int> expected = expectedCodes(arguments);
    fuzzRequire(count >= 0 && count <= 2, "the count");
    codes.resize(static_cast<std::size_t>(count));
    fuzzRequire(marks || codes == expected, "the codes");
    fuzzRequire(GetTestCommandsList(nullptr, 2) == 0, "codes without room");
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    NSAutoreleasePool* pool = [[NSAutoreleasePool alloc] init];
    static const bool ready = [] {
        replaceArguments();
        // What the recorder prints is for other tests.
        return std::freopen("/dev/null", "w", stdout) != nullptr;
    }();
    fuzzRequire(ready, "standard output");
    FuzzInput input(data, size);
    const unsigned int kind = input.Byte();
    if ((kind & 1) == 0) {
        init(input, kind);
    } else {
        scan(input);
    }
    [pool release];
    return 0;
}
