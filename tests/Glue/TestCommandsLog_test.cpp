// What the scan of the command line logs. "workder" is spelled as it is logged.
#include "ProbeRun.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstring>

namespace {

// printEvent shows a newline so.
constexpr const char* kChecking = "Checking command line for crash test parameters\\x0a";
constexpr const char* kNoParameters = "No crash test parameters found\\x0a";
constexpr const char* kMainThread = "Received instruction to crash on main thread\\x0a";
constexpr const char* kWorkerThread = "Received instruction to crash on workder thread\\x0a";
constexpr const char* kCrashType = "Crash type: ";
constexpr const char* kUnknown = "Unknown crash test case instruction: ";

constexpr const char* kInfo = "3";

ProbeResult scanLogged(const Strings& arguments, const std::string& categories = kInfo)
{
    Probe probe;
    probe.Arguments(arguments);
    probe.Call({ "arguments" });
    probe.Call({ "log", categories });
    probe.Call({ "scan", "array", "2" });
    probe.Call({ "finish" });
    return probe.Run();
}

// A message whose "%s" met the address of an argument's string object: it shows the object's own bytes up to
// the first zero. On 64 bits that is what the class pointer has below its zero bytes. On 32 bits the class
// pointer has none, and the text runs on through the fields behind it.
std::string showingObject(const std::string& text, const ProbeResult& result, std::size_t argument)
{
    return text + result.Named("argument").at(argument).at(2) + "\\x0a";
}

struct Record {
    Strings categories;
    int formatKind = 0;
    std::string format;
    int values = 0;
    int tag = 0;
    unsigned long long pointer = 0;
};

// Takes records off the bytes of a ring. Fails the test where there are too few.
class RecordReader {
public:
    explicit RecordReader(const std::string& digits)
    {
        for (std::size_t i = 0; i + 1 < digits.size(); i += 2) {
            mBytes += static_cast<char>(std::stoi(digits.substr(i, 2), nullptr, 16));
        }
    }

    bool AtEnd() const { return mPosition == mBytes.size(); }

    Record Next()
    {
        constexpr std::size_t kMarkerSequenceAndTime = 13;
        Record record;
        Take(kMarkerSequenceAndTime);
        EXPECT_EQ(Number(1), 0u) << "depth";
        for (unsigned long long count = Number(1); count > 0; --count) {
            record.categories.push_back(std::to_string(Number(1)));
        }
        record.formatKind = static_cast<int>(Number(1));
        record.format = Take(static_cast<std::size_t>(Number(2)));
        record.values = static_cast<int>(Number(1));
        if (record.values > 0) {
            record.tag = static_cast<int>(Number(1));
            record.pointer = Number(sizeof(void*));
        }
        return record;
    }

private:
    std::string Take(std::size_t size)
    {
        EXPECT_LE(mPosition + size, mBytes.size());
        const std::string taken = mBytes.substr(std::min(mPosition, mBytes.size()), size);
        mPosition += size;
        return taken;
    }

    unsigned long long Number(std::size_t size)
    {
        const std::string bytes = Take(size);
        unsigned long long number = 0;
        std::memcpy(&number, bytes.data(), bytes.size());
        return number;
    }

    std::string mBytes;
    std::size_t mPosition = 0;
};

// The records of one scan as they lie in the ring, and the addresses of the arguments' string objects.
struct RawScan {
    std::vector<Record> records;
    std::vector<unsigned long long> arguments;
};

RawScan scanRaw(const Strings& arguments)
{
    Probe probe;
    probe.Arguments(arguments);
    probe.Call({ "log", kInfo });
    probe.Call({ "hold" });
    probe.Call({ "arguments" });
    probe.Call({ "scan", "array", "2" });
    probe.Call({ "ring" });
    probe.Call({ "finish" });
    const ProbeResult result = probe.Run();
    RawScan scan;
    for (const Strings& argument : result.Named("argument")) {
        scan.arguments.push_back(std::stoull(argument.at(0), nullptr, 16));
    }
    const std::vector<Strings> rings = result.Named("ring");
    EXPECT_EQ(rings.size(), 1u);
    RecordReader reader(rings.empty() ? "" : rings[0].at(0));
    while (!reader.AtEnd() && !testing::Test::HasFailure()) {
        scan.records.push_back(reader.Next());
    }
    return scan;
}

void expectPointerRecord(const Record& record, const std::string& format, unsigned long long pointer)
{
    EXPECT_EQ(record.categories, Strings({ kInfo }));
    EXPECT_EQ(record.formatKind, 1) << "the text itself, not an id";
    EXPECT_EQ(record.format, format);
    EXPECT_EQ(record.values, 1);
    EXPECT_EQ(record.tag, 15) << "an untyped pointer";
    EXPECT_EQ(record.pointer, pointer);
}

} // namespace

TEST(TestCommandsLog, NoArgumentsAreReported)
{
    EXPECT_EQ(scanLogged({}).Messages(), Strings({ kChecking, kNoParameters }));
}

TEST(TestCommandsLog, ArgumentsWithoutASwitchAreNotReportedAsNone)
{
    EXPECT_EQ(scanLogged({ "TC_GC" }).Messages(), Strings({ kChecking }));
}

