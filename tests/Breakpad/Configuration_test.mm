#include "BreakpadInterface.h"

#include "Configuration.h"
#include "Keys.h"

#import <Foundation/NSArray.h>
#import <Foundation/NSAutoreleasePool.h>
#import <Foundation/NSDictionary.h>
#import <Foundation/NSPathUtilities.h>
#import <Foundation/NSString.h>
#import <Foundation/NSValue.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <unistd.h>

#if defined(__SANITIZE_ADDRESS__)
// Foundation keeps what it has made once.
extern "C" __attribute__((visibility("default"))) const char* __lsan_default_suppressions()
{
    return "leak:libgnustep-base\nleak:libobjc\n";
}
#endif

using namespace BreakpadLinux;
namespace fs = std::filesystem;

namespace {

// Foundation reads the places of the user's files when it is loaded, so the test starts itself again with a
// home folder of its own.
__attribute__((constructor)) void startAgain(int, char** arguments)
{
    if (getenv("FALLCATCH_TEST_HOME") != nullptr) {
        return;
    }
    char pattern[] = "/tmp/fallcatch-configuration-XXXXXX";
    const std::string made = mkdtemp(pattern);
    std::ofstream(made + "/GNUstep.conf")
        << "GNUSTEP_USER_CONFIG_FILE=none\nGNUSTEP_USER_DIR=" << made << "\nGNUSTEP_USER_DEFAULTS_DIR=" << made
        << "/Defaults\nGNUSTEP_USER_DIR_LIBRARY=" << made << "/Library\n";
    setenv("GNUSTEP_CONFIG_FILE", (made + "/GNUstep.conf").c_str(), 1);
    setenv("FALLCATCH_TEST_HOME", made.c_str(), 1);
    execv("/proc/self/exe", arguments);
    _exit(127);
}

std::string home()
{
    return getenv("FALLCATCH_TEST_HOME");
}

// Goes when the last test has run, and when only their names were asked for.
__attribute__((destructor)) void removeHome()
{
    std::error_code error;
    fs::remove_all(home(), error);
}

class Configuration : public testing::Test {
protected:
    Configuration()
    {
        mPool = [[NSAutoreleasePool alloc] init];
        mValues = [NSMutableDictionary dictionary];
        Set("BreakpadProduct", @"App");
        Set("BreakpadVersion", @"1.2");
        Set("BreakpadURL", @"http://127.0.0.1:1/submit");
        Set("BreakpadReporterExeLocation", @SENDER_PROGRAM);
    }
    ~Configuration() override { [mPool release]; }

    void Set(const char* key, id value)
    {
        NSString* name = [NSString stringWithUTF8String:key];
        if (value == nil) {
            [mValues removeObjectForKey:name];
        } else {
            [mValues setObject:value forKey:name];
        }
    }

    // What a reporter would hold under the key; "(none)" without a pair and "(refused)" without a reporter.
    std::string Read(const std::string& key)
    {
        const auto settings = ReadConfiguration(mValues, mWhy);
        if (!settings) {
            return "(refused)";
        }
        for (const auto& pair : settings->parameters.Pairs()) {
            if (pair.first == key) {
                return pair.second;
            }
        }
        return "(none)";
    }

    NSAutoreleasePool* mPool;
    NSMutableDictionary* mValues;
    std::string mWhy;
};

} // namespace

TEST_F(Configuration, TheDefaultsAreThese)
{
    EXPECT_EQ(Read(kReportInterval), "3600");
    EXPECT_EQ(Read(kVendor), "Vendor not specified");
    EXPECT_EQ(Read(kServerType), "google");
}

TEST_F(Configuration, TheBundlesNameAndVersionStandIn)
{
    Set("BreakpadProduct", nil);
    Set("BreakpadVersion", nil);
    Set("CFBundleName", @"Bundle");
    Set("CFBundleVersion", @"7");
    EXPECT_EQ(Read(kProduct), "Bundle");
    EXPECT_EQ(Read(kVersion), "7");
}

