#include "HSLLogContext.h"

#include "HSLLogManager.h"
#include "HSLRecord.h"

#include "../KxAtomic.h"
#include "../KxTime.h"

#include <cstdlib>
#include <memory>

namespace HSL {
namespace {

constexpr double kLowWaterShare = 0.75;
constexpr long long kMicrosecondsPerSecond = 1000000;

int nextSequenceNum()
{
    return KxAtomicAdd32Barrier(1, &CLogManager::Instance()->mSequence);
}

void writeFormat(CCircularBuffer& buffer, const char* format)
{
    WriteField(buffer, kFormatInline);
    WriteNarrowText(buffer, format);
}

void writeFormat(CCircularBuffer& buffer, short formatId)
{
    WriteField(buffer, kFormatId);
    WriteField(buffer, formatId);
}

unsigned char clampedDepth(int depth)
{
    return static_cast<unsigned char>(depth < 0 ? 0 : (depth > 255 ? 255 : depth));
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
    ring.release();
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
    const KxLockGuard guard(CLogManager::Instance()->mLock);
    mName = name != nullptr ? name : kNullText;
}

void CLogContext::LogPre(const CCat& cat)
{
    const unsigned char marker = 0;
    WriteField(*mBuffer, marker);

    const int sequence = nextSequenceNum();
    WriteField(*mBuffer, sequence);

    KxTime now;
    now.SetToCurrentTime();
    const unsigned int seconds = static_cast<unsigned int>(now.mMicroseconds / kMicrosecondsPerSecond);
    WriteField(*mBuffer, seconds);
    const unsigned int microseconds = static_cast<unsigned int>(now.mMicroseconds)
        - seconds * static_cast<unsigned int>(kMicrosecondsPerSecond);
    WriteField(*mBuffer, microseconds);

    const unsigned char depth = clampedDepth(mDepth);
    WriteField(*mBuffer, depth);
    cat.Serialize(mBuffer);
}

void CLogContext::LogPost()
{
    // Publishes the record's bytes. Partner: the acquire of mRecordCount in CLogManager::Collect.
    KxAtomicAdd32Barrier(1, &mRecordCount);
}

// Whether the message may be written. Without room it is replaced by a dropped-messages record, or discarded.
bool CLogContext::HasRoom(const CCat& cat)
{
    const int used =
        mBuffer->mControl != nullptr ? static_cast<int>(cb_get_num_elem_used(mBuffer->mControl)) : 0;
    if (mDropping) {
        if (used >= mLowWater) {
            nextSequenceNum(); // the gap tells readers that a message is missing
            return false;
        }
        mDropping = false;
        return true;
    }
    if (used < mHighWater) {
        return true;
    }
    mDropping = true;
    LogPre(cat);
    writeFormat(*mBuffer, kDroppedText);
    const unsigned char noValues = 0;
    WriteField(*mBuffer, noValues);
    LogPost();
    return false;
}

template <typename Format, typename... Values>
void CLogContext::Record(const CCat& cat, Format format, const Values&... values)
{
    CLogManager* manager = CLogManager::Instance();
    if (manager == nullptr || !manager->PassesFilter(cat.UsableCount(), cat.mCodes) || !HasRoom(cat)) {
        return;
    }
    LogPre(cat);
    writeFormat(*mBuffer, format);
    const unsigned char count = sizeof...(values);
    WriteField(*mBuffer, count);
    (values.Serialize(mBuffer), ...);
    LogPost();
}

void CLogContext::Log(const CCat& cat, const char* format)
{
    Record(cat, format);
}

void CLogContext::Log(const CCat& cat, const char* format, const CValue& v1)
{
    Record(cat, format, v1);
}

void CLogContext::Log(const CCat& cat, const char* format, const CValue& v1, const CValue& v2)
{
    Record(cat, format, v1, v2);
}

void CLogContext::Log(const CCat& cat, const char* format, const CValue& v1, const CValue& v2, const CValue& v3)
{
    Record(cat, format, v1, v2, v3);
}

void CLogContext::Log(const CCat& cat, const char* format, const CValue& v1, const CValue& v2, const CValue& v3,
                      const CValue& v4)
{
    Record(cat, format, v1, v2, v3, v4);
}

void CLogContext::Log(const CCat& cat, const char* format, const CValue& v1, const CValue& v2, const CValue& v3,
                      const CValue& v4, const CValue& v5)
{
    Record(cat, format, v1, v2, v3, v4, v5);
}

void CLogContext::Log(const CCat& cat, const char* format, const CValue& v1, const CValue& v2, const CValue& v3,
                      const CValue& v4, const CValue& v5, const CValue& v6)
{
    Record(cat, format, v1, v2, v3, v4, v5, v6);
}

void CLogContext::Log(const CCat& cat, const char* format, const CValue& v1, const CValue& v2, const CValue& v3,
                      const CValue& v4, const CValue& v5, const CValue& v6, const CValue& v7)
{
    Record(cat, format, v1, v2, v3, v4, v5, v6, v7);
}

void CLogContext::Log(const CCat& cat, const char* format, const CValue& v1, const CValue& v2, const CValue& v3,
                      const CValue& v4, const CValue& v5, const CValue& v6, const CValue& v7, const CValue& v8)
{
    Record(cat, format, v1, v2, v3, v4, v5, v6, v7, v8);
}

void CLogContext::Log(const CCat& cat, const char* format, const CValue& v1, const CValue& v2, const CValue& v3,
                      const CValue& v4, const CValue& v5, const CValue& v6, const CValue& v7, const CValue& v8,
                      const CValue& v9)
{
    Record(cat, format, v1, v2, v3, v4, v5, v6, v7, v8, v9);
}

void CLogContext::Log(const CCat& cat, const char* format, const CValue& v1, const CValue& v2, const CValue& v3,
                      const CValue& v4, const CValue& v5, const CValue& v6, const CValue& v7, const CValue& v8,
                      const CValue& v9, const CValue& v10)
{
    Record(cat, format, v1, v2, v3, v4, v5, v6, v7, v8, v9, v10);
}

void CLogContext::Log(const CCat& cat, short formatId)
{
    Record(cat, formatId);
}

void CLogContext::Log(const CCat& cat, short formatId, const CValue& v1)
{
    Record(cat, formatId, v1);
}

void CLogContext::Log(const CCat& cat, short formatId, const CValue& v1, const CValue& v2)
{
    Record(cat, formatId, v1, v2);
}

void CLogContext::Log(const CCat& cat, short formatId, const CValue& v1, const CValue& v2, const CValue& v3)
{
    Record(cat, formatId, v1, v2, v3);
}

void CLogContext::Log(const CCat& cat, short formatId, const CValue& v1, const CValue& v2, const CValue& v3,
                      const CValue& v4)
{
    Record(cat, formatId, v1, v2, v3, v4);
}

void CLogContext::Log(const CCat& cat, short formatId, const CValue& v1, const CValue& v2, const CValue& v3,
                      const CValue& v4, const CValue& v5)
{
    Record(cat, formatId, v1, v2, v3, v4, v5);
}

void CLogContext::Log(const CCat& cat, short formatId, const CValue& v1, const CValue& v2, const CValue& v3,
                      const CValue& v4, const CValue& v5, const CValue& v6)
{
    Record(cat, formatId, v1, v2, v3, v4, v5, v6);
}

void CLogContext::Log(const CCat& cat, short formatId, const CValue& v1, const CValue& v2, const CValue& v3,
                      const CValue& v4, const CValue& v5, const CValue& v6, const CValue& v7)
{
    Record(cat, formatId, v1, v2, v3, v4, v5, v6, v7);
}

void CLogContext::Log(const CCat& cat, short formatId, const CValue& v1, const CValue& v2, const CValue& v3,
                      const CValue& v4, const CValue& v5, const CValue& v6, const CValue& v7, const CValue& v8)
{
    Record(cat, formatId, v1, v2, v3, v4, v5, v6, v7, v8);
}

void CLogContext::Log(const CCat& cat, short formatId, const CValue& v1, const CValue& v2, const CValue& v3,
                      const CValue& v4, const CValue& v5, const CValue& v6, const CValue& v7, const CValue& v8,
                      const CValue& v9)
{
    Record(cat, formatId, v1, v2, v3, v4, v5, v6, v7, v8, v9);
}

void CLogContext::Log(const CCat& cat, short formatId, const CValue& v1, const CValue& v2, const CValue& v3,
                      const CValue& v4, const CValue& v5, const CValue& v6, const CValue& v7, const CValue& v8,
                      const CValue& v9, const CValue& v10)
{
    Record(cat, formatId, v1, v2, v3, v4, v5, v6, v7, v8, v9, v10);
}

} // namespace HSL
