// Takes a crash log's file apart. It comes from anywhere: nothing in it is believed that the file itself can
// disprove.
#ifndef HSLOG_CRASH_CRASH_LOG_FILE_H
#define HSLOG_CRASH_CRASH_LOG_FILE_H

#include "CrashLogFormat.h"
#include "CrashLogRecords.h"

#include "hslog/HSLLogManager.h"

#include <cstdint>
#include <string>
#include <vector>

namespace HSL {
namespace CrashLog {

struct StoredContext {
    std::string mName;
    std::int32_t mDepth = 0;
    std::int32_t mCount = 0;
    std::uint32_t mProblem = kRingWhole;
    RingBytes mRing;
};

struct StoredLine {
    KeptLineHead mHead = {};
    std::string mName;
    std::string mMessage;
};

struct StoredLog {
    // Sets `why` and returns false for what is no crash log, or one that this program cannot read.
    bool Read(const std::string& file, std::string& why);

    Widths mWidths;
    std::int32_t mZoneOffset = 0;
    std::int32_t mProcess = 0;
    bool mIsWhole = false; // written to its end
    bool mHasState = false;
    std::int32_t mSequence = 0;
    std::uint32_t mLastSeconds = 0;
    std::uint32_t mLastMicroseconds = 0;
    std::uint8_t mFilter[256] = {};
    std::uint32_t mContextsMissing = 0;
    std::uint32_t mFormatsMissing = 0;
    std::uint32_t mRecordsLost = 0;
    std::int64_t mWritten = 0; // seconds since 1970
    std::vector<StoredContext> mContexts;
    std::vector<CLogManager::CFormatStringEntry> mFormats;
    std::vector<StoredLine> mLines;  // oldest first
    std::uint32_t mLinesDamaged = 0; // bytes of kept lines that make none

private:
    struct Section;

    bool ReadHeader(const std::string& file, std::string& why);
    void Take(const Section& section);
    void TakeState(const Section& section);
    void TakeContext(const Section& section);
    void TakeRing(const Section& section);
    void TakeSeen(const Section& section);
    void TakeFormat(const Section& section);
    void TakeKept(const Section& section);
    void TakeHole(const Section& section);
    void TakeKeptSeen(const Section& section);
    void ReadLines();

    std::uint32_t mLastKind = 0;
    std::size_t mLastRingBegin = 0; // in the context's bytes
    std::uint32_t mReadOffset = 0;  // of the context told last, where its bytes begin
    std::uint32_t mCapacity = 0;
    std::string mKept;
    std::uint32_t mKeptBegin = 0;
};

} // namespace CrashLog
} // namespace HSL

#endif