TEST_F(Configuration, AProductOfItsOwnWinsOverTheBundles)
{
    Set("CFBundleName", @"Bundle");
    EXPECT_EQ(Read(kProduct), "App");
}

TEST_F(Configuration, ABundleNameThatIsNotReadMayBeAnything)
{
    Set("CFBundleName", [NSNumber numberWithInt:5]);
    EXPECT_EQ(Read(kProduct), "App");
}

TEST_F(Configuration, AnEmptyProductIsRefusedWhateverTheBundleSays)
{
    Set("BreakpadProduct", @"");
    Set("CFBundleName", @"Bundle");
    EXPECT_EQ(Read(kProduct), "(refused)");
    EXPECT_EQ(mWhy, "there is no BreakpadProduct");
}

TEST_F(Configuration, WithoutVersionOrUrlThereIsNoReporter)
{
    for (const char* key : { "BreakpadVersion", "BreakpadURL" }) {
        const id present = [mValues objectForKey:[NSString stringWithUTF8String:key]];
        for (const id value : { static_cast<id>(nil), static_cast<id>(@"") }) {
            Set(key, value);
            EXPECT_EQ(Read(kProduct), "(refused)") << key;
            EXPECT_EQ(mWhy, std::string("there is no ") + key);
        }
        Set(key, present);
    }
    EXPECT_EQ(Read(kProduct), "App");
}

TEST_F(Configuration, EveryKeyThatIsReadMustHoldAString)
{
    for (const char* key : { "BreakpadProduct", "BreakpadVersion", "BreakpadURL", "BreakpadServerType",
                             "BreakpadReportInterval", "BreakpadVendor", "BreakpadMinidumpLocation",
                             "BreakpadReporterExeLocation", "BreakpadServerParameterPrefix_x" }) {
        const id present = [mValues objectForKey:[NSString stringWithUTF8String:key]];
        Set(key, [NSNumber numberWithInt:5]);
        EXPECT_EQ(Read(kProduct), "(refused)") << key;
        EXPECT_EQ(mWhy, std::string("the value of ") + key + " is not a string");
        Set(key, present);
    }
}

TEST_F(Configuration, KeysThatAreNotReadMayHoldAnything)
{
    Set("NSTypes", [NSArray arrayWithObject:@"x"]);
    Set("LSMinimumSystemVersion", [NSNumber numberWithInt:5]);
    Set("BreakpadConfirmTimeout", [NSNumber numberWithInt:5]);
    [mValues setObject:@"value" forKey:[NSNumber numberWithInt:1]];
    EXPECT_EQ(Read(kProduct), "App");
    EXPECT_EQ(Read("LSMinimumSystemVersion"), "(none)");
}

TEST_F(Configuration, ExtraParametersComeFromBothPlaces)
{
    Set("BreakpadServerParameters", [NSDictionary dictionaryWithObject:@"beta" forKey:@"Channel"]);
    Set("BreakpadServerParameterPrefix_Build", @"42");
    EXPECT_EQ(Read("BreakpadServerParameterPrefix_Channel"), "beta");
    EXPECT_EQ(Read("BreakpadServerParameterPrefix_Build"), "42");
}

TEST_F(Configuration, WhatTheSenderReadsTravelsWithTheReport)
{
    for (const char* key :
         { kComments, kEmail, kAnyAnswer, kCaFile, kGzip, kKeepReports, kKeepMegabytes, kKeepDays }) {
        EXPECT_EQ(Read(key), "(none)") << key;
        Set(key, @"5");
        EXPECT_EQ(Read(key), "5") << key;
        Set(key, [NSNumber numberWithInt:5]);
        EXPECT_EQ(Read(key), "(refused)") << key;
        Set(key, nil);
    }
}