TEST(TestCommandsLog, MainThreadSwitchIsReported)
{
    EXPECT_EQ(scanLogged({ "-tcmt" }).Messages(), Strings({ kChecking, kMainThread }));
}

TEST(TestCommandsLog, WorkerThreadSwitchIsReportedAsWorkder)
{
    EXPECT_EQ(scanLogged({ "-tcwt" }).Messages(), Strings({ kChecking, kWorkerThread }));
}

TEST(TestCommandsLog, CrashTypeIsReportedLast)
{
    const ProbeResult result = scanLogged({ "-tcwt", "TC_DIV0" });
    EXPECT_EQ(result.Messages(), Strings({ kChecking, kWorkerThread, showingObject(kCrashType, result, 2) }));
}

TEST(TestCommandsLog, UnknownCrashTypeIsReportedLast)
{
    const ProbeResult result = scanLogged({ "-tcmt", "unknown", "-tcwt", "TC_AR" });
    EXPECT_EQ(result.Messages(), Strings({ kChecking, kMainThread, showingObject(kUnknown, result, 2) }));
}

TEST(TestCommandsLog, SecondSwitchIsReportedAsAnUnknownCrashType)
{
    const ProbeResult result = scanLogged({ "-tcmt", "-tcwt" });
    EXPECT_EQ(result.Messages(), Strings({ kChecking, kMainThread, showingObject(kUnknown, result, 2) }));
}

TEST(TestCommandsLog, ArgumentsBehindTheCrashTypeAreNotReported)
{
    EXPECT_EQ(scanLogged({ "-tcmt", "TC_CONSTRUCTWITHNULL", "-tcwt", "TC_AR" }).Messages().size(), 3u);
}

TEST(TestCommandsLog, NullArrayIsReportedLikeAnyOther)
{
    Probe probe;
    probe.Arguments({ "-tcwt", "TC_AR" });
    probe.Call({ "arguments" });
    probe.Call({ "log", kInfo });
    probe.Call({ "scan", "null", "2" });
    probe.Call({ "finish" });
    const ProbeResult result = probe.Run();
    EXPECT_EQ(result.Messages(), Strings({ kChecking, kWorkerThread, showingObject(kCrashType, result, 2) }));
}

TEST(TestCommandsLog, MessagesAreOfLevelInfo)
{
    const ProbeResult result = scanLogged({ "-tcmt", "TC_AR" }, "all");
    const std::vector<Strings> messages = result.Named("log");
    ASSERT_EQ(messages.size(), 3u);
    for (const Strings& message : messages) {
        EXPECT_EQ(message, Strings({ message[0], "Main", kInfo }));
    }
}

TEST(TestCommandsLog, NothingIsReportedWithLevelInfoSwitchedOff)
{
    EXPECT_TRUE(scanLogged({ "-tcmt", "TC_AR" }, "0,1,2,4,5,6").Messages().empty());
}

TEST(TestCommandsLog, NothingIsReportedWithoutALogManager)
{
    Probe probe;
    probe.Arguments({ "-tcmt", "TC_AR" });
    probe.Call({ "scan", "array", "2" });
    EXPECT_EQ(probe.Run().Names(), Strings({ "scanned" }));
}

TEST(TestCommandsLog, ScanMakesNoLogManager)
{
    Probe probe;
    probe.Arguments({ "-tcmt", "TC_AR" });
    probe.Call({ "scan", "array", "2" });
    probe.Call({ "log-state" });
    EXPECT_EQ(probe.Run().Named("log-state"), std::vector<Strings>({ { "none" } }));
}

TEST(TestCommandsLog, NothingIsReportedWhileTheManagerIsSwitchedOff)
{
    Probe probe;
    probe.Arguments({ "-tcmt", "TC_AR" });
    probe.Call({ "log", "all" });
    probe.Call({ "log-off" });
    probe.Call({ "scan", "array", "2" });
    probe.Call({ "finish" });
    EXPECT_TRUE(probe.Run().Messages().empty());
}

TEST(TestCommandsLog, EntryMessageCarriesNoValue)
{
    const RawScan scan = scanRaw({});
    ASSERT_EQ(scan.records.size(), 2u);
    EXPECT_EQ(scan.records[0].format, "Checking command line for crash test parameters\n");
    EXPECT_EQ(scan.records[0].categories, Strings({ kInfo }));
    EXPECT_EQ(scan.records[0].formatKind, 1);
    EXPECT_EQ(scan.records[0].values, 0);
}

TEST(TestCommandsLog, CrashTypeIsLoggedAsTheAddressOfItsStringObject)
{
    const RawScan scan = scanRaw({ "-tcmt", "TC_AR" });
    ASSERT_EQ(scan.records.size(), 3u);
    ASSERT_EQ(scan.arguments.size(), 3u);
    expectPointerRecord(scan.records[2], "Crash type: %s\n", scan.arguments[2]);
}

TEST(TestCommandsLog, UnknownCrashTypeIsLoggedAsTheAddressOfItsStringObject)
{
    const RawScan scan = scanRaw({ "document", "-tcwt", "unknown" });
    ASSERT_EQ(scan.records.size(), 3u);
    ASSERT_EQ(scan.arguments.size(), 4u);
    expectPointerRecord(scan.records[2], "Unknown crash test case instruction: %s\n", scan.arguments[3]);
}
