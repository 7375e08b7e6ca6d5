#include "ProbeRun.h"

#include <gtest/gtest.h>

#include <climits>

namespace {

using Parameters = std::vector<std::optional<std::wstring>>;

ProbeResult initWithCall(const InitCall& call)
{
    Probe probe;
    probe.Init(call);
    return probe.Run();
}

ProbeResult initWith(const Parameters& parameters)
{
    InitCall call;
    call.parameters = parameters;
    return initWithCall(call);
}

// What the parameters change in the configuration that a host without any gets: all entries that differ.
Configuration changesByCall(const InitCall& call)
{
    const Configuration plain = initWith(Parameters()).LatestConfiguration();
    Configuration changes;
    const Configuration changed = initWithCall(call).LatestConfiguration();
    for (const auto& [key, entry] : changed) {
        const auto before = plain.find(key);
        if (before == plain.end() || !(before->second == entry)) {
            changes[key] = entry;
        }
    }
    for (const auto& [key, entry] : plain) {
        EXPECT_EQ(changed.count(key), 1u) << key << " is gone";
    }
    return changes;
}

Configuration changesBy(const Parameters& parameters)
{
    InitCall call;
    call.parameters = parameters;
    return changesByCall(call);
}

} // namespace

TEST(FallcatchInitParameters, VerSetsTheVersion)
{
    EXPECT_EQ(changesBy({ L"ver=1.2" }), Configuration({ { "BreakpadVersion", Text("1.2") } }));
}

TEST(FallcatchInitParameters, ProdSetsTheProduct)
{
    EXPECT_EQ(changesBy({ L"prod=App" }), Configuration({ { "BreakpadProduct", Text("App") } }));
}

TEST(FallcatchInitParameters, NamesAreMappedInLowerCaseOnly)
{
    EXPECT_EQ(changesBy({ L"VER=1.2", L"Prod=App" }),
              Configuration({ { "VER", Text("1.2") }, { "Prod", Text("App") } }));
}

TEST(FallcatchInitParameters, NamesAreMappedAsAWholeOnly)
{
    EXPECT_EQ(changesBy({ L"version=1", L"ve=2", L" ver=3", L"ver =4", L"product=5" }),
              Configuration({ { "version", Text("1") },
                              { "ve", Text("2") },
                              { " ver", Text("3") },
                              { "ver ", Text("4") },
                              { "product", Text("5") } }));
}

TEST(FallcatchInitParameters, ValuesAreNotMapped)
{
    EXPECT_EQ(changesBy({ L"a=ver", L"b=prod" }),
              Configuration({ { "a", Text("ver") }, { "b", Text("prod") } }));
}

TEST(FallcatchInitParameters, AnyOtherKeyIsHandedOnAsItIs)
{
    EXPECT_EQ(changesBy({ L"BreakpadSkipConfirm=YES", L"anything at all=1" }),
              Configuration({ { "BreakpadSkipConfirm", Text("YES") }, { "anything at all", Text("1") } }));
}

TEST(FallcatchInitParameters, BreakpadUrlReplacesTheChosenUrl)
{
    EXPECT_EQ(initWith({ L"BreakpadURL=http://parameter.example/" }).Value("BreakpadURL"),
              "http://parameter.example/");
}

TEST(FallcatchInitParameters, BreakpadUrlReplacesTheUsersServerNameToo)
{
    Probe probe;
    probe.UserDefaults("{ serverName = \"http://user.example/submit\"; }");
    InitCall call;
    call.parameters = { L"BreakpadURL=http://parameter.example/" };
    probe.Init(call);
    EXPECT_EQ(probe.Run().Value("BreakpadURL"), "http://parameter.example/");
}

TEST(FallcatchInitParameters, ReplaceServerTypeAndReportInterval)
{
    EXPECT_EQ(
        changesBy({ L"BreakpadServerType=other", L"BreakpadReportInterval=60" }),
        Configuration({ { "BreakpadServerType", Text("other") }, { "BreakpadReportInterval", Text("60") } }));
}

TEST(FallcatchInitParameters, ReplaceTheBundlesEntries)
{
    EXPECT_EQ(changesBy({ L"OnlyInTheBundle=replaced", L"ListInTheBundle=text" }),
              Configuration({ { "OnlyInTheBundle", Text("replaced") }, { "ListInTheBundle", Text("text") } }));
}

TEST(FallcatchInitParameters, LaterOneWins)
{
    EXPECT_EQ(changesBy({ L"a=first", L"b=between", L"a=last" }),
              Configuration({ { "a", Text("last") }, { "b", Text("between") } }));
}

TEST(FallcatchInitParameters, LongNameWinsOverAnEarlierShortOne)
{
    EXPECT_EQ(initWith({ L"ver=1", L"BreakpadVersion=2" }).Value("BreakpadVersion"), "2");
}