TEST_F(Configuration, SkippingTheQuestionMayBeATextOrABoolean)
{
    EXPECT_EQ(Read(kSkipConfirm), "(none)");
    Set("BreakpadSkipConfirm", [NSNumber numberWithBool:NO]);
    EXPECT_EQ(Read(kSkipConfirm), "0");
    Set("BreakpadSkipConfirm", [NSNumber numberWithBool:YES]);
    EXPECT_EQ(Read(kSkipConfirm), "1");
    Set("BreakpadSkipConfirm", @"NO");
    EXPECT_EQ(Read(kSkipConfirm), "NO");
}

TEST_F(Configuration, LogFilesAreAttached)
{
    Set("BreakpadLogFiles", [NSArray arrayWithObjects:@"/tmp/one.log", @"~/two.log", nil]);
    EXPECT_EQ(Read("FallcatchAttachment_100"), "/tmp/one.log");
    EXPECT_EQ(Read("FallcatchAttachment_101"), Utf8([@"~/two.log" stringByExpandingTildeInPath]));
    Set("BreakpadLogFiles", @"/tmp/one.log");
    EXPECT_EQ(Read(kProduct), "(refused)");
    EXPECT_EQ(mWhy, "the value of BreakpadLogFiles is not an array");
    Set("BreakpadLogFiles", [NSArray arrayWithObject:[NSNumber numberWithInt:5]]);
    EXPECT_EQ(Read(kProduct), "(refused)");
    EXPECT_EQ(mWhy, "the value of a file in BreakpadLogFiles is not a string");
}

TEST_F(Configuration, AVendorThatIsGivenIsSentAsAField)
{
    EXPECT_EQ(Read("BreakpadServerParameterPrefix_Vendor"), "(none)");
    Set("BreakpadVendor", @"Fruit");
    EXPECT_EQ(Read("BreakpadServerParameterPrefix_Vendor"), "Fruit");
    Set("BreakpadServerParameterPrefix_Vendor", @"Mine");
    EXPECT_EQ(Read("BreakpadServerParameterPrefix_Vendor"), "Mine");
}

TEST_F(Configuration, ServerParametersMustBeADictionaryOfStrings)
{
    Set("BreakpadServerParameters", @"text");
    EXPECT_EQ(Read(kProduct), "(refused)");
    EXPECT_EQ(mWhy, "the value of BreakpadServerParameters is not a dictionary");
    Set("BreakpadServerParameters",
        [NSDictionary dictionaryWithObject:[NSNumber numberWithInt:5] forKey:@"Channel"]);
    EXPECT_EQ(Read(kProduct), "(refused)");
    EXPECT_EQ(mWhy, "the value of Channel is not a string");
    Set("BreakpadServerParameters",
        [NSDictionary dictionaryWithObject:@"beta" forKey:[NSNumber numberWithInt:5]]);
    EXPECT_EQ(Read(kProduct), "(refused)");
    EXPECT_EQ(mWhy, "the value of a key in BreakpadServerParameters is not a string");
}

TEST_F(Configuration, DumpsGoToTheProductsFolderInTheUsersCache)
{
    EXPECT_EQ(Read(kMinidumpLocation), home() + "/Library/Caches/Breakpad/App");
    EXPECT_TRUE(fs::is_directory(home() + "/Library/Caches/Breakpad/App"));
}

TEST_F(Configuration, AProductsNameIsOneFolder)
{
    Set("BreakpadProduct", @"../a/b%");
    EXPECT_EQ(Read(kMinidumpLocation), home() + "/Library/Caches/Breakpad/..%2Fa%2Fb%25");
    Set("BreakpadProduct", @"..");
    EXPECT_EQ(Read(kMinidumpLocation), home() + "/Library/Caches/Breakpad/%..");
}

TEST_F(Configuration, AFolderForTheDumpsIsMade)
{
    const std::string folder = home() + "/new/dumps";
    Set("BreakpadMinidumpLocation", [NSString stringWithUTF8String:folder.c_str()]);
    EXPECT_EQ(Read(kMinidumpLocation), folder);
    EXPECT_TRUE(fs::is_directory(folder));
    EXPECT_EQ(fs::status(folder).permissions(), fs::perms::owner_all);
}

