#include "HSLLogContext.h"

#include "HSLLogManager.h"
#include "hslog/crash/CrashLedger.h"
#include "hslog/record/HSLRecord.h"
#include "hslog/record/HSLRecordCut.h"

#include "ring/CircularBufferWriter.h"
#include "KxSplitTime.h"
#include "detail/KxAtomic.h"

#include <algorithm>
#include <cstdlib>
#include <memory>

namespace HSL {
namespace {

constexpr double kLowWaterShare = 0.75;

bool isGuarded()
{
    const CLogManager* manager = CLogManager::Instance();
    return manager != nullptr && manager->IsGuarded();
}

// Reads the clock.
RecordHeader headerNow(int sequence, int depth, unsigned char count, const unsigned char* codes)
{
    return { sequence, KxSplitTime::Current(), static_cast<unsigned char>(std::clamp(depth, 0, 255)), count,
             codes };
}

} // namespace

CLogContext::CLogContext(const char* name, int size, void* (*mallocFunc)(int), void (*freeFunc)(void*, int))
    : mBuffer(nullptr)
    , mRecordCount(0)
    , mName(name != nullptr ? name : detail::kNullText)
    , mDepth(0)
    , mDropping(false)
{
    CLogManager* manager = CLogManager::Instance();
    if (size == 0 && manager != nullptr) {
        size = static_cast<int>(manager->mDefaultContextSize);
    }
    mHighWater = size - kReserveBytes;
    mLowWater = static_cast<int>(size * kLowWaterShare);
    // Registration may run out of memory, and no destructor runs for an object whose constructor throws.
    auto ring = std::make_unique<CCircularBuffer>(1u, static_cast<unsigned int>(size), mallocFunc, freeFunc,
                                                  CCircularBuffer::CopyFunc);
    mBuffer = ring.get();
    // Last: from here on a collection pass may look at this object.
    if (manager != nullptr) {
        manager->AddContext(this);
    }
    static_cast<void>(ring.release()); // mBuffer owns it from now on
}

CLogContext::~CLogContext()
{
    // First: a collection pass must not find a context without its ring.
    if (CLogManager::IsInitialized()) {
        CLogManager::Instance()->RemoveContext(this);
    }
    delete mBuffer;
    mBuffer = nullptr;
}

void* CLogContext::MallocFunc(int size)
{
    return std::malloc(static_cast<std::size_t>(size));
}

void CLogContext::FreeFunc(void* p, int)
{
    std::free(p);
}

void CLogContext::SetName(const char* name)
{
    CLogManager* manager = CLogManager::Instance();
    const KxLockGuard guard(manager->mLock);
    mName = name != nullptr ? name : detail::kNullText;
    if (manager->mLedger != nullptr) {
        manager->mLedger->Rename(this, mName.c_str());
    }
}

void CLogContext::LogPre(const CCat& cat)
{
    WriteHeader(cat, KxAtomicAdd32Barrier(1, &CLogManager::Instance()->mSequence));
}

void CLogContext::WriteHeader(const CCat& cat, int sequence)
{
    Writes writes { *mBuffer };
    VisitHeader(writes, headerNow(sequence, mDepth, cat.UsableCount(), cat.mCodes));
}

void CLogContext::RecordValues(const CCat& cat, const char* format, std::initializer_list<const CValue*> values)
{
    CLogManager* manager = CLogManager::Instance();
    if (manager != nullptr && manager->PassesFilter(cat.UsableCount(), cat.mCodes)) {
        const int sequence = KxAtomicAdd32Barrier(1, &manager->mSequence);
        RecordValues(cat, sequence, detail::Typed::Format(format), values);
    }
}

void CLogContext::RecordValues(const CCat& cat, short formatId, std::initializer_list<const CValue*> values)
{
    CLogManager* manager = CLogManager::Instance();
    if (manager != nullptr && manager->PassesFilter(cat.UsableCount(), cat.mCodes)) {
        const int sequence = KxAtomicAdd32Barrier(1, &manager->mSequence);
        RecordValues(cat, sequence, detail::Typed::Format(formatId), values);
    }
}

void CLogContext::RecordValues(const CCat& cat, int sequence, const AnyField& format,
                               std::initializer_list<const CValue*> values)
{
    AnyField fields[kMostValues + 1];
    fields[0] = format;
    int count = 0;
    for (const CValue* value : values) {
        fields[++count] = Measured(*value);
    }
    RecordFields(cat, sequence, fields, count);
}

// Out of line so that no log call has to store its category in memory.
void CLogContext::RecordElsewhere(unsigned char code, int sequence, const AnyField* fields, int count)
{
    RecordFields(CCat(code), sequence, fields, count);
}

// The rule of dropping. Signed, as the high water of a small ring is negative.
inline CLogContext::Verdict CLogContext::Judge(unsigned int used) const
{
    const int level = static_cast<int>(used);
    if (mDropping) {
        return level >= mLowWater ? kDiscard : kWrite;
    }
    return level >= mHighWater ? kTellOfDrops : kWrite;
}

// One record, or what the ring's level makes of it.
void CLogContext::RecordFields(const CCat& cat, int sequence, const AnyField* fields, int count)
{
    // Pair RESTART, acquire: the pass has counted for the last time.
    if (KxLoadAcquire(mRestart) == kAsked && mBuffer->mControl != nullptr) {
        Restart();
    }
    const KXPL::RingWriter ring(mBuffer->mControl);
    switch (Judge(ring.Used())) {
    case kWrite:
        mDropping = false;
        if (!RecordInOnePiece(cat, sequence, fields, count)) {
            RecordByWrites(cat, sequence, fields, count);
        }
        return;
    case kDiscard:
        return;
    case kTellOfDrops:
        // Not by a record that is cut, with a guarded manager; a later call finds room for it.
        if (!isGuarded() || !ring || ring.Free() >= kDroppedRecordSize) {
            mDropping = true;
            const AnyField dropped = detail::Typed::Format(kDroppedText);
            RecordByWrites(cat, sequence, &dropped, 0);
        }
    }
}

// Where a message of `size` bytes and one category has its place in one piece: reads the clock, then stores and
// publishes the header in front of that place. No place: nothing has been done.
KXPL::RingPlace CLogContext::Begin(unsigned char code, int sequence, unsigned int size)
{
    if (!KXPL::RingWriter::IsOfBytes(mBuffer->mControl)) {
        return {};
    }
    const KXPL::RingWriter ring(mBuffer->mControl);
    KXPL::RingPlace place = ring.Place(HeaderSize(1) + size);
    if (!place || mDropping || KxLoadRelaxed(mRestart) != kRunning || Judge(ring.Used()) != kWrite) {
        return {};
    }
    const RecordHeader header = headerNow(sequence, mDepth, 1, &code);
    detail::Stores stores { place.Ring(), place.At() };
    VisitHeader(stores, header);
    detail::Publications publications { place };
    VisitHeader(publications, header);
    return place;
}

bool CLogContext::RecordInOnePiece(const CCat& cat, int sequence, const AnyField* fields, int count)
{
    detail::Sizes sizes;
    VisitMessage(sizes, fields, count);
    KXPL::RingPlace place = cat.mCount == 1 ? Begin(cat.mCodes[0], sequence, sizes.mSize) : KXPL::RingPlace();
    if (!place) {
        return false;
    }
    detail::Stores stores { place.Ring(), place.At() };
    VisitMessage(stores, fields, count);
    detail::Publications publications { place };
    VisitMessage(publications, fields, count);
    LogPost();
    return true;
}

// Each piece by a Write of its own, for a place that is not in one piece. With a guarded manager a record that would not
// be whole is written with its texts cut, or not at all.
void CLogContext::RecordByWrites(const CCat& cat, int sequence, const AnyField* fields, int count)
{
    const KXPL::RingWriter ring(mBuffer->mControl);
    CRecordCuts cuts;
    if (isGuarded() && ring && !cuts.Fit(ring.Free(), fields, count)) {
        return;
    }
    WriteHeader(cat, sequence);
    cuts.Write(*mBuffer, fields, count);
    LogPost();
}

// What the collector could not read is behind it: from here on there are records again.
void CLogContext::Restart()
{
    mRestartOffset = KXPL::RingWriter(mBuffer->mControl).Position();
    KxStoreRelaxed(mRecordCount, 0);
    mDropping = false;
    // Pair RESTART, release: the offset and the count are the pass's.
    KxStoreRelease(mRestart, static_cast<unsigned char>(kRestarted));
}

} // namespace HSL
