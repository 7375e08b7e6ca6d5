#include "HSLLogContext.h"

#include "HSLLogManager.h"
#include "hslog/crash/CrashLedger.h"
#include "hslog/record/HSLRecord.h"
#include "hslog/record/HSLRecordCut.h"

#include "ring/CircularBufferPositions.h"
#include "KxSplitTime.h"
#include "detail/KxAtomic.h"

#include <algorithm>
#include <cstdlib>
#include <memory>

namespace HSL {
namespace {

constexpr double kLowWaterShare = 0.75;
constexpr unsigned char kMarker = 0;

void writeValues(CCircularBuffer& buffer, const CRecordValue* values, int count, const CRecordCuts& cuts)
{
    WriteField(buffer, static_cast<unsigned char>(count));
    for (int i = 0; i < count; ++i) {
        cuts.WriteValue(buffer, i + 1, values[i]);
    }
}

bool isGuarded()
{
    const CLogManager* manager = CLogManager::Instance();
    return manager != nullptr && manager->IsGuarded();
}

unsigned int bytesFree(const CCircularBuffer& buffer)
{
    cb_control* control = buffer.mControl;
    return control->num_elem - cb_get_num_elem_used(control);
}

unsigned char clampedDepth(int depth)
{
    return static_cast<unsigned char>(std::clamp(depth, 0, 255));
}

} // namespace

CLogContext::CLogContext(const char* name, int size, void* (*mallocFunc)(int), void (*freeFunc)(void*, int))
    : mBuffer(nullptr)
    , mRecordCount(0)
    , mName(name != nullptr ? name : kNullText)
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
    mName = name != nullptr ? name : kNullText;
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
    WriteField(*mBuffer, kMarker);
    WriteField(*mBuffer, sequence);
    const KxSplitTime time = KxSplitTime::Current();
    WriteField(*mBuffer, time.mSeconds);
    WriteField(*mBuffer, time.mMicroseconds);
    const unsigned char depth = clampedDepth(mDepth);
    WriteField(*mBuffer, depth);
    cat.Serialize(mBuffer);
}

// RecordMeasured for values of any types.
template <typename Format>
void CLogContext::RecordAnyMeasured(const CCat& cat, int sequence, Format format, const CValue* values,
                                    int count)
{
    CRecordValue measured[kMostValues];
    unsigned int size = kRecordHeaderSize + format.Size() + 1;
    for (int i = 0; i < count; ++i) {
        measured[i] = MeasureValue(values[i]);
        size += measured[i].Size();
    }
    CRecordPublisher publisher = Begin(cat, sequence, size);
    if (publisher.mOffset <= kPieceByPiece) {
        if (publisher.mOffset == kPieceByPiece) {
            RecordByWrites(cat, sequence, format, measured, count);
        }
        return;
    }
    unsigned char* at = publisher.At(0);
    at = StoreFormat(publisher.mControl, at, format);
    at = StoreField(at, static_cast<unsigned char>(count));
    for (int i = 0; i < count; ++i) {
        at = StoreValue(publisher.mControl, at, measured[i]);
    }
    PublishFormat(publisher, format);
    publisher.Pass(1);
    for (int i = 0; i < count; ++i) {
        PublishValue(publisher, measured[i]);
    }
    LogPost();
}

void CLogContext::RecordAny(const CCat& cat, int sequence, const char* format, const CValue* values, int count)
{
    RecordAnyMeasured(cat, sequence, MeasureFormat(format), values, count);
}

void CLogContext::RecordAny(const CCat& cat, int sequence, short formatId, const CValue* values, int count)
{
    RecordAnyMeasured(cat, sequence, MeasureFormat(formatId), values, count);
}

