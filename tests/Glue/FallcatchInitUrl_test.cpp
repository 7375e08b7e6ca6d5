#include "ProbeRun.h"

#include <gtest/gtest.h>

#include <cstddef>

namespace {

constexpr const char* kHostUrl = "http://host.example/submit";
constexpr const char* kUserDefaults = "{ serverName = \"http://user.example/submit\"; }";
constexpr const char* kUserUrl = "http://user.example/submit";
constexpr const char* kBuiltInUrl = FALLCATCH_DEFAULT_URL;

// What the reporter is told for a host's URL when the user has set none.
std::string urlFor(const std::optional<std::wstring>& hostUrl)
{
    Probe probe;
    InitCall call;
    call.url = hostUrl;
    probe.Init(call);
    return probe.Run().Value("BreakpadURL");
}

std::wstring units(std::initializer_list<unsigned int> list)
{
    std::wstring text;
    for (const unsigned int unit : list) {
        text += static_cast<wchar_t>(unit);
    }
    return text;
}

} // namespace

TEST(FallcatchInitUrl, HostsUrlIsUsedWithoutAServerName)
{
    EXPECT_EQ(urlFor(L"http://host.example/submit"), kHostUrl);
}

TEST(FallcatchInitUrl, ServerNameInTheUsersDefaultsReplacesTheHostsUrl)
{
    Probe probe;
    probe.UserDefaults(kUserDefaults);
    probe.Init(InitCall());
    EXPECT_EQ(probe.Run().Value("BreakpadURL"), kUserUrl);
}

TEST(FallcatchInitUrl, ServerNameOnTheCommandLineReplacesTheHostsUrl)
{
    Probe probe;
    probe.Arguments({ "-serverName", "http://argument.example/submit" });
    probe.Init(InitCall());
    EXPECT_EQ(probe.Run().Value("BreakpadURL"), "http://argument.example/submit");
}

TEST(FallcatchInitUrl, EmptyServerNameIsUsedAsItIs)
{
    Probe probe;
    probe.UserDefaults("{ serverName = \"\"; }");
    probe.Init(InitCall());
    EXPECT_EQ(probe.Run().Value("BreakpadURL"), "");
}

TEST(FallcatchInitUrl, EmptyServerNameWinsOverTheBuiltInUrlToo)
{
    Probe probe;
    probe.Arguments({ "-serverName", "" });
    InitCall call;
    call.url = L"";
    probe.Init(call);
    EXPECT_EQ(probe.Run().Value("BreakpadURL"), "");
}

TEST(FallcatchInitUrl, ServerNameThatIsNoStringCountsAsMissing)
{
    Probe probe;
    probe.UserDefaults("{ serverName = (\"http://user.example/submit\"); }");
    probe.Init(InitCall());
    EXPECT_EQ(probe.Run().Value("BreakpadURL"), kHostUrl);
}

TEST(FallcatchInitUrl, OtherUserDefaultsAreNotRead)
{
    Probe probe;
    probe.UserDefaults("{ ServerName = \"http://user.example/submit\"; BreakpadURL = \"http://b.example/\"; }");
    probe.Init(InitCall());
    const ProbeResult result = probe.Run();
    EXPECT_EQ(result.Value("BreakpadURL"), kHostUrl);
    EXPECT_EQ(result.Value("ServerName"), "<no such key>");
}

TEST(FallcatchInitUrl, ServerNameIsNotHandedOnUnderItsOwnName)
{
    Probe probe;
    probe.UserDefaults(kUserDefaults);
    probe.Init(InitCall());
    EXPECT_EQ(probe.Run().Value("serverName"), "<no such key>");
}

TEST(FallcatchInitUrl, EmptyHostUrlGivesTheBuiltInUrl)
{
    EXPECT_EQ(urlFor(L""), kBuiltInUrl);
}

TEST(FallcatchInitUrl, NullHostUrlGivesTheBuiltInUrl)
{
    EXPECT_EQ(urlFor(std::nullopt), kBuiltInUrl);
}

TEST(FallcatchInitUrl, NullHostUrlIsNotLookedAtWithAServerName)
{
    Probe probe;
    probe.UserDefaults(kUserDefaults);
    InitCall call;
    call.url = std::nullopt;
    probe.Init(call);
    EXPECT_EQ(probe.Run().Value("BreakpadURL"), kUserUrl);
}

TEST(FallcatchInitUrl, HostUrlBeyondUnicodeGivesTheBuiltInUrl)
{
    EXPECT_EQ(urlFor(units({ 0x110000 })), kBuiltInUrl);
}

TEST(FallcatchInitUrl, OneBadUnitSpoilsTheWholeHostUrl)
{
    EXPECT_EQ(urlFor(L"http://host.example/submit" + units({ 0x110000 })), kBuiltInUrl);
}

TEST(FallcatchInitUrl, LoneSurrogateInTheHostUrlGivesTheBuiltInUrl)
{
    EXPECT_EQ(urlFor(L"http://host.example/" + units({ 0xD800, 'a' })), kBuiltInUrl);
}

TEST(FallcatchInitUrl, HostUrlBeyondTheBasicPlaneIsKept)
{
    EXPECT_EQ(urlFor(L"http://host.example/\u00FC" + units({ 0x1F600 })),
              "http://host.example/\xC3\xBC\xF0\x9F\x98\x80");
}

TEST(FallcatchInitUrl, LongHostUrlIsKeptWhole)
{
    const std::string tail(100000, 'x');
    EXPECT_EQ(urlFor(L"http://host.example/" + std::wstring(tail.size(), L'x')), "http://host.example/" + tail);
}

TEST(FallcatchInitUrl, HostUrlMayContainEqualsSigns)
{
    EXPECT_EQ(urlFor(L"http://host.example/submit?a=b=c"), "http://host.example/submit?a=b=c");
}

TEST(FallcatchInitUrl, BuiltInUrlIsPlainHttpWithThePathSubmit)
{
    const std::string url = kBuiltInUrl;
    const std::string scheme = "http://";
    EXPECT_EQ(url.rfind(scheme, 0), 0u) << url;
    const std::size_t path = url.find('/', scheme.size());
    EXPECT_GT(path, scheme.size()) << url << " names no host";
    ASSERT_NE(path, std::string::npos) << url;
    EXPECT_EQ(url.substr(path), "/submit");
}