TEST(FallcatchInitParameters, ShortNameWinsOverAnEarlierLongOne)
{
    EXPECT_EQ(initWith({ L"BreakpadVersion=2", L"ver=1" }).Value("BreakpadVersion"), "1");
}

TEST(FallcatchInitParameters, ValueEndsAtTheSecondEqualsSign)
{
    EXPECT_EQ(changesBy({ L"a=b=c" }), Configuration({ { "a", Text("b") } }));
}

TEST(FallcatchInitParameters, MappedValueEndsAtTheSecondEqualsSignToo)
{
    EXPECT_EQ(initWith({ L"ver=1.2=3" }).Value("BreakpadVersion"), "1.2");
}

TEST(FallcatchInitParameters, TwoEqualsSignsInARowGiveAnEmptyValue)
{
    EXPECT_EQ(changesBy({ L"a==c" }), Configuration({ { "a", Text("") } }));
}

// U+0338 under "=" makes it U+2260, NOT EQUAL TO; to Foundation the two are one character.
TEST(FallcatchInitParameters, AnEqualsSignUnderACombiningMarkSeparatesNothing)
{
    EXPECT_EQ(changesBy({ L"a=\u0338b", L"c=d" }), Configuration({ { "c", Text("d") } }));
}

TEST(FallcatchInitParameters, TextWithoutAnEqualsSignIsIgnored)
{
    EXPECT_EQ(changesBy({ L"ver", L"prod:App", L"", L"a=b" }), Configuration({ { "a", Text("b") } }));
}

TEST(FallcatchInitParameters, TrailingEqualsSignGivesAnEmptyValue)
{
    EXPECT_EQ(changesBy({ L"key=", L"ver=" }),
              Configuration({ { "key", Text("") }, { "BreakpadVersion", Text("") } }));
}

TEST(FallcatchInitParameters, LeadingEqualsSignGivesAnEmptyKey)
{
    EXPECT_EQ(changesBy({ L"=value" }), Configuration({ { "", Text("value") } }));
}

TEST(FallcatchInitParameters, LoneEqualsSignGivesAnEmptyKeyAndValue)
{
    EXPECT_EQ(changesBy({ L"=" }), Configuration({ { "", Text("") } }));
}

TEST(FallcatchInitParameters, BlanksAreKept)
{
    EXPECT_EQ(changesBy({ L" a = b " }), Configuration({ { " a ", Text(" b ") } }));
}

TEST(FallcatchInitParameters, TextBeyondTheBasicPlaneIsKept)
{
    const std::wstring face(1, static_cast<wchar_t>(0x1F600));
    EXPECT_EQ(changesBy({ L"k" + face + L"=" + face + L"v\u00FC" }),
              Configuration({ { "k\xF0\x9F\x98\x80", Text("\xF0\x9F\x98\x80v\xC3\xBC") } }));
}

TEST(FallcatchInitParameters, TextThatIsNotUnicodeIsIgnored)
{
    const std::wstring bad(1, static_cast<wchar_t>(0x110000));
    EXPECT_EQ(changesBy({ L"a=" + bad, L"b=1" }), Configuration({ { "b", Text("1") } }));
}

TEST(FallcatchInitParameters, NullTextIsIgnored)
{
    EXPECT_EQ(changesBy({ L"a=1", std::nullopt, L"b=2" }),
              Configuration({ { "a", Text("1") }, { "b", Text("2") } }));
}

TEST(FallcatchInitParameters, NullListIsIgnoredWhateverTheCount)
{
    InitCall call;
    call.nullList = true;
    call.count = 3;
    EXPECT_EQ(changesByCall(call), Configuration());
}

TEST(FallcatchInitParameters, OnlyAsManyAsTheCountAreRead)
{
    InitCall call;
    call.parameters = { L"a=1", L"b=2", L"c=3" };
    call.count = 2;
    EXPECT_EQ(changesByCall(call), Configuration({ { "a", Text("1") }, { "b", Text("2") } }));
}

TEST(FallcatchInitParameters, CountOfZeroReadsNone)
{
    InitCall call;
    call.parameters = { L"a=1" };
    call.count = 0;
    EXPECT_EQ(changesByCall(call), Configuration());
}

TEST(FallcatchInitParameters, NegativeCountReadsNone)
{
    InitCall call;
    call.parameters = { L"a=1" };
    call.count = -1;
    EXPECT_EQ(changesByCall(call), Configuration());
}

TEST(FallcatchInitParameters, SmallestCountReadsNone)
{
    InitCall call;
    call.parameters = { L"a=1" };
    call.count = INT_MIN;
    EXPECT_EQ(changesByCall(call), Configuration());
}

TEST(FallcatchInitParameters, LongValueIsKeptWhole)
{
    const std::wstring value(100000, L'v');
    EXPECT_EQ(changesBy({ L"a=" + value }), Configuration({ { "a", Text(std::string(value.size(), 'v')) } }));
}