// Begins a record of `size` bytes and one category, if it may be written and there is a place for it in one
// piece: reads the clock, then stores and publishes the header.
CRecordPublisher CLogContext::Begin(unsigned char code, int sequence, unsigned int size)
{
    cb_control* control = mBuffer->mControl;
    if (control == nullptr || control->elem_size != 1) {
        return BeginByWrites(code, sequence);
    }
    const unsigned int offset = control->write_offset;
    const unsigned int used = KXPL::bytesUsed(control, KXPL::readerPosition(control), offset);
    if (mDropping || KxLoadRelaxed(mRestart) != kRunning || static_cast<int>(used) >= mHighWater
        || used + size > control->num_elem || offset + size > control->end_offset) {
        return BeginByWrites(code, sequence);
    }
    const KxSplitTime time = KxSplitTime::Current();
    unsigned char* at = KXPL::slotAt(control, offset);
    at = StoreField(at, kMarker);
    at = StoreField(at, sequence);
    at = StoreField(at, time.mSeconds | static_cast<unsigned long long>(time.mMicroseconds) << 32);
    at = StoreField(at, clampedDepth(mDepth));
    at = StoreField(at, static_cast<unsigned char>(1));
    StoreField(at, code);
    CRecordPublisher publisher { control, offset };
    publisher.Pass(sizeof kMarker);
    publisher.Pass(sizeof sequence);
    publisher.Pass(sizeof time.mSeconds);
    publisher.Pass(sizeof time.mMicroseconds);
    publisher.Pass(1); // the depth
    publisher.Pass(1); // the number of categories
    publisher.Pass(1); // the category
    return publisher;
}

CRecordPublisher CLogContext::Begin(const CCat& cat, int sequence, unsigned int size)
{
    return cat.mCount == 1 ? Begin(cat.mCodes[0], sequence, size) : BeginByWrites(cat, sequence);
}

// Slow path: measures the fill level anew and checks both watermarks; may set or clear mDropping, and writes the
// dropped-messages record where dropping starts.
CRecordPublisher CLogContext::BeginByWrites(const CCat& cat, int sequence)
{
    return { nullptr, HasRoom(cat, sequence) ? kPieceByPiece : kNothingToWrite };
}

// A function of its own so that the category, which has to lie in memory here, is no matter of Begin's.
CRecordPublisher CLogContext::BeginByWrites(unsigned char code, int sequence)
{
    return BeginByWrites(CCat(code), sequence);
}

// Whether the message may be written. Side effects: sets or clears mDropping; where dropping starts, writes the
// dropped-messages record in the message's place. A discarded message leaves its number unused.
bool CLogContext::HasRoom(const CCat& cat, int sequence)
{
    // Pair RESTART, acquire: the pass has counted for the last time.
    if (KxLoadAcquire(mRestart) == kAsked && mBuffer->mControl != nullptr) {
        Restart();
    }
    const int used =
        mBuffer->mControl != nullptr ? static_cast<int>(cb_get_num_elem_used(mBuffer->mControl)) : 0;
    if (mDropping) {
        if (used >= mLowWater) {
            return false; // its number is a gap that tells readers of a missing message
        }
        mDropping = false;
        return true;
    }
    if (used < mHighWater) {
        return true;
    }
    if (isGuarded() && mBuffer->mControl != nullptr && bytesFree(*mBuffer) < kDroppedRecordSize) {
        return false; // not to be told by a record that is cut; a later call finds room for it
    }
    mDropping = true;
    RecordByWrites(cat, sequence, MeasureFormat(kDroppedText), nullptr, 0);
    return false;
}

// What the collector could not read is behind it: from here on there are records again.
void CLogContext::Restart()
{
    mRestartOffset = mBuffer->mControl->write_offset;
    KxStoreRelaxed(mRecordCount, 0);
    mDropping = false;
    // Pair RESTART, release: the offset and the count are the pass's.
    KxStoreRelease(mRestart, static_cast<unsigned char>(kRestarted));
}

// A record field by field, each by a Write of its own, for a place that is not in one piece. With a guarded manager
// a record that would not be whole is written with its texts cut, or not at all.
void CLogContext::RecordByWrites(const CCat& cat, int sequence, CRecordFormatText format,
                                 const CRecordValue* values, int count)
{
    CRecordCuts cuts;
    if (mBuffer->mControl != nullptr && isGuarded()
        && !cuts.Fit(bytesFree(*mBuffer), &format.mText, values, count)) {
        return;
    }
    WriteHeader(cat, sequence);
    WriteField(*mBuffer, kFormatInline);
    cuts.Write(*mBuffer, 0, format.mText, 1);
    writeValues(*mBuffer, values, count, cuts);
    LogPost();
}

void CLogContext::RecordByWrites(const CCat& cat, int sequence, CRecordFormatId format,
                                 const CRecordValue* values, int count)
{
    CRecordCuts cuts;
    if (mBuffer->mControl != nullptr && isGuarded() && !cuts.Fit(bytesFree(*mBuffer), nullptr, values, count)) {
        return;
    }
    WriteHeader(cat, sequence);
    WriteField(*mBuffer, kFormatId);
    WriteField(*mBuffer, format.mId);
    writeValues(*mBuffer, values, count, cuts);
    LogPost();
}

} // namespace HSL
