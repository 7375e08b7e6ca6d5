// Writes a crash log from a ledger, wherever that lies: in this process, or in the image that a dead one left.
#ifndef HSLOG_CRASH_CRASH_LOG_WRITER_H
#define HSLOG_CRASH_CRASH_LOG_WRITER_H

#include "CrashLedger.h"
#include "CrashLogFormat.h"
#include "RingNow.h"

#include "CircularBuffer.h"

#include <cstddef>
#include <cstdint>
#include <cstring>

#include <errno.h>
#include <sys/types.h>
#include <time.h>

namespace HSL {
namespace CrashLog {

// What the writer needs of the place that it reads and of the one that it writes to: a Source has
//
//     bool IsOpen() const                                   whether anything can be read
//     bool Read(void* to, std::uintptr_t from, size) const  copies; false when not all of it can be read
//     ssize_t Put(const void* bytes, size)                  as write(2)
//     ssize_t PutFrom(std::uintptr_t from, size)            the same from the memory that is read: -1 with EFAULT
//                                                           where that is not there
//     std::int32_t Process() const                          the number of the one that logged
//
// Everything here is called in crashes, so a Source calls nothing that is not async-signal-safe if it is to be used
// in one.
template <typename Source> class Writer {
public:
    explicit Writer(Source& source)
        : mSource(source)
    {
    }

    // The first of the addresses at which there is something that looks like a ledger is taken; 0 is passed over.
    // Returns 0 or an error number.
    template <std::size_t kCount> int Run(const std::uintptr_t (&candidates)[kCount]);

private:
    void Put(const void* bytes, std::size_t size);
    // Memory that may not be there; what cannot be read becomes zeros and is told by a section behind this one.
    void PutMemory(std::uintptr_t from, std::uint32_t size);
    // More bytes of the section may follow.
    void Begin(std::uint32_t kind, const SectionFields& fields, std::uint32_t more = 0);
    void End();

    template <typename T> bool ReadInto(T& to, std::uintptr_t from) const
    {
        return mSource.Read(&to, from, sizeof to);
    }
    bool ReadLedger(std::uintptr_t at);
    void PutHeader();
    void PutState();
    void PutFormats();
    void PutContexts();
    void PutContext(const LedgerSlot& slot, const RingNow& now);
    void PutRing(std::uintptr_t from, std::uint32_t size);
    void PutKept();

    static constexpr std::uint32_t kLongestText = 65535;
    static constexpr std::uint32_t kLargestKept = 1u << 30;

    Source& mSource;
    int mError = 0;
    std::uint32_t mSections = 0;
    std::uint32_t mOffset = 0; // in the section, of what was written from memory
    std::uint32_t mHole = 0;   // and where that could not be read any more
    bool mHasHole = false;
    std::uintptr_t mAt = 0; // of the ledger, 0 for none
    std::uint32_t mSlotsUsed = 0;
    std::int32_t mZoneOffset = 0;
};

// The address of a ledger's field.
#define HSL_LEDGER_FIELD(field) (mAt + offsetof(Ledger, field))

template <typename Source> void Writer<Source>::Put(const void* bytes, std::size_t size)
{
    const char* at = static_cast<const char*>(bytes);
    while (size > 0 && mError == 0) {
        const ssize_t written = mSource.Put(at, size);
        if (written > 0) {
            at += written;
            size -= static_cast<std::size_t>(written);
        } else if (written == 0 || errno != EINTR) {
            mError = written == 0 ? ENOSPC : errno;
        }
    }
}

template <typename Source> void Writer<Source>::PutMemory(std::uintptr_t from, std::uint32_t size)
{
    static const char kZeros[512] = {};
    bool isReadable = !mHasHole;
    while (size > 0 && mError == 0) {
        const std::size_t piece = isReadable || size < sizeof kZeros ? size : sizeof kZeros;
        const ssize_t written = isReadable ? mSource.PutFrom(from, piece) : mSource.Put(kZeros, piece);
        if (written > 0) {
            from += static_cast<std::uintptr_t>(written);
            size -= static_cast<std::uint32_t>(written);
            mOffset += static_cast<std::uint32_t>(written);
        } else if (written < 0 && errno == EFAULT && isReadable) {
            isReadable = false;
            mHasHole = true;
            mHole = mOffset;
        } else if (written == 0 || errno != EINTR) {
            mError = written == 0 ? ENOSPC : errno;
        }
    }
}

template <typename Source>
void Writer<Source>::Begin(std::uint32_t kind, const SectionFields& fields, std::uint32_t more)
{
    SectionFields head;
    head.Add(kind).Add(fields.Size() + more);
    Put(head.Bytes(), head.Size());
    Put(fields.Bytes(), fields.Size());
    ++mSections;
    mOffset = fields.Size();
    mHasHole = false;
}

template <typename Source> void Writer<Source>::End()
{
    if (mHasHole) {
        const std::uint32_t hole = mHole;
        Begin(kHoleSection, SectionFields().Add(hole));
    }
}

template <typename Source> bool Writer<Source>::ReadLedger(std::uintptr_t at)
{
    mAt = at;
    std::uint64_t mark = 0;
    if (mAt == 0 || !ReadInto(mark, HSL_LEDGER_FIELD(mMark)) || mark != Ledger::kMark
        || !ReadInto(mSlotsUsed, HSL_LEDGER_FIELD(mSlotsUsed))
        || !ReadInto(mZoneOffset, HSL_LEDGER_FIELD(mZoneOffset))) {
        mAt = 0;
        return false;
    }
    mSlotsUsed = mSlotsUsed < Ledger::kMostContexts ? mSlotsUsed : Ledger::kMostContexts;
    return true;
}

template <typename Source> void Writer<Source>::PutHeader()
{
    SectionFields header;
    for (std::size_t i = 0; i + 1 < sizeof kMagic; ++i) {
        header.Add(kMagic[i]);
    }
    header.Add(kByteOrder).Add(kVersion);
    header.Add(static_cast<std::uint8_t>(sizeof(long))).Add(static_cast<std::uint8_t>(sizeof(void*)));
    header.Add(static_cast<std::uint8_t>(sizeof(wchar_t))).Add(std::uint8_t { 0 });
    header.Add(mZoneOffset).Add(mSource.Process()).Add(std::uint32_t { 0 });
    Put(header.Bytes(), header.Size());
}

template <typename Source> void Writer<Source>::PutState()
{
    std::uintptr_t at = 0;
    std::int32_t sequence = 0;
    unsigned char filter[256] = {};
    std::uint32_t lastSeconds = 0;
    std::uint32_t lastMicroseconds = 0;
    std::uint32_t contextsMissing = 0;
    std::uint32_t formatsMissing = 0;
    std::uint32_t recordsLost = 0;
    ReadInto(sequence, HSL_LEDGER_FIELD(mSequence));
    ReadInto(filter, HSL_LEDGER_FIELD(mFilter));
    // The manager's own are newer, where there is still one.
    if (ReadInto(at, HSL_LEDGER_FIELD(mSequenceAt))) {
        ReadInto(sequence, at);
    }
    if (ReadInto(at, HSL_LEDGER_FIELD(mFilterAt))) {
        ReadInto(filter, at);
    }
    ReadInto(lastSeconds, HSL_LEDGER_FIELD(mLastSeconds));
    ReadInto(lastMicroseconds, HSL_LEDGER_FIELD(mLastMicroseconds));
    ReadInto(contextsMissing, HSL_LEDGER_FIELD(mContextsMissing));
    ReadInto(formatsMissing, HSL_LEDGER_FIELD(mFormatsMissing));
    ReadInto(recordsLost, HSL_LEDGER_FIELD(mRecordsLost));
    SectionFields state;
    state.Add(sequence).Add(lastSeconds).Add(lastMicroseconds).Add(filter);
    state.Add(contextsMissing).Add(formatsMissing).Add(recordsLost);
    state.Add(static_cast<std::int64_t>(time(nullptr)));
    Begin(kStateSection, state);
}

template <typename Source> void Writer<Source>::PutFormats()
{
    std::uintptr_t at = 0;
    ReadInto(at, HSL_LEDGER_FIELD(mFirstFormat));
    for (std::uint32_t id = 0; at != 0 && id < Ledger::kMostFormats && mError == 0; ++id) {
        LedgerText text = {};
        if (!ReadInto(text, at) || text.mLength > kLongestText) {
            return;
        }
        Begin(kFormatSection, SectionFields().Add(id).Add(static_cast<std::uint8_t>(text.mIsNarrow != 0)),
              text.mLength);
        PutMemory(at + sizeof text, text.mLength);
        End();
        at = text.mNext;
    }
}

template <typename Source> void Writer<Source>::PutRing(std::uintptr_t from, std::uint32_t size)
{
    if (size > 0) {
        Begin(kRingSection, SectionFields(), size);
        PutMemory(from, size);
        End();
    }
}

template <typename Source> void Writer<Source>::PutContext(const LedgerSlot& slot, const RingNow& now)
{
    const std::uint32_t firstSlot = RingNow::FirstSlot();
    const cb_control& ring = now.control;
    std::int32_t depth = 0;
    std::int32_t count = 0;
    ReadInto(depth, slot.mDepthAt);
    ReadInto(count, slot.mCountAt);
    LedgerText name = {};
    if (slot.mName == 0 || !ReadInto(name, slot.mName) || name.mLength > kLongestText) {
        name.mLength = 0;
    }
    SectionFields head;
    head.Add(depth).Add(count).Add(slot.mCapacity).Add(now.Begin()).Add(ring.write_offset).Add(firstSlot);
    head.Add(now.problem);
    Begin(kContextSection, head, name.mLength);
    PutMemory(slot.mName + sizeof name, name.mLength);
    End();
    if (now.problem == kRingDamaged) {
        PutRing(slot.mControl + firstSlot, slot.mCapacity + 1);
    } else if (now.problem == kRingWhole) {
        if (now.IsNumberTaken()) {
            Begin(kRingSection, SectionFields().Add(std::uint8_t { 0 }).Add(now.taken.mNumber));
        }
        if (ring.write_offset >= ring.read_offset) {
            PutRing(slot.mControl + ring.read_offset, ring.write_offset - ring.read_offset);
        } else {
            PutRing(slot.mControl + ring.read_offset, ring.end_offset + 1 - ring.read_offset);
            PutRing(slot.mControl + firstSlot, ring.write_offset - firstSlot);
        }
    }
}

template <typename Source> void Writer<Source>::PutContexts()
{
    for (std::uint32_t i = 0; i < mSlotsUsed && mError == 0; ++i) {
        const std::uintptr_t at = HSL_LEDGER_FIELD(mSlots) + i * sizeof(LedgerSlot);
        LedgerSlot slot = {};
        if (!ReadInto(slot, at) || slot.mContext == 0) {
            continue;
        }
        const RingNow then = RingNow::Read(mSource, slot, at);
        PutContext(slot, then);
        // A pass may have gone on, and the context may have gone.
        LedgerSlot again = {};
        ReadInto(again, at);
        const RingNow now = RingNow::Read(mSource, slot, at);
        const bool isThere = again.mContext == slot.mContext && again.mGeneration == slot.mGeneration
            && now.problem == then.problem;
        const std::uint32_t begin = isThere ? then.Begin() + now.TakenSince(then) : 0;
        Begin(kSeenSection, SectionFields().Add(begin).Add(std::uint32_t { isThere ? 0u : 1u }));
    }
}

// After the rings: a line is kept before its record leaves them.
template <typename Source> void Writer<Source>::PutKept()
{
    std::uintptr_t at = 0;
    struct {
        std::uint32_t size;
        std::uint32_t begin;
        std::uint32_t end;
    } kept = {};
    static_assert(sizeof kept == sizeof(KeptLines), "the same three");
    if (!ReadInto(at, HSL_LEDGER_FIELD(mKept)) || at == 0 || !ReadInto(kept, at) || kept.size == 0
        || kept.size > kLargestKept || (kept.size & (kept.size - 1)) != 0
        || kept.end - kept.begin > kept.size) {
        return;
    }
    const std::uint32_t used = kept.end - kept.begin;
    const std::uint32_t first = kept.begin & (kept.size - 1);
    const std::uint32_t inOnePiece = used < kept.size - first ? used : kept.size - first;
    Begin(kKeptSection, SectionFields().Add(kept.size).Add(kept.begin).Add(kept.end), used);
    PutMemory(at + sizeof kept + first, inOnePiece);
    PutMemory(at + sizeof kept, used - inOnePiece);
    End();
    ReadInto(kept, at);
    Begin(kKeptSeenSection, SectionFields().Add(kept.begin));
}

template <typename Source>
template <std::size_t kCount>
int Writer<Source>::Run(const std::uintptr_t (&candidates)[kCount])
{
    bool hasLedger = false;
    for (std::size_t i = 0; mSource.IsOpen() && !hasLedger && i < kCount; ++i) {
        hasLedger = ReadLedger(candidates[i]);
    }
    PutHeader();
    if (hasLedger) {
        PutState();
        PutContexts();
        PutKept();
        PutFormats(); // last: a record may name a format that was registered meanwhile
    }
    const std::uint32_t sections = mSections;
    Begin(kDoneSection, SectionFields().Add(sections));
    if (mError == 0 && !mSource.IsOpen()) {
        return EMFILE;
    }
    return mError;
}

#undef HSL_LEDGER_FIELD

} // namespace CrashLog
} // namespace HSL

#endif