TEST_F(Configuration, ATildeStandsForTheHomeFolder)
{
    Set("BreakpadMinidumpLocation", @"~/fallcatch/../..");
    const std::string above = fs::path(Utf8(NSHomeDirectory())).parent_path().string();
    const std::string read = Read(kMinidumpLocation);
    // A home folder whose parent the user may not write is told by its full name, too.
    EXPECT_TRUE(read == above || mWhy.find(above + " for the dumps") != std::string::npos) << read << mWhy;
}

TEST_F(Configuration, ARelativeFolderIsTakenFromWhereTheHostStarts)
{
    fs::current_path(home());
    Set("BreakpadMinidumpLocation", @"dumps");
    EXPECT_EQ(Read(kMinidumpLocation), fs::current_path().string() + "/dumps");
    fs::current_path("/");
}

TEST_F(Configuration, AFolderThatCannotBeMadeIsRefused)
{
    Set("BreakpadMinidumpLocation", @"/proc/none/dumps");
    EXPECT_EQ(Read(kProduct), "(refused)");
    EXPECT_EQ(mWhy, "the folder /proc/none/dumps for the dumps cannot be made or written");
}

// Whoever else could write there could have any of the user's files sent.
TEST_F(Configuration, AFolderThatOthersMayWriteIsRefused)
{
    const std::string folder = home() + "/shared";
    fs::create_directory(folder);
    Set("BreakpadMinidumpLocation", [NSString stringWithUTF8String:folder.c_str()]);
    for (const int mode : { 0770, 0707, 01777 }) {
        fs::permissions(folder, static_cast<fs::perms>(mode));
        EXPECT_EQ(Read(kProduct), "(refused)");
        EXPECT_EQ(mWhy, "the folder " + folder + " for the dumps can be written by others");
    }
    fs::permissions(folder, static_cast<fs::perms>(0755));
    EXPECT_EQ(Read(kProduct), "App");
}

TEST_F(Configuration, AFolderThatIsALinkIsRefused)
{
    fs::create_directory(home() + "/real");
    fs::create_directory_symlink(home() + "/real", home() + "/link");
    Set("BreakpadMinidumpLocation", [NSString stringWithUTF8String:(home() + "/link").c_str()]);
    EXPECT_EQ(Read(kProduct), "(refused)");
    EXPECT_EQ(mWhy, "the folder " + home() + "/link for the dumps is a link or no folder");
}

TEST_F(Configuration, AnIntervalThatIsNoNumberOfSecondsIsToldAndTheDefaultTaken)
{
    for (const char* odd : { "nan", "inf", "-inf", "1e9999", "soon", "", "3600s", "99999999999" }) {
        Set("BreakpadReportInterval", [NSString stringWithUTF8String:odd]);
        testing::internal::CaptureStderr();
        EXPECT_EQ(Read(kReportInterval), "3600") << odd;
        EXPECT_EQ(testing::internal::GetCapturedStderr(),
                  std::string("fallcatch: \"") + odd + "\" is no report interval in seconds; 3600 is taken\n");
    }
    for (const char* usual : { "0", "-5", "3600", "0.5", "2147483647" }) {
        Set("BreakpadReportInterval", [NSString stringWithUTF8String:usual]);
        EXPECT_EQ(Read(kReportInterval), usual);
    }
}

TEST_F(Configuration, AnIntervalThatIsNoNumberOfSecondsIsNotSetLater)
{
    void* reporter = BreakpadCreate(mValues);
    testing::internal::CaptureStderr();
    BreakpadSetKeyValue(reporter, @"BreakpadReportInterval", @"nan");
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "fallcatch: a report interval that is no number of seconds is ignored\n");
    BreakpadRelease(reporter);
}

TEST_F(Configuration, AMissingSenderIsRefused)
{
    Set("BreakpadReporterExeLocation", @"/none/sender");
    EXPECT_EQ(Read(kProduct), "(refused)");
    EXPECT_EQ(mWhy, "/none/sender is not a program that can be run");
}

