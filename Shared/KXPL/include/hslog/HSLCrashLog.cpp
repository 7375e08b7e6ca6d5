// The crash log's writer. What it may call and touch is told in the header.
#include "HSLCrashLog.h"

#include "HSLLogManager.h"
#include "hslog/collect/LastRecord.h"
#include "hslog/crash/CrashLedger.h"
#include "hslog/crash/CrashLogFormat.h"
#include "hslog/crash/SafeMemory.h"

#include "CircularBuffer.h"

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <initializer_list>

#include <errno.h>
#include <time.h>
#include <unistd.h>

namespace HSL {
namespace CrashLog {
namespace {

constexpr std::uint32_t kLongestText = 65535;
constexpr std::uint32_t kLargestKept = 1u << 30;

// The fields of a section, put together before they are written.
class Fields {
public:
    template <typename T> Fields& Add(const T& field)
    {
        std::memcpy(mBytes + mSize, &field, sizeof field);
        mSize += static_cast<std::uint32_t>(sizeof field);
        return *this;
    }

    const unsigned char* Bytes() const { return mBytes; }
    std::uint32_t Size() const { return mSize; }

private:
    unsigned char mBytes[kStateSize];
    std::uint32_t mSize = 0;
};

class Writer {
public:
    explicit Writer(int file)
        : mFile(file)
    {
    }

    int Run(const CLogManager* manager);

private:
    void Put(const void* bytes, std::size_t size);
    // Memory that may not be there; what cannot be read becomes zeros and is told by a section behind this one.
    void PutMemory(std::uintptr_t from, std::uint32_t size);
    // More bytes of the section may follow.
    void Begin(std::uint32_t kind, const Fields& fields, std::uint32_t more = 0);
    void End();

    bool ReadLedger(const CLogManager* manager);
    void PutHeader();
    void PutState();
    void PutFormats();
    void PutContexts();
    void PutContext(const LedgerSlot& slot);
    void PutRing(std::uintptr_t from, std::uint32_t size);
    void PutKept();

