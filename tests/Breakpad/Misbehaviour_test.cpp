// A table of servers that misbehave: what each does, and what becomes of the report that was posted to it.
#include "Keys.h"
#include "RawServer.h"
#include "ReportFile.h"
#include "SenderQueue.h"
#include "SenderUpload.h"

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <ostream>

using namespace BreakpadLinux;
namespace fs = std::filesystem;

namespace {

enum class Fate {
    sent,      // gone, the server has it
    discarded, // gone, the server wants it no more
    refused,   // there, and given up after three tries on different days
    kept,      // there, and tried again and again
};

using Before = Behaviour::Before;
using After = Behaviour::After;

struct Case {
    const char* name;
    Behaviour behaviour;
    Fate fate;
    const char* told; // a part of the line about it
    const char* serverType = "socorro";
    const char* anyAnswer = "";
};

[[maybe_unused]] void PrintTo(const Case& value, std::ostream* out)
{
    *out << value.name;
}

std::string ok(const std::string& body, const std::string& type = "text/plain")
{
    return "HTTP/1.1 200 OK\r\nContent-Type: " + type + "\r\nContent-Length: " + std::to_string(body.size())
        + "\r\n\r\n" + body;
}

std::string status(const std::string& line, const std::string& headers = "", const std::string& body = "")
{
    return "HTTP/1.1 " + line + "\r\n" + headers + "Content-Length: " + std::to_string(body.size()) + "\r\n\r\n"
        + body;
}

const std::string kTaken = "CrashID=bp-1\n";
const std::string kLong(70000, 'x');

const Case kCases[] = {
    { "AnHonestAnswer", { Before::readAll, ok(kTaken) }, Fate::sent, "sent, HTTP 200 CrashID=bp-1" },
    { "NoContentLength",
      { Before::readAll, "HTTP/1.1 200 OK\r\nConnection: close\r\n\r\nCrashID=bp-1\n" },
      Fate::sent,
      "sent" },
    { "OnlyLineFeedsInTheHead",
      { Before::readAll, "HTTP/1.1 200 OK\nContent-Length: 13\n\nCrashID=bp-1\n" },
      Fate::sent,
      "sent" },
    { "AContinueBeforeTheAnswer",
      { Before::readAll, "HTTP/1.1 100 Continue\r\n\r\n" + ok(kTaken) },
      Fate::sent,
      "sent" },
    { "EarlyHintsBeforeTheAnswer",
      { Before::readAll, "HTTP/1.1 103 Early Hints\r\nLink: x\r\n\r\n" + ok(kTaken) },
      Fate::sent,
      "sent" },
    { "AnswersBeforeItReads", { Before::readSome, ok(kTaken) }, Fate::sent, "sent" },
    { "MoreThanItPromised", { Before::readAll, ok(kTaken) + kLong }, Fate::sent, "sent" },
    { "ALongAnswer", { Before::readAll, ok(kTaken + kLong) }, Fate::sent, "sent" },
    { "AnAnswerWithoutEnd",
      { Before::readAll, "HTTP/1.1 200 OK\r\n\r\n" + kTaken, After::flood },
      Fate::sent,
      "sent" },
    { "ChunkedAnswer",
      { Before::readAll,
        "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\nD\r\nCrashID=bp-1\n\r\n0\r\n\r\n" },
      Fate::sent,
      "sent" },
    { "DiscardedByRule",
      { Before::readAll, ok("Discarded=rule_throttled\n") },
      Fate::discarded,
      "discarded by the collector, HTTP 200 Discarded=rule_throttled" },
    { "DiscardedAsMalformed",
      { Before::readAll, status("400 Bad Request", "", "Discarded=malformed_no_content\n") },
      Fate::discarded,
      "Discarded=malformed_no_content" },
    { "NothingButAnOkay", { Before::readAll, ok("") }, Fate::kept, "the answer names no report" },
    { "NothingButAnOkayWhereThatIsEnough", { Before::readAll, ok("") }, Fate::sent, "sent", "socorro", "1" },
    { "NothingButAnOkayFromAnotherType", { Before::readAll, ok("") }, Fate::sent, "sent", "google" },
    { "AnotherTypesAnswer",
      { Before::readAll, ok("{\"id\":1}", "application/json") },
      Fate::sent,
      "sent",
      "google" },
    { "TheNameInTheSecondLine",
      { Before::readAll, ok("hello\nCrashID=bp-1\n") },
      Fate::kept,
      "names no report" },
    { "AHotelsLoginPage",
      { Before::readAll, ok("<html>CrashID=bp-1 Welcome</html>", "text/html; charset=utf-8") },
      Fate::kept,
      "a page, not a collector's answer" },
    { "AHotelsLoginPageForAnotherType",
      { Before::readAll, ok("<html>Welcome</html>", "Text/HTML") },
      Fate::kept,
      "a page",
      "google",
      "1" },
    { "AHeadThatIsCutOff", { Before::readAll, "HTTP/1.1 200 OK\r\nContent-Le" }, Fate::kept, "kept, " },
    { "AHeadWithoutItsEnd",
      { Before::readAll, "HTTP/1.1 200 OK\r\nContent-Type: text/plain\r\n" },
      Fate::kept,
      "kept, ",
      "google" },
    { "ABodyThatIsCutOff",
      { Before::readAll, "HTTP/1.1 200 OK\r\nContent-Length: 100\r\n\r\n" + kTaken },
      Fate::kept,
      "kept, " },
    { "ABodyThatIsReset",
      { Before::readAll, "HTTP/1.1 200 OK\r\nContent-Length: 100\r\n\r\n" + kTaken, After::reset },
      Fate::kept,
      "kept, " },
    { "AChunkThatIsCutOff",
      { Before::readAll, "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\nFF\r\nCrashID=bp-1\n" },
      Fate::kept,
      "kept, " },
    { "AChunkWithoutANumber",
      { Before::readAll,
        "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\nzz\r\nCrashID=bp-1\n\r\n0\r\n\r\n" },
      Fate::kept,
      "kept, " },
    { "AStatusWithoutADigit", { Before::readAll, "HTTP/1.1 OK\r\n\r\nCrashID=bp-1\n" }, Fate::kept, "kept, " },
    { "ASmallStatus", { Before::readAll, "HTTP/1.1 099 Odd\r\n\r\nCrashID=bp-1\n" }, Fate::kept, "kept, " },
    { "NoHeadAtAll", { Before::readAll, "CrashID=bp-1\n" }, Fate::kept, "kept, " },
    { "AnotherProtocol", { Before::readAll, "220 mail.example ready\r\n" }, Fate::kept, "kept, " },
    { "ClosesWithoutAWord", { Before::readAll, "" }, Fate::kept, "kept, Server returned nothing" },
    { "ClosesAtOnce", { Before::readNothing, "" }, Fate::kept, "kept, " },
    { "ResetsInTheMiddle", { Before::readSome, "", After::reset }, Fate::kept, "kept, " },
    { "IsSilentForEver", { Before::readAll, "", After::beSilent }, Fate::kept, "nothing moved any more" },
    { "IsSilentAfterItsHead",
      { Before::readAll, "HTTP/1.1 200 OK\r\nContent-Length: 13\r\n\r\n", After::beSilent },
      Fate::kept,
      "nothing moved any more" },
    { "ReadsNothing", { Before::readNothing, "", After::beSilent }, Fate::kept, "kept, " },
    { "DribblesItsHead",
      { Before::readAll, "HTTP/1.1 200 OK\r\nX: ", After::dribble },
      Fate::kept,
      "nothing moved any more" },
    { "DribblesItsBody",
      { Before::readAll, "HTTP/1.1 200 OK\r\n\r\n" + kTaken, After::dribble },
      Fate::kept,
      "the exchange took too long" },
    { "AHeadWithoutEnd", { Before::readAll, "HTTP/1.1 200 OK\r\nX: ", After::flood }, Fate::kept, "kept, " },
    { "ManyHeaders",
      { Before::readAll,
        [] {
            std::string head = "HTTP/1.1 200 OK\r\n";
            for (int i = 0; i < 9000; ++i) {
                head += "X: 12345\r\n";
            }
            return head + "\r\n" + kTaken;
        }() },
      Fate::kept,
      "the answer's head is too long" },
    { "ContinuesForEver",
      { Before::readAll,
        [] {
            std::string heads;
            for (int i = 0; i < 9000; ++i) {
                heads += "HTTP/1.1 100 Continue\r\n\r\n";
            }
            return heads + ok(kTaken);
        }() },
      Fate::kept,
      "the answer's head is too long" },
    { "SendsElsewhere",
      { Before::readAll, status("302 Found", "Location: http://127.0.0.1:1/\r\n") },
      Fate::kept,
      "HTTP 302" },
    { "SendsToAFile",
      { Before::readAll, status("307 Temporary Redirect", "Location: file:///etc/passwd\r\n") },
      Fate::kept,
      "HTTP 307" },
    { "IsBusy", { Before::readAll, status("503 Busy", "Retry-After: 120\r\n") }, Fate::kept, "HTTP 503" },
    { "IsBusyForever",
      { Before::readAll, status("503 Busy", "Retry-After: 99999999999999999999\r\n") },
      Fate::kept,
      "HTTP 503" },
    { "AsksForLess", { Before::readAll, status("429 Too Many") }, Fate::kept, "HTTP 429" },
    { "Fails", { Before::readAll, status("500 Oh", "", kTaken) }, Fate::kept, "HTTP 500" },
    { "RefusesTheReport",
      { Before::readAll, status("400 No", "", "no minidump\n") },
      Fate::refused,
      "HTTP 400 no minidump" },
    { "WantsAKey", { Before::readAll, status("401 No") }, Fate::refused, "HTTP 401" },
    { "ForbidsIt", { Before::readAll, status("403 No") }, Fate::refused, "HTTP 403" },
    { "KnowsNoSuchPlace", { Before::readAll, status("404 No") }, Fate::refused, "HTTP 404" },
    { "IsGone", { Before::readAll, status("410 No") }, Fate::refused, "HTTP 410" },
    { "FindsItTooLarge", { Before::readSome, status("413 No") }, Fate::refused, "HTTP 413" },
    { "KnowsNoSuchType", { Before::readAll, status("415 No") }, Fate::refused, "HTTP 415" },
    { "UnderstandsItNot", { Before::readAll, status("422 No") }, Fate::refused, "HTTP 422" },
    { "TellsInControlCharacters",
      { Before::readAll,
        ok("CrashID=\x1B[2J\xC2\x9B"
           "1m\xFF\n") },
      Fate::sent,
      "sent, HTTP 200 CrashID= [2J 1m?" },
};

std::vector<Case> refusals()
{
    std::vector<Case> cases;
    std::copy_if(std::begin(kCases), std::end(kCases), std::back_inserter(cases),
                 [](const Case& one) { return one.fate == Fate::refused; });
    return cases;
}

std::string nameOf(const testing::TestParamInfo<Case>& info)
{
    return info.param.name;
}

class Misbehaviour : public testing::TestWithParam<Case> {
protected:
    Misbehaviour()
    {
        char pattern[] = "/tmp/fallcatch-misbehaviour-XXXXXX";
        mFolder = mkdtemp(pattern);
        setenv("FALLCATCH_SENDER_TIMEOUT", "1", 1);
        setenv("FALLCATCH_SENDER_LIMIT", "3", 1);
        unsetenv("http_proxy");
        std::ofstream(mFolder + "/1-2-3.dmp") << "MDMP" << std::string(1000, 'd');
    }
    ~Misbehaviour() override { fs::remove_all(mFolder); }