// This program contains the adapter, and no sender lies beside it.
TEST_F(Configuration, ASenderThatIsNotNamedMustLieInItsPlace)
{
    for (id sender : { static_cast<id>(@""), static_cast<id>(nil) }) {
        Set("BreakpadReporterExeLocation", sender);
        EXPECT_EQ(Read(kProduct), "(refused)");
        EXPECT_EQ(mWhy, "the program fallcatch_sender is not where it belongs");
    }
}

TEST_F(Configuration, EmptyValuesAreAsGoodAsNone)
{
    Set("BreakpadMinidumpLocation", @"");
    Set("BreakpadServerType", @"");
    EXPECT_EQ(Read(kMinidumpLocation), home() + "/Library/Caches/Breakpad/App");
    EXPECT_EQ(Read(kServerType), "google");
}

TEST_F(Configuration, WithoutAUsableCacheAllLiesWithTheDumps)
{
    const std::string caches = home() + "/Library/Caches/Breakpad";
    fs::create_directories(caches);
    std::ofstream(caches + "/Uncached") << "a file where the folder would be";
    Set("BreakpadProduct", @"Uncached");
    EXPECT_EQ(Read(kProduct), "(refused)");
    const std::string folder = home() + "/uncached";
    Set("BreakpadMinidumpLocation", [NSString stringWithUTF8String:folder.c_str()]);
    const auto settings = ReadConfiguration(mValues, mWhy);
    ASSERT_TRUE(settings) << mWhy;
    EXPECT_EQ(settings->dumpFolder, folder);
    EXPECT_EQ(settings->stateFolder, folder);
}

TEST_F(Configuration, LongValuesAreCutBetweenCharacters)
{
    const std::string text = std::string(254, 'x') + "\xE2\x82\xAC";
    Set("BreakpadVersion", [NSString stringWithUTF8String:text.c_str()]);
    EXPECT_EQ(Read(kVersion), std::string(254, 'x'));
}

TEST_F(Configuration, ARefusalIsOneLineOnStandardError)
{
    Set("BreakpadReportInterval", [NSNumber numberWithInt:0]);
    testing::internal::CaptureStderr();
    EXPECT_EQ(BreakpadCreate(mValues), nullptr);
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "fallcatch: crashes are not reported: the value of BreakpadReportInterval is not a string\n");
}

TEST_F(Configuration, NoDictionaryIsRefusedToo)
{
    EXPECT_EQ(BreakpadCreate(nil), nullptr);
}

TEST_F(Configuration, AReporterIsMadeInSilence)
{
    testing::internal::CaptureStderr();
    void* reporter = BreakpadCreate(mValues);
    EXPECT_NE(reporter, nullptr);
    BreakpadSetKeyValue(reporter, @"key", @"value");
    BreakpadSetKeyValue(reporter, @"key", nil);
    BreakpadSetKeyValue(reporter, nil, @"value");
    BreakpadRelease(reporter);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

TEST_F(Configuration, ANullReporterIsLeftAlone)
{
    BreakpadSetKeyValue(nullptr, @"key", @"value");
    BreakpadRelease(nullptr);
}

TEST_F(Configuration, AKeyOrValueThatIsNoStringIsIgnoredWithALine)
{
    void* reporter = BreakpadCreate(mValues);
    testing::internal::CaptureStderr();
    BreakpadSetKeyValue(reporter, static_cast<NSString*>(static_cast<id>([NSNumber numberWithInt:5])),
                        @"value");
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "fallcatch: a key or value that is not a string is ignored\n");
    testing::internal::CaptureStderr();
    BreakpadSetKeyValue(reporter, @"key", static_cast<NSString*>(static_cast<id>([NSNumber numberWithInt:5])));
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "fallcatch: a key or value that is not a string is ignored\n");
    BreakpadRelease(reporter);
}
