#include "Configuration.h"

#include "Keys.h"
#include "OwnFiles.h"
#include "Places.h"

#import <Foundation/NSArray.h>
#import <Foundation/NSData.h>
#import <Foundation/NSDictionary.h>
#import <Foundation/NSEnumerator.h>
#import <Foundation/NSPathUtilities.h>
#import <Foundation/NSString.h>
#import <Foundation/NSValue.h>

#include <map>
#include <stdio.h>

namespace BreakpadLinux {

namespace {

    // Gathers the first reason to refuse.
    class Reader {
    public:
        Reader(NSDictionary* configuration, std::string& why)
            : mConfiguration(configuration)
            , mWhy(why)
        {
        }

        bool Refused() const { return !mWhy.empty(); }

        void Refuse(const std::string& why)
        {
            if (!Refused()) {
                mWhy = why;
            }
        }

        id Value(const char* key) const
        {
            return [mConfiguration objectForKey:[NSString stringWithUTF8String:key]];
        }

        std::optional<std::string> Text(const char* key) { return Text(Value(key), key); }

        std::optional<std::string> Text(id value, const std::string& name)
        {
            if (value == nil) {
                return std::nullopt;
            }
            if (![value isKindOfClass:[NSString class]]) {
                Refuse("the value of " + name + " is not a string");
                return std::nullopt;
            }
            return Utf8(value);
        }

        // The fallback is not looked at when the key itself is there.
        std::string Required(const char* key, const char* fallback)
        {
            std::optional<std::string> text = Text(key);
            if (!text && !Refused() && fallback != nullptr) {
                text = Text(fallback);
            }
            if (!text || text->empty()) {
                Refuse(std::string("there is no ") + key);
                return std::string();
            }
            return *text;
        }

    private:
        NSDictionary* mConfiguration;
        std::string& mWhy;
    };

    // Sorted, so that the same ones stay when there are too many.
    std::map<std::string, std::string> serverParameters(Reader& reader, NSDictionary* configuration)
    {
        std::map<std::string, std::string> found;
        id dictionary = reader.Value(kServerParameters);
        if (dictionary != nil && ![dictionary isKindOfClass:[NSDictionary class]]) {
            reader.Refuse(std::string("the value of ") + kServerParameters + " is not a dictionary");
            return found;
        }
        NSEnumerator* keys = [dictionary keyEnumerator];
        while (id key = [keys nextObject]) {
            const std::optional<std::string> name
                = reader.Text(key, std::string("a key in ") + kServerParameters);
            if (name) {
                const auto value = reader.Text([dictionary objectForKey:key], *name);
                found[kServerParameterPrefix + *name] = value.value_or("");
            }
        }
        NSString* prefix = [NSString stringWithUTF8String:kServerParameterPrefix];
        keys = [configuration keyEnumerator];
        while (id key = [keys nextObject]) {
            if ([key isKindOfClass:[NSString class]] && [key hasPrefix:prefix]) {
                const std::string name = Utf8(key);
                found[name] = reader.Text([configuration objectForKey:key], name).value_or("");
            }
        }
        return found;
    }

    NSString* foundationText(const std::string& text)
    {
        return [NSString stringWithUTF8String:text.c_str()];
    }

    std::string expandTilde(const std::string& path)
    {
        return Utf8([foundationText(path) stringByExpandingTildeInPath]);
    }

    void addLogFiles(Reader& reader, std::map<std::string, std::string>& found)
    {
        id files = reader.Value(kLogFiles);
        if (files == nil) {
            return;
        }
        if (![files isKindOfClass:[NSArray class]]) {
            reader.Refuse(std::string("the value of ") + kLogFiles + " is not an array");
            return;
        }
        NSEnumerator* all = [files objectEnumerator];
        int number = 100; // behind those that the host attaches later
        while (id file = [all nextObject]) {
            const auto path = reader.Text(file, std::string("a file in ") + kLogFiles);
            if (path) {
                found[kAttachmentPrefix + std::to_string(number++)] = AbsolutePath(expandTilde(*path));
            }
        }
    }

    // What only the sender reads, as far as the host has set it.
    std::map<std::string, std::string> textsForTheSender(Reader& reader)
    {
        std::map<std::string, std::string> found;
        for (const char* key : { kComments, kEmail, kAnyAnswer, kCaFile, kGzip, kKeepReports, kKeepMegabytes,
                                 kKeepDays, kLogField, kLogBytes, kLogLeaveOut }) {
            const auto text = reader.Text(key);
            if (text) {
                found[key] = *text;
            }
        }
        // A property list may hold a boolean here.
        id skip = reader.Value(kSkipConfirm);
        if ([skip isKindOfClass:[NSNumber class]]) {
            found[kSkipConfirm] = [skip boolValue] ? "1" : "0";
        } else if (const auto text = reader.Text(kSkipConfirm)) {
            found[kSkipConfirm] = *text;
        }
        addLogFiles(reader, found);
        return found;
    }

