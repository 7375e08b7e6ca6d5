#include "CrashSandbox.h"
#include "CrashServer.h"
#include "CrashStack.h"
#include "CrashTypes.h"

#include <gtest/gtest.h>
#include <ostream>

namespace {

struct Case {
    const Crash::Type* type;
    int thread;
};

std::vector<Case> allCases()
{
    std::vector<Case> cases;
    for (const Crash::Type& type : Crash::Types()) {
        cases.push_back({ &type, 0 });
        cases.push_back({ &type, 1 });
    }
    return cases;
}

std::string nameOf(const testing::TestParamInfo<Case>& info)
{
    return std::string(info.param.type->word) + (info.param.thread == 0 ? "_main" : "_worker");
}

[[maybe_unused]] void PrintTo(const Case& value, std::ostream* out)
{
    *out << value.type->word << " on thread " << value.thread;
}

class CrashMatrix : public testing::TestWithParam<Case> { };

} // namespace

TEST_P(CrashMatrix, BecomesAReport)
{
    const Crash::Type& type = *GetParam().type;
    CrashSandbox sandbox;
    CrashServer server;
    std::size_t dumpsBeforeAnswer = 0;
    server.BeforeAnswer([&] { dumpsBeforeAnswer = sandbox.Dumps().size(); });

    const Ended ended =
        sandbox.Run({ GetParam().thread == 0 ? "-tcmt" : "-tcwt", type.word, "--url", server.Url(),
                      "--parameter", "BreakpadServerParameterPrefix_Channel=beta" });
    sandbox.WaitForSenders();

    EXPECT_EQ(ended.out, "reporter: started\n");
    EXPECT_EQ(ended.signal, type.signal);
    const auto reports = server.Reports();
    ASSERT_EQ(reports.size(), 1U) << sandbox.Log();
    EXPECT_EQ(dumpsBeforeAnswer, 1U);
    EXPECT_EQ(reports[0].path, "/submit");
    EXPECT_EQ(reports[0].fields.at("ProductName"), "CrashHost");
    EXPECT_EQ(reports[0].fields.at("Version"), "4.2.0");
    EXPECT_EQ(reports[0].fields.at("Channel"), "beta");
    EXPECT_LE(std::stoll(reports[0].fields.at("StartupTime")), std::stoll(reports[0].fields.at("CrashTime")));
    EXPECT_EQ(reports[0].fields.size(), 5U);

    const CrashStack stack = ReadStack(reports[0].dump, sandbox.Folder().string());
    EXPECT_EQ(stack.reason.rfind(type.reason, 0), 0U) << stack.reason;
    EXPECT_EQ(stack.thread, GetParam().thread);
    const int frame = stack.Find(type.function);
    EXPECT_GE(frame, 0) << type.function;
    EXPECT_EQ(frame == 0, type.onTop) << frame;
    EXPECT_TRUE(sandbox.IsClean());
}

INSTANTIATE_TEST_SUITE_P(Breakpad, CrashMatrix, testing::ValuesIn(allCases()), nameOf);

TEST(CrashTypes, TheListIsInTheOrderOfItsCodes)
{
    int code = 0;
    for (const Crash::Type& type : Crash::Types()) {
        EXPECT_EQ(type.code, code++);
    }
}

TEST(CrashTypes, TheHostsHelpNamesAll)
{
    CrashSandbox sandbox;
    const Ended help = sandbox.Run({ "--help" });
    EXPECT_EQ(help.status, 0);
    for (const Crash::Type& type : Crash::Types()) {
        EXPECT_NE(help.out.find(std::string("  ") + type.word + " "), std::string::npos) << type.word;
        EXPECT_NE(help.out.find(type.what), std::string::npos) << type.word;
    }
}

TEST(CrashTypes, WithoutASwitchTheHostEndsNormally)
{
    CrashSandbox sandbox;
    CrashServer server;
    const Ended ended = sandbox.Run({ "--url", server.Url() });
    sandbox.WaitForSenders();
    EXPECT_EQ(ended.signal, 0);
    EXPECT_EQ(ended.status, 0);
    EXPECT_TRUE(server.Reports().empty());
    EXPECT_TRUE(sandbox.IsClean());
}

TEST(CrashTypes, AnUnknownTypeCrashesNothing)
{
    CrashSandbox sandbox;
    CrashServer server;
    const Ended ended = sandbox.Run({ "-tcmt", "TC_NONE", "--url", server.Url() });
    sandbox.WaitForSenders();
    EXPECT_EQ(ended.status, 0);
    EXPECT_TRUE(server.Reports().empty());
}
