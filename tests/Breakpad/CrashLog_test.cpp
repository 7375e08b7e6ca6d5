// The log that goes with a report.
#include "CrashSandbox.h"
#include "CrashServer.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

std::string lastLine(const std::string& text)
{
    const std::size_t notes = text.find("-- ");
    const std::string lines = text.substr(0, notes);
    return lines.substr(lines.rfind('\t') + 1);
}

Ended crash(CrashSandbox& sandbox, const CrashServer& server, const std::vector<std::string>& more,
            const std::string& thread = "-tcwt", const std::string& scenario = "log")
{
    std::vector<std::string> arguments = { thread, "TC_DIV0", "--url", server.Url(), "--scenario", scenario };
    arguments.insert(arguments.end(), more.begin(), more.end());
    return sandbox.Run(arguments);
}

} // namespace

TEST(CrashLogUpload, TheLogEndsWithTheLineBeforeTheFault)
{
    CrashSandbox sandbox;
    CrashServer server;
    const Ended ended = crash(sandbox, server, {});
    sandbox.WaitForSenders();
    EXPECT_NE(ended.signal, 0);
    ASSERT_EQ(server.Reports().size(), 1u) << sandbox.Log();
    const std::string log = server.Reports()[0].fields.at("upload_file_log");
    EXPECT_EQ(lastLine(log), "the next step is the one that goes wrong\n") << log;
    for (const char* part : { ":  [Main              ]\tdocument \"flower.sketch\" opened\n",
                              ":  [loader            ]\tlayer 3 loaded\n",
                              ":  [autosave          ]\tthe disk is slow: 2.5 s for a save\n" }) {
        EXPECT_NE(log.find(part), std::string::npos) << log;
    }
    EXPECT_TRUE(sandbox.IsClean()) << "the log goes with the report";
}

TEST(CrashLogUpload, TheMainThreadsLastLineArrivesToo)
{
    CrashSandbox sandbox;
    CrashServer server;
    crash(sandbox, server, {}, "-tcmt");
    sandbox.WaitForSenders();
    ASSERT_EQ(server.Reports().size(), 1u) << sandbox.Log();
    EXPECT_EQ(lastLine(server.Reports()[0].fields.at("upload_file_log")),
              "now doing what the command line asks for\n");
}

TEST(CrashLogUpload, AKeyChoosesTheFieldAndTheSize)
{
    CrashSandbox sandbox;
    CrashServer server;
    crash(sandbox, server,
          { "--parameter", "FallcatchLogField=attachment", "--parameter", "FallcatchLogBytes=1024" });
    sandbox.WaitForSenders();
    ASSERT_EQ(server.Reports().size(), 1u) << sandbox.Log();
    EXPECT_EQ(server.Reports()[0].fields.count("upload_file_log"), 0u);
    EXPECT_EQ(server.Reports()[0].fields.count("attachment"), 1u);
}

TEST(CrashLogUpload, AKeyNamesWhatMustNotBeSent)
{
    CrashSandbox sandbox;
    CrashServer server;
    crash(sandbox, server, { "--parameter", "FallcatchLogLeaveOut=#99;the disk;AUTOSAVE" });
    sandbox.WaitForSenders();
    ASSERT_EQ(server.Reports().size(), 1u) << sandbox.Log();
    const std::string& log = server.Reports()[0].fields.at("upload_file_log");
    EXPECT_EQ(log.find("disk"), std::string::npos) << log;
    EXPECT_EQ(log.find("autosave"), std::string::npos) << log;
    EXPECT_NE(log.find("]\t<LEFT OUT>\n"), std::string::npos) << log;
    EXPECT_NE(log.find("layer 3 loaded\n"), std::string::npos) << log;
}

TEST(CrashLogUpload, AKeyTurnsItOff)
{
    CrashSandbox sandbox;
    CrashServer server;
    crash(sandbox, server, { "--parameter", "FallcatchLogField=none" });
    sandbox.WaitForSenders();
    ASSERT_EQ(server.Reports().size(), 1u) << sandbox.Log();
    EXPECT_EQ(server.Reports()[0].fields.size(), 4u) << "the four of every report";
    EXPECT_TRUE(sandbox.IsClean()) << "unsent, but gone with the report";
}

TEST(CrashLogUpload, AWriterThatNeverEndsCostsTwoSecondsAndNotTheReport)
{
    CrashSandbox sandbox;
    CrashServer server;
    const Ended ended = crash(sandbox, server, {}, "-tcwt", "log-for-ever");
    sandbox.WaitForSenders();
    EXPECT_NE(ended.signal, 0);
    ASSERT_EQ(server.Reports().size(), 1u) << sandbox.Log();
    EXPECT_EQ(server.Reports()[0].fields.at("upload_file_log"),
              "-- the log could not be written: its writer did not end within 2 seconds\n");
    EXPECT_TRUE(sandbox.IsClean());
}

TEST(CrashLogUpload, AWriterThatCrashesEndsOnlyItself)
{
    CrashSandbox sandbox;
    CrashServer server;
    const Ended ended = crash(sandbox, server, {}, "-tcwt", "log-crashing");
    sandbox.WaitForSenders();
    EXPECT_NE(ended.signal, 0);
    ASSERT_EQ(server.Reports().size(), 1u) << sandbox.Log();
    EXPECT_EQ(server.Reports()[0].fields.at("upload_file_log"),
              "-- the log could not be written: its writer crashed\n");
    EXPECT_TRUE(sandbox.IsClean());
}