    int mFile;
    int mError = 0;
    std::uint32_t mSections = 0;
    std::uint32_t mOffset = 0; // in the section, of what was written from memory
    std::uint32_t mHole = 0;   // and where that could not be read any more
    bool mHasHole = false;
    std::uintptr_t mAt = 0; // of the ledger, 0 for none
    std::uint32_t mSlotsUsed = 0;
    std::int32_t mZoneOffset = 0;
    SafeMemory mMemory;
};

// The address of a ledger's field.
#define HSL_LEDGER_FIELD(field) (mAt + offsetof(Ledger, field))

void Writer::Put(const void* bytes, std::size_t size)
{
    const char* at = static_cast<const char*>(bytes);
    while (size > 0 && mError == 0) {
        const ssize_t written = write(mFile, at, size);
        if (written > 0) {
            at += written;
            size -= static_cast<std::size_t>(written);
        } else if (written == 0 || errno != EINTR) {
            mError = written == 0 ? ENOSPC : errno;
        }
    }
}

void Writer::PutMemory(std::uintptr_t from, std::uint32_t size)
{
    static const char kZeros[512] = {};
    bool isReadable = !mHasHole;
    while (size > 0 && mError == 0) {
        const std::size_t piece = isReadable || size < sizeof kZeros ? size : sizeof kZeros;
        const ssize_t written = write(mFile, isReadable ? reinterpret_cast<const void*>(from) : kZeros, piece);
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

void Writer::Begin(std::uint32_t kind, const Fields& fields, std::uint32_t more)
{
    Fields head;
    head.Add(kind).Add(fields.Size() + more);
    Put(head.Bytes(), head.Size());
    Put(fields.Bytes(), fields.Size());
    ++mSections;
    mOffset = fields.Size();
    mHasHole = false;
}

void Writer::End()
{
    if (mHasHole) {
        const std::uint32_t hole = mHole;
        Begin(kHoleSection, Fields().Add(hole));
    }
}

// Whether there is a ledger that looks like one: the manager's, or, should that have been overwritten, the newest.
bool Writer::ReadLedger(const CLogManager* manager)
{
    if (manager == nullptr) {
        return false;
    }
    std::uintptr_t own = 0;
    mMemory.ReadInto(own, reinterpret_cast<std::uintptr_t>(&manager->mLedger));
    for (const std::uintptr_t candidate : { own, gNewestLedger }) {
        mAt = candidate;
        std::uint64_t mark = 0;
        if (mAt != 0 && mMemory.ReadInto(mark, HSL_LEDGER_FIELD(mMark)) && mark == Ledger::kMark
            && mMemory.ReadInto(mSlotsUsed, HSL_LEDGER_FIELD(mSlotsUsed))
            && mMemory.ReadInto(mZoneOffset, HSL_LEDGER_FIELD(mZoneOffset))) {
            mSlotsUsed = mSlotsUsed < Ledger::kMostContexts ? mSlotsUsed : Ledger::kMostContexts;
            return true;
        }
    }
    mAt = 0;
    return false;
}

void Writer::PutHeader()
{
    Fields header;
    for (std::size_t i = 0; i + 1 < sizeof kMagic; ++i) {
        header.Add(kMagic[i]);
    }
    header.Add(kByteOrder).Add(kVersion);
    header.Add(static_cast<std::uint8_t>(sizeof(long))).Add(static_cast<std::uint8_t>(sizeof(void*)));
    header.Add(static_cast<std::uint8_t>(sizeof(wchar_t))).Add(std::uint8_t { 0 });
    header.Add(mZoneOffset).Add(static_cast<std::int32_t>(getpid())).Add(std::uint32_t { 0 });
    Put(header.Bytes(), header.Size());
}

void Writer::PutState()
{
    std::uintptr_t at = 0;
    std::int32_t sequence = 0;
    unsigned char filter[256] = {};
    std::uint32_t contextsMissing = 0;
    std::uint32_t formatsMissing = 0;
    std::uint32_t recordsLost = 0;
    if (mMemory.ReadInto(at, HSL_LEDGER_FIELD(mSequenceAt))) {
        mMemory.ReadInto(sequence, at);
    }
    if (mMemory.ReadInto(at, HSL_LEDGER_FIELD(mFilterAt))) {
        mMemory.ReadInto(filter, at);
    }
    mMemory.ReadInto(contextsMissing, HSL_LEDGER_FIELD(mContextsMissing));
    mMemory.ReadInto(formatsMissing, HSL_LEDGER_FIELD(mFormatsMissing));
    mMemory.ReadInto(recordsLost, HSL_LEDGER_FIELD(mRecordsLost));
    const RecordTime last = lastRecordTime();
    Fields state;
    state.Add(sequence).Add(last.mSeconds).Add(last.mMicroseconds).Add(filter);
    state.Add(contextsMissing).Add(formatsMissing).Add(recordsLost);
    state.Add(static_cast<std::int64_t>(time(nullptr)));
    Begin(kStateSection, state);
}

void Writer::PutFormats()
{
    std::uintptr_t at = 0;
    mMemory.ReadInto(at, HSL_LEDGER_FIELD(mFirstFormat));
    for (std::uint32_t id = 0; at != 0 && id < Ledger::kMostFormats && mError == 0; ++id) {
        LedgerText text = {};
        if (!mMemory.ReadInto(text, at) || text.mLength > kLongestText) {
            return;
        }
        Begin(kFormatSection, Fields().Add(id).Add(static_cast<std::uint8_t>(text.mIsNarrow != 0)),
              text.mLength);
        PutMemory(at + sizeof text, text.mLength);
        End();
        at = text.mNext;
    }
}

// Whether the positions of a ring of single bytes agree with one another and with the memory that it was made
// in.
bool isSound(const cb_control& ring, std::uint32_t capacity, std::uint32_t firstSlot)
{
    return ring.elem_size == 1 && ring.num_elem == capacity && ring.start_offset == firstSlot
        && ring.end_offset == firstSlot + capacity && ring.read_offset >= firstSlot
        && ring.read_offset <= ring.end_offset && ring.write_offset >= firstSlot
        && ring.write_offset <= ring.end_offset;
}

void Writer::PutRing(std::uintptr_t from, std::uint32_t size)
{
    if (size > 0) {
        Begin(kRingSection, Fields(), size);
        PutMemory(from, size);
        End();
    }
}

void Writer::PutContext(const LedgerSlot& slot)
{
    const std::uint32_t firstSlot = cb_calc_buffer_size(1, 0) - 1;
    std::int32_t depth = 0;
    std::int32_t count = 0;
    mMemory.ReadInto(depth, slot.mDepthAt);
    mMemory.ReadInto(count, slot.mCountAt);
    cb_control ring = {};
    std::uint32_t problem = kRingWhole;
    if (slot.mControl == 0) {
        problem = kRingMissing;
    } else if (!mMemory.ReadInto(ring, slot.mControl)) {
        problem = kRingUnreadable;
    } else if (!isSound(ring, slot.mCapacity, firstSlot)) {
        problem = kRingDamaged;
    }
    LedgerText name = {};
    if (slot.mName == 0 || !mMemory.ReadInto(name, slot.mName) || name.mLength > kLongestText) {
        name.mLength = 0;
    }
    Fields head;
    head.Add(depth).Add(count).Add(slot.mCapacity).Add(ring.read_offset).Add(ring.write_offset).Add(firstSlot);
    head.Add(problem);
    Begin(kContextSection, head, name.mLength);
    PutMemory(slot.mName + sizeof name, name.mLength);
    End();
    if (problem == kRingDamaged) {
        PutRing(slot.mControl + firstSlot, slot.mCapacity + 1);
    } else if (problem == kRingWhole && ring.write_offset >= ring.read_offset) {
        PutRing(slot.mControl + ring.read_offset, ring.write_offset - ring.read_offset);
    } else if (problem == kRingWhole) {
        PutRing(slot.mControl + ring.read_offset, ring.end_offset + 1 - ring.read_offset);
        PutRing(slot.mControl + firstSlot, ring.write_offset - firstSlot);
    }
}

void Writer::PutContexts()
{
    for (std::uint32_t i = 0; i < mSlotsUsed && mError == 0; ++i) {
        const std::uintptr_t at = HSL_LEDGER_FIELD(mSlots) + i * sizeof(LedgerSlot);
        LedgerSlot slot = {};
        if (!mMemory.ReadInto(slot, at) || slot.mContext == 0) {
            continue;
        }
        PutContext(slot);
        // A pass may have gone on, and the context may have gone.
        LedgerSlot now = {};
        cb_control ring = {};
        mMemory.ReadInto(now, at);
        const bool isThere = now.mContext == slot.mContext && now.mGeneration == slot.mGeneration;
        if (!isThere || !mMemory.ReadInto(ring, slot.mControl)) {
            ring.read_offset = 0;
        }
        Begin(kSeenSection, Fields().Add(ring.read_offset).Add(std::uint32_t { isThere ? 0u : 1u }));
    }
}

// After the rings: a line is kept before its record leaves them.
void Writer::PutKept()
{
    std::uintptr_t at = 0;
    struct {
        std::uint32_t size;
        std::uint32_t begin;
        std::uint32_t end;
    } kept = {};
    static_assert(sizeof kept == sizeof(KeptLines), "the same three");
    if (!mMemory.ReadInto(at, HSL_LEDGER_FIELD(mKept)) || at == 0 || !mMemory.ReadInto(kept, at)
        || kept.size == 0 || kept.size > kLargestKept || (kept.size & (kept.size - 1)) != 0
        || kept.end - kept.begin > kept.size) {
        return;
    }
    const std::uint32_t used = kept.end - kept.begin;
    const std::uint32_t first = kept.begin & (kept.size - 1);
    const std::uint32_t inOnePiece = used < kept.size - first ? used : kept.size - first;
    Begin(kKeptSection, Fields().Add(kept.size).Add(kept.begin).Add(kept.end), used);
    PutMemory(at + sizeof kept + first, inOnePiece);
    PutMemory(at + sizeof kept, used - inOnePiece);
    End();
    mMemory.ReadInto(kept, at);
    Begin(kKeptSeenSection, Fields().Add(kept.begin));
}

int Writer::Run(const CLogManager* manager)
{
    const bool hasLedger = mMemory.IsOpen() && ReadLedger(manager);
    PutHeader();
    if (hasLedger) {
        PutState();
        PutContexts();
        PutKept();
        PutFormats(); // last: a record may name a format that was registered meanwhile
    }
    const std::uint32_t sections = mSections;
    Begin(kDoneSection, Fields().Add(sections));
    if (mError == 0 && !mMemory.IsOpen()) {
        return EMFILE;
    }
    return mError;
}

} // namespace
} // namespace CrashLog

int WriteCrashLog(int file)
{
    const int errorBefore = errno;
    const int result = CrashLog::Writer(file).Run(CLogManager::Instance());
    errno = errorBefore;
    return result;
}

bool KeepLines(unsigned int bytes)
{
    CrashLog::gKeptBytes = bytes;
    CLogManager* manager = CLogManager::Instance();
    if (manager == nullptr) {
        return true; // the manager will ask for the memory
    }
    const KxLockGuard guard(manager->mLock);
    return manager->mLedger != nullptr && manager->mLedger->KeepLines(bytes);
}

} // namespace HSL