    std::string cacheFolder()
    {
        NSArray* folders = NSSearchPathForDirectoriesInDomains(NSCachesDirectory, NSUserDomainMask, YES);
        return [folders count] == 0 ? std::string() : Utf8([folders objectAtIndex:0]);
    }

    // Empty for a folder that reports may lie in; else why not, after its name.
    std::string makeOwnFolder(const std::string& path)
    {
        std::string why;
        if (!MakeFolder(path)) {
            return "cannot be made or written";
        }
        OpenOwnFolder(path, why);
        return why;
    }

    std::string intervalFrom(const std::optional<std::string>& text)
    {
        if (text && !IsInterval(*text)) {
            fprintf(stderr, "fallcatch: \"%s\" is no report interval in seconds; 3600 is taken\n",
                    CutAtCharacter(*text, 80).c_str());
        }
        return text && IsInterval(*text) ? *text : "3600";
    }

    // What the sender remembers lies in the user's cache even when the dumps do not; only a user without a
    // usable cache has both in one place.
    void choosePlaces(Reader& reader, Settings& settings, const std::optional<std::string>& location,
                      const std::optional<std::string>& sender)
    {
        settings.stateFolder = ProductFolder(settings.product);
        settings.dumpFolder
            = location && !location->empty() ? AbsolutePath(expandTilde(*location)) : settings.stateFolder;
        const bool cached = !settings.stateFolder.empty() && makeOwnFolder(settings.stateFolder).empty();
        const std::string why = makeOwnFolder(settings.dumpFolder);
        if (!why.empty()) {
            reader.Refuse("the folder " + settings.dumpFolder + " for the dumps " + why);
        }
        if (!cached) {
            settings.stateFolder = settings.dumpFolder;
        }
        settings.sender = sender && !sender->empty() ? AbsolutePath(expandTilde(*sender)) : FindSender();
        if (!IsProgram(settings.sender)) {
            reader.Refuse(settings.sender.empty() ? "the program fallcatch_sender is not where it belongs"
                                                  : settings.sender + " is not a program that can be run");
        }
    }

} // namespace

std::string ProductFolder(const std::string& product)
{
    const std::string cache = cacheFolder();
    return cache.empty() ? cache : cache + "/Breakpad/" + FileNameFor(product);
}

std::string Utf8(NSString* text)
{
    NSData* data = [text dataUsingEncoding:NSUTF8StringEncoding allowLossyConversion:YES];
    const std::string bytes(static_cast<const char*>([data bytes]), [data length]);
    return bytes.substr(0, bytes.find('\0'));
}

std::optional<Settings> ReadConfiguration(NSDictionary* configuration, std::string& why)
{
    why.clear();
    Reader reader(configuration, why);
    Settings settings;
    settings.product = CutAtCharacter(reader.Required(kProduct, "CFBundleName"), Parameters::kMaximumBytes);
    const std::string version = reader.Required(kVersion, "CFBundleVersion");
    const std::string url = reader.Required(kUrl, nullptr);
    const auto serverType = reader.Text(kServerType);
    const auto interval = reader.Text(kReportInterval);
    const auto vendor = reader.Text(kVendor);
    const auto location = reader.Text(kMinidumpLocation);
    const auto sender = reader.Text(kReporterExeLocation);
    const auto keepEnvironment = reader.Text(kKeepEnvironment);
    const auto own = textsForTheSender(reader);
    const auto extra = serverParameters(reader, configuration);
    if (!reader.Refused()) {
        choosePlaces(reader, settings, location, sender);
    }
    if (reader.Refused()) {
        return std::nullopt;
    }
    settings.keepEnvironment = keepEnvironment && SaysYes(*keepEnvironment);
    settings.parameters.Set(kServerType, serverType && !serverType->empty() ? *serverType : kGoogle);
    settings.parameters.Set(kProduct, settings.product);
    settings.parameters.Set(kVersion, version);
    settings.parameters.Set(kUrl, url);
    settings.parameters.Set(kReportInterval, intervalFrom(interval));
    settings.parameters.Set(kVendor, vendor.value_or("Vendor not specified"));
    settings.parameters.Set(kMinidumpLocation, settings.dumpFolder);
    if (vendor && !vendor->empty()) {
        settings.parameters.Set(std::string(kServerParameterPrefix) + "Vendor", *vendor);
    }
    for (const auto& pair : own) {
        settings.parameters.Set(pair.first, pair.second);
    }
    for (const auto& pair : extra) {
        settings.parameters.Set(pair.first, pair.second);
    }
    return settings;
}

} // namespace BreakpadLinux
