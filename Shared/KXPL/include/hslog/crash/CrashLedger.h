// What a crash log is written from: a second, plain account of contexts, formats and lines, in memory of its
// own.
//
// The manager keeps its contexts and formats in the C++ library's containers, which a crash may have caught in
// the middle of a change and which lie on a heap that it may have destroyed. This account has neither weakness:
// it lies in pages that hold nothing else, entries are published one by one and nothing that a reader may be
// looking at is moved. Addresses are numbers here, because a reader never follows one without asking the system
// first.
#ifndef HSLOG_CRASH_CRASH_LEDGER_H
#define HSLOG_CRASH_CRASH_LEDGER_H

#include "hslog/detail/HSLTakenNumber.h"

#include <cstddef>
#include <cstdint>

struct KxTimeOfDay;

namespace HSL {

class CLogContext;

namespace CrashLog {

struct KeptLineHead;

struct LedgerSlot {
    std::uintptr_t mContext; // 0: free
    std::uintptr_t mControl; // of its ring, 0 for none
    std::uintptr_t mName;    // of a LedgerText, 0 for none
    std::uintptr_t mCountAt; // of the context's fields
    std::uintptr_t mDepthAt;
    std::uint32_t mCapacity; // of the ring, as it was when the context was made
    std::uint32_t mGeneration;
    detail::TakenNumber mTaken; // the pass's
};

// Behind it lies the text, not terminated.
struct LedgerText {
    std::uintptr_t mNext; // formats only: the one registered after this one, or 0
    std::uint32_t mLength;
    std::uint32_t mIsNarrow; // formats only

    char* Text() { return reinterpret_cast<char*>(this + 1); }
};

// The newest lines, oldest first: entries of KeptLineHead, name and message. Positions count up without end and
// are taken modulo the size, a power of two. The bytes follow the struct.
struct KeptLines {
    // So much of the memory is let go at a time, since each time costs a barrier.
    static constexpr std::uint32_t kSharesDropped = 16;

    std::uint32_t mSize;
    std::uint32_t mBegin; // of the oldest entry
    std::uint32_t mEnd;   // of the newest one

    unsigned char* Bytes() { return reinterpret_cast<unsigned char*>(this + 1); }

    // Drops as many of the oldest lines as it takes. A line that is longer than half the memory is cut. The head's
    // mSize need not be set.
    void Append(KeptLineHead& head, const char* name, const char* message);

private:
    void Cut(KeptLineHead& head) const;
    void MakeRoom(std::uint32_t size);
    [[gnu::noinline]] void AppendSlowly(KeptLineHead& head, const char* name, const char* message);
    void Put(std::uint32_t position, const void* bytes, std::size_t size);
};

// Memory that outlives the process, for ledgers and rings to lie in. All of it holds zeros at first.
struct LastingMemory {
    // Of `size` bytes, of which the first `used` can be written to. Null for none.
    void* (*makeLedger)(std::size_t size, std::size_t used);
    void (*endLedger)(void* ledger);
    // Makes sure that bytes of the ledger's can be written to.
    bool (*commit)(void* from, std::size_t size);
    // Null for none. Not given back before the ledger has ended.
    void* (*makeLines)(std::size_t size);
    // As a context wants them; from the heap where there is no lasting memory left.
    void* (*mallocRing)(int size);
    void (*freeRing)(void* ring, int size);
};

// Every change is made under the manager's lock or, where said, by the collection pass, which holds it. Nothing
// here throws; what there is no memory for is counted.
struct Ledger {
    static constexpr std::uint64_t kMark = 0x7265646745485348; // anything that memory is unlikely to hold
    static constexpr std::uint32_t kMostContexts = 4096;
    static constexpr std::size_t kMostFormats = 32768;
    static const std::size_t kCommittedAtFirst; // of lasting memory

    // Null when there is no memory. The two are fields of the manager that this is an account of.
    static Ledger* Make(const int& sequence, const unsigned char (&filter)[256]);
    static void Destroy(Ledger* ledger);

    void AddContext(CLogContext& context);
    void RemoveContext(const CLogContext* context);
    void Rename(const CLogContext* context, const char* name);
    void AddFormat(bool isNarrow, const char* text);
    // Once; `bytes` is rounded up to a power of two. False without memory.
    bool KeepLines(std::uint32_t bytes);
    // What the log call and the pass have for themselves, told here for whoever cannot see the manager any more.
    void NoteFilterValue(unsigned char category, bool on);
    void NoteSequence(std::int32_t sequence) { mSequence = sequence; }
    // Of the record output last.
    void NoteTime(std::uint32_t seconds, std::uint32_t microseconds)
    {
        mLastSeconds = seconds;
        mLastMicroseconds = microseconds;
    }
    // Takes the distance from local time to UTC from a time and what it is here.
    void NoteZone(long long seconds, const KxTimeOfDay& local);
    // Where a pass notes the number that it has taken of the context's next record: here, for whoever writes a crash log,
    // or in the context if that has no place here. A null ledger is none.
    static detail::TakenNumber& TakenOf(Ledger* ledger, CLogContext& context);
    KeptLines* Kept() { return reinterpret_cast<KeptLines*>(mKept); }

    std::uint64_t mMark;
    std::uintptr_t mBegin;    // of the memory that this lies at the start of
    std::uint32_t mBytes;     // of that memory
    std::uint32_t mUsed;      // of those, from the start
    std::uint32_t mSlotsUsed; // slots from here on have never held a context
    std::uint32_t mContextsMissing;
    std::uint32_t mFormatsMissing;
    std::uint32_t mRecordsLost; // in contexts that went before a pass took them
    std::int32_t mZoneOffset;   // seconds that local time is ahead of UTC; set by the collection pass
    std::uint32_t mLastSeconds; // of the record output last; set by the collection pass
    std::uint32_t mLastMicroseconds;
    std::uint32_t mKeptBytes;      // of lines that lie in memory of their own, which is not lasting
    std::uint32_t mCommitted;      // of mBytes, from the start
    const LastingMemory* mLasting; // null: this lies in memory of the process's own
    std::int32_t mSequence;        // as the last pass found it
    std::uint8_t mFilter[256];
    std::uintptr_t mSequenceAt; // of the manager's fields
    std::uintptr_t mFilterAt;
    std::uintptr_t mFirstFormat;
    std::uintptr_t mLastFormat;
    std::uintptr_t mKept;     // of the KeptLines, 0 for none
    std::uintptr_t mFree[32]; // blocks given back, by the logarithm of their size
    LedgerSlot mSlots[kMostContexts];

private:
    bool Commit(std::size_t bytes);
    void* Allocate(std::size_t size);
    void Free(void* block, std::size_t size);
    LedgerText* MakeText(const char* text);
    LedgerSlot* Find(const CLogContext* context);
};

// The address of the ledger that this module made last, for a crash that has overwritten the manager; 0 for none.
extern std::uintptr_t gNewestLedger;

// Where new ledgers and the rings of threads lie; null for memory of the process's own.
extern const LastingMemory* gLastingMemory;

// What new managers of this module keep of their lines; 0 for nothing.
extern std::uint32_t gKeptBytes;

} // namespace CrashLog
} // namespace HSL

#endif
