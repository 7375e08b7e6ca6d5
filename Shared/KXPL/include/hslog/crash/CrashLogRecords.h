// Finds the records in the bytes of a ring from another process, which may be damaged or made up.
#ifndef HSLOG_CRASH_CRASH_LOG_RECORDS_H
#define HSLOG_CRASH_CRASH_LOG_RECORDS_H

#include <cstddef>
#include <string>
#include <utility>
#include <vector>

namespace HSL {
namespace CrashLog {

// Of the process that wrote the bytes.
struct Widths {
    unsigned int mLong = sizeof(long);
    unsigned int mPointer = sizeof(void*);
};

struct PendingRecord {
    int mSequence = 0;
    unsigned int mSeconds = 0;
    unsigned int mMicroseconds = 0;
    unsigned char mDepth = 0;
    std::string mCategories; // a byte each, at most ten
    std::string mBody;       // from the format kind on, in this build's widths, and safe to render
};

struct RingRecords {
    std::vector<PendingRecord> mRecords; // oldest first
    std::size_t mNonsense = 0;           // bytes that make no record
    std::size_t mUnfinished = 0;         // of a record whose log call had not returned
};

struct RingBytes {
    std::string mBytes; // oldest first
    // Ranges that could not be read, from and to; zeros stand for them.
    std::vector<std::pair<std::size_t, std::size_t>> mHoles;
    // Nothing tells where the oldest record begins and which of them were output already.
    bool mIsWholeArea = false;
};

// Takes what a log call writes and nothing else: a marker of 0, at most ten categories and values, known kinds
// and tags, lengths within the bytes, numbers that rise. Where that ends it goes on with the next place at
// which a record and what follows it make sense. A null wide text, whose length field tells bytes instead of
// characters, is shown as
// "<NULL>".
RingRecords recordsIn(const RingBytes& ring, Widths widths);

} // namespace CrashLog
} // namespace HSL

#endif
