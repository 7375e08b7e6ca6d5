// Lines in the system's own log.
#include "hslog/sinks/HSLSystemSink.h"

#include "SinkTest.h"

#include <sys/socket.h>
#include <sys/un.h>
#include <syslog.h>
#include <unistd.h>

#include <cstdarg>
#include <cstdio>
#include <cstring>

using namespace HSL::Sinks;

namespace {

std::vector<std::pair<int, std::string>> sLogged;

void take(int priority, const char* format, va_list arguments)
{
    char text[1000];
    std::vsnprintf(text, sizeof text, format, arguments);
    sLogged.emplace_back(priority, text);
}

} // namespace

extern "C" void __wrap_syslog(int priority, const char* format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    take(priority, format, arguments);
    va_end(arguments);
}

extern "C" void __wrap___syslog_chk(int priority, int, const char* format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    take(priority, format, arguments);
    va_end(arguments);
}

namespace {

// A journal that listens.
class Journal {
public:
    explicit Journal(const std::string& path)
        : mSocket(socket(AF_UNIX, SOCK_DGRAM, 0))
    {
        sockaddr_un address {};
        address.sun_family = AF_UNIX;
        std::strncpy(address.sun_path, path.c_str(), sizeof address.sun_path - 1);
        EXPECT_EQ(bind(mSocket, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
        const timeval patience { 10, 0 };
        setsockopt(mSocket, SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience);
    }
    ~Journal() { close(mSocket); }

    std::string Next() const
    {
        std::string entry(10000, 0);
        const ssize_t size = recv(mSocket, entry.data(), entry.size(), 0);
        entry.resize(size > 0 ? static_cast<std::size_t>(size) : 0);
        return entry;
    }

private:
    int mSocket;
};

} // namespace

TEST(SyslogSink, EachLevelHasItsPriority)
{
    sLogged.clear();
    {
        const auto sink = MakeSyslogSink("test");
        for (int level = 0; level < HSL::kLevels; ++level) {
            sink->Write(lineOf("100%s", HSL::Level(level)));
        }
    }
    ASSERT_EQ(sLogged.size(), 7u);
    const int expected[] = { LOG_DEBUG, LOG_DEBUG, LOG_DEBUG, LOG_INFO, LOG_WARNING, LOG_ERR, LOG_CRIT };
    for (std::size_t i = 0; i < 7; ++i) {
        EXPECT_EQ(sLogged[i].first, expected[i]);
        EXPECT_EQ(sLogged[i].second, "100%s");
    }
}

TEST(SyslogSink, CategoryStandsInFront)
{
    sLogged.clear();
    Line line = lineOf("message");
    line.mCategory = "net";
    MakeSyslogSink()->Write(line);
    ASSERT_EQ(sLogged.size(), 1u);
    EXPECT_EQ(sLogged[0].second, "net: message");
}

TEST(JournalSink, EntryHasItsFields)
{
    const Folder folder;
    const Journal journal(folder / "socket");
    Line line = lineOf("message", HSL::Level::kError);
    line.mCategory = "net";
    line.mFile = "main.cpp";
    line.mLine = 12;
    line.mFunction = "run";
    MakeJournalSink("program", (folder / "socket").c_str())->Write(line);
    EXPECT_EQ(journal.Next(),
              "MESSAGE=message\nPRIORITY=3\nSYSLOG_IDENTIFIER=program\nCODE_FILE=main.cpp\nCODE_LINE=12\n"
              "CODE_FUNC=run\nHSL_NUMBER=7\nHSL_LEVEL=Error\nHSL_CATEGORY=net\nHSL_THREAD=Main\n"
              "HSL_TIMESTAMP=1700000000250000\n");
}

TEST(JournalSink, ValueWithANewlineIsToldByItsLength)
{
    const Folder folder;
    const Journal journal(folder / "socket");
    MakeJournalSink("program", (folder / "socket").c_str())->Write(lineOf("a\nb=c"));
    const std::string entry = journal.Next();
    EXPECT_EQ(entry.substr(0, 8 + 8 + 6), std::string("MESSAGE\n\5\0\0\0\0\0\0\0a\nb=c\n", 22));
}

TEST(JournalSink, WhatIsLostBeforeTheJournalListensIsCounted)
{
    const Folder folder;
    const auto sink = MakeJournalSink("program", (folder / "socket").c_str());
    sink->Write(lineOf("one"));
    sink->Write(lineOf("two"));
    ASSERT_TRUE(sink->Flush(kPatience));
    const Journal journal(folder / "socket");
    sink->Write(lineOf("three"));
    ASSERT_TRUE(sink->Flush(kPatience));
    EXPECT_EQ(linesOf(journal.Next())[0], "MESSAGE=*** 2 LINE(S) LOST ***");
    EXPECT_EQ(linesOf(journal.Next())[0], "MESSAGE=three");
}
