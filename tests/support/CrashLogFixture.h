// Crash logs of a manager whose passes run only when the test says so.
#ifndef FALLCATCH_TESTS_CRASH_LOG_FIXTURE_H
#define FALLCATCH_TESTS_CRASH_LOG_FIXTURE_H

#include "hslog/HSLCrashLog.h"
#include "hslog/crash/CrashLedger.h"
#include "hslog/crash/CrashLogText.h"

#include "ManualPass.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdio>
#include <string>
#include <vector>

// A file that is gone at its end.
class CrashLogFile {
public:
    CrashLogFile()
        : mFile(std::tmpfile())
    {
    }
    ~CrashLogFile() { std::fclose(mFile); }

    CrashLogFile(const CrashLogFile&) = delete;
    CrashLogFile& operator=(const CrashLogFile&) = delete;

    int Number() const { return fileno(mFile); }

    std::string Bytes() const
    {
        std::string bytes;
        char piece[65536];
        std::rewind(mFile);
        for (std::size_t got = 0; (got = std::fread(piece, 1, sizeof piece, mFile)) > 0;) {
            bytes.append(piece, got);
        }
        return bytes;
    }

private:
    std::FILE* mFile;
};

class CrashLogTest : public testing::Test {
protected:
    std::string Written()
    {
        const CrashLogFile file;
        EXPECT_EQ(HSL::WriteCrashLog(file.Number()), 0);
        return file.Bytes();
    }

    // The lines of a log that is written now.
    std::vector<std::string> Lines() { return LinesOf(Written()); }

    std::vector<std::string> LinesOf(const std::string& file)
    {
        mText = HSL::CrashLog::textOf(file, mOptions);
        std::vector<std::string> lines;
        for (std::size_t at = 0; at < mText.mLines.size();) {
            const std::size_t end = mText.mLines.find('\n', at) + 1;
            lines.push_back(mText.mLines.substr(at, end - at));
            at = end;
        }
        return lines;
    }

    // The same without what stands in front of each message.
    std::vector<std::string> Messages()
    {
        std::vector<std::string> messages;
        for (const std::string& line : Lines()) {
            messages.push_back(messageOf(line));
        }
        return messages;
    }

    // What a pass outputs now.
    std::vector<std::string> NextPass()
    {
        const std::size_t before = mPass.lines.size();
        mPass.Manager().Collect();
        return { mPass.lines.begin() + static_cast<std::ptrdiff_t>(before), mPass.lines.end() };
    }

    // Another test may have asked for kept lines, which holds for all managers behind it.
    struct NoKeptLines {
        NoKeptLines() { HSL::CrashLog::gKeptBytes = 0; }
    };
    NoKeptLines mNoKeptLines;
    ManualPass mPass;
    HSL::CrashLog::TextOptions mOptions;
    HSL::CrashLog::CrashLogText mText;
};

#endif