    void Write(const std::string& url, const Case& one) const
    {
        std::string text = kReportHeader;
        for (const auto& pair : { std::make_pair(kProduct, "App"), std::make_pair(kServerType, one.serverType),
                                  std::make_pair(kAnyAnswer, one.anyAnswer) }) {
            AppendPair(text, pair.first, pair.second);
        }
        AppendPair(text, kUrl, url);
        std::ofstream(mFolder + "/1-2-3.report") << text << kReportEnd;
    }

    // A day of a host that starts once.
    void Pass(time_t now)
    {
        State state(mFolder);
        ASSERT_FALSE(state.IsBusy());
        Queue queue({ Upload, [now] { return now; }, [] { return 0.5; },
                      [this](const std::string& line) { mTold += line + "\n"; } },
                    state, false);
        queue.Drain("App", mFolder);
    }

    bool IsThere() const { return fs::exists(mFolder + "/1-2-3.report") && fs::exists(mFolder + "/1-2-3.dmp"); }
    bool IsGone() const
    {
        return !fs::exists(mFolder + "/1-2-3.report") && !fs::exists(mFolder + "/1-2-3.dmp");
    }

    std::string mFolder;
    std::string mTold;
};

} // namespace

TEST_P(Misbehaviour, LosesNoReportAndHoldsNobodyUp)
{
    const Case& one = GetParam();
    const RawServer server(one.behaviour);
    Write(server.Url(), one);
    const time_t start = std::time(nullptr);
    const auto before = std::chrono::steady_clock::now();
    Pass(start);
    EXPECT_LT(std::chrono::steady_clock::now() - before, std::chrono::seconds(20));
    EXPECT_NE(mTold.find(one.told), std::string::npos) << mTold;
    const bool gone = one.fate == Fate::sent || one.fate == Fate::discarded;
    EXPECT_TRUE(gone ? IsGone() : IsThere());
    const int connections = server.Connections();
    EXPECT_EQ(connections, 1);
    Pass(start + 1);
    EXPECT_EQ(server.Connections(), connections) << "no second time at once";
}

class RefusingServer : public Misbehaviour { };

// The second and the third day, with a host that starts again and again.
TEST_P(RefusingServer, EndsAReportOnTheThirdDay)
{
    const Case& one = GetParam();
    const RawServer server(one.behaviour);
    Write(server.Url(), one);
    const time_t start = std::time(nullptr);
    for (time_t hour = 0; hour < 24; ++hour) {
        Pass(start + hour * 3600);
    }
    EXPECT_EQ(server.Connections(), 1);
    EXPECT_TRUE(IsThere());
    for (time_t hour = 24; hour < 80; ++hour) {
        Pass(start + hour * 3600);
    }
    EXPECT_EQ(server.Connections(), 3);
    EXPECT_TRUE(IsGone());
    EXPECT_NE(mTold.find("given up after 3 refusals, HTTP 4"), std::string::npos) << mTold;
}

INSTANTIATE_TEST_SUITE_P(Servers, RefusingServer, testing::ValuesIn(refusals()), nameOf);
INSTANTIATE_TEST_SUITE_P(Servers, Misbehaviour, testing::ValuesIn(kCases), nameOf);
