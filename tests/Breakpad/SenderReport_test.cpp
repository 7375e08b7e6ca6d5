#include "SenderReport.h"

#include "Keys.h"
#include "ReportFile.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>

using namespace BreakpadLinux;
using Fields = std::map<std::string, std::string>;

namespace {

class SenderReport : public testing::Test {
protected:
    SenderReport()
    {
        char pattern[] = "/tmp/fallcatch-sender-XXXXXX";
        mFolder = mkdtemp(pattern);
    }
    ~SenderReport() override { std::filesystem::remove_all(mFolder); }

    StoredReport Stored(Fields pairs)
    {
        for (const auto& standard : Fields { { kProduct, "App" },
                                             { kVersion, "1.2" },
                                             { kUrl, "http://host/submit" },
                                             { kVendor, "Vendor" },
                                             { kReportInterval, "3600" },
                                             { kStartTime, "100" },
                                             { kCrashTime, "160" },
                                             { kUpTime, "60000" } }) {
            pairs.insert(standard);
        }
        std::string text = kReportHeader;
        for (const auto& pair : pairs) {
            AppendPair(text, pair.first, pair.second);
        }
        const std::string path = mFolder + "/1-2-3.report";
        std::ofstream(path) << text << kReportEnd;
        std::string why;
        return StoredReport::Read(path, why).value();
    }

    static Submission Made(const StoredReport& report)
    {
        return MakeSubmission(report, [] { return std::string("client"); });
    }

    std::string mFolder;
};

} // namespace

TEST_F(SenderReport, SocorroGetsItsOwnNamesAndNothingElse)
{
    const Submission made = Made(Stored({ { kServerType, "socorro" } }));
    EXPECT_EQ(made.fields,
              (Fields { { "ProductName", "App" },
                        { "Version", "1.2" },
                        { "StartupTime", "100" },
                        { "CrashTime", "160" } }));
    EXPECT_EQ(made.url, "http://host/submit");
    EXPECT_TRUE(made.query.empty());
    EXPECT_EQ(made.dump, mFolder + "/1-2-3.dmp");
}

TEST_F(SenderReport, GoogleGetsItsOwnNamesAndTheProductInTheUrl)
{
    const Submission made = Made(Stored({ { kServerType, "google" } }));
    EXPECT_EQ(made.fields,
              (Fields { { "prod", "App" }, { "ver", "1.2" }, { "ptime", "60000" }, { "guid", "client" } }));
    EXPECT_EQ(made.query, (Fields { { "product", "App" }, { "version", "1.2" }, { "guid", "client" } }));
}

TEST_F(SenderReport, WithoutAServerTypeItIsGoogle)
{
    EXPECT_EQ(Made(Stored({})).fields.count("prod"), 1U);
    EXPECT_EQ(Made(Stored({ { kServerType, "" } })).fields.count("prod"), 1U);
}

TEST_F(SenderReport, AnUnknownServerTypeGetsTheExtraParametersOnly)
{
    const Submission made =
        Made(Stored({ { kServerType, "other" }, { "BreakpadServerParameterPrefix_Channel", "beta" } }));
    EXPECT_EQ(made.fields, (Fields { { "Channel", "beta" } }));
}

TEST_F(SenderReport, CommentsAndAddressOfTheUserAreSent)
{
    const Fields user { { kComments, "it fell" }, { kEmail, "a@b.invalid" }, { kServerType, "socorro" } };
    const Submission made = Made(Stored(user));
    EXPECT_EQ(made.fields.at("Comments"), "it fell");
    EXPECT_EQ(made.fields.at("Email"), "a@b.invalid");
}

TEST_F(SenderReport, AnExtraParameterReplacesAFieldOfItsName)
{
    const Submission made =
        Made(Stored({ { kServerType, "socorro" }, { "BreakpadServerParameterPrefix_Version", "mine" } }));
    EXPECT_EQ(made.fields.at("Version"), "mine");
}

TEST_F(SenderReport, APairOfTheHostsOwnIsNotSent)
{
    const Submission made = Made(Stored({ { kServerType, "other" }, { std::string(100, 'k'), "x" } }));
    EXPECT_TRUE(made.fields.empty());
}

TEST_F(SenderReport, AnExtraParameterWithoutANameIsNotSent)
{
    const Submission made =
        Made(Stored({ { kServerType, "other" }, { "BreakpadServerParameterPrefix_", "x" } }));
    EXPECT_TRUE(made.fields.empty());
}

TEST_F(SenderReport, AnIntervalThatIsNoNumberIsNone)
{
    EXPECT_EQ(Stored({ { kReportInterval, "soon" } }).Interval(), 0);
    EXPECT_EQ(Stored({ { kReportInterval, "-5" } }).Interval(), -5);
    EXPECT_EQ(Stored({ { kReportInterval, "3600" } }).Interval(), 3600);
}

TEST_F(SenderReport, AnIntervalWithoutEndIsNone)
{
    for (const char* endless : { "nan", "inf", "-inf", "1e9999" }) {
        EXPECT_EQ(Stored({ { kReportInterval, endless } }).Interval(), 0) << endless;
    }
}

TEST_F(SenderReport, IsNamedByItsGuid)
{
    EXPECT_EQ(Stored({}).Id(), "1-2-3");
}

TEST_F(SenderReport, AFileThatIsNotThereIsNoReport)
{
    std::string why;
    EXPECT_FALSE(StoredReport::Read(mFolder + "/none.report", why));
    EXPECT_EQ(why, "is not there");
}

TEST_F(SenderReport, IsCompressedWhereTheHostAsksForIt)
{
    EXPECT_FALSE(Made(Stored({})).gzip);
    EXPECT_FALSE(Made(Stored({ { kGzip, "0" } })).gzip);
    EXPECT_TRUE(Made(Stored({ { kGzip, "1" } })).gzip);
}
