// The collection pass: merges the contexts' records into one stream of lines.
#include "HSLLogManager.h"

#include "HSLCat.h"
#include "HSLLogContext.h"
#include "HSLRecordReader.h"
#include "HSLStringify.h"

#include "../KxTime.h"

#include <climits>
#include <cstddef>
#include <set>

namespace HSL {
namespace {

constexpr double kMicrosecondsPerSecond = 1000000.0;

// One registered context during one pass.
struct CContextInfo {
    int mSeqNum = 0;         // of the next unread record
    unsigned int mIndex = 0; // in the manager's list at the start of the pass
    int mSnapshot = 0;       // complete records when the pass began
    int mRemaining = 0;      // of those, not yet output
    CCircularBuffer* mBuffer = nullptr;

    // Signed: past 2,147,483,647 the numbers turn negative and the newest records come first within a pass.
    struct Less {
        bool operator()(const CContextInfo* a, const CContextInfo* b) const { return a->mSeqNum < b->mSeqNum; }
    };
};

// A set: of two entries with the same number only one is kept. Numbers are unique unless a ring was misread.
using MergeSet = std::set<CContextInfo*, CContextInfo::Less>;

int getNextSequenceNum(CCircularBuffer* buffer)
{
    ReadField<unsigned char>(*buffer); // marker
    return ReadField<int>(*buffer);
}

// A callback that adds or removes contexts breaks its contract; the pass then must not follow stale entries.
CLogContext* contextOf(const std::vector<CLogContext*>& contexts, const CContextInfo& info)
{
    if (info.mIndex >= contexts.size()) {
        return nullptr;
    }
    CLogContext* context = contexts[info.mIndex];
    return context != nullptr && context->mBuffer == info.mBuffer ? context : nullptr;
}

// Truncates toward zero; a value outside the range of int, from a misread record, goes to the nearest end.
int truncated(double value)
{
    if (value <= INT_MIN) {
        return INT_MIN;
    }
    return value >= INT_MAX ? INT_MAX : static_cast<int>(value);
}

std::string lineHeader(bool pass, int seqNum, unsigned int seconds, unsigned int microseconds, double delta,
                       const std::string& contextName)
{
    KxTimeOfDay timeOfDay;
    KxClockTime::GetTime(timeOfDay, seconds);
    const int whole = truncated(delta);
    const int fraction = truncated((delta - whole) * kMicrosecondsPerSecond);
    return stringify(pass, "%6d  %02d:%02d:%02d.%06d  (%02d.%06d) :  [%-18s]\t", seqNum, timeOfDay.mHour,
                     timeOfDay.mMinute, timeOfDay.mSecond, static_cast<int>(microseconds), whole, fraction,
                     contextName.c_str());
}

} // namespace

bool CLogManager::Collect()
{
    const KxLockGuard guard(mLock);
    std::vector<CContextInfo> infos(mContexts.size());
    MergeSet merge;
    long long total = 0;
    for (std::size_t i = 0; i < infos.size(); ++i) {
        CContextInfo& info = infos[i];
        const CLogContext* context = mContexts[i];
        if (context == nullptr) {
            continue;
        }
        info.mIndex = static_cast<unsigned int>(i);
        info.mBuffer = context->mBuffer;
        // Makes the bytes of that many records visible. Partner: CLogContext::LogPost.
        info.mSnapshot = KxLoadAcquire(context->mRecordCount);
        info.mRemaining = info.mSnapshot;
        if (info.mSnapshot > 0) {
            info.mSeqNum = getNextSequenceNum(info.mBuffer);
            merge.insert(&info);
        }
        total += info.mSnapshot;
    }

    for (long long output = 0; output < total && !merge.empty(); ++output) {
        CContextInfo* next = *merge.begin();
        merge.erase(merge.begin());
        CLogContext* context = contextOf(mContexts, *next);
        if (context == nullptr) {
            continue;
        }
        OutputNextMessage(context, next->mSeqNum);
        --next->mRemaining;
        if (next->mRemaining > 0 && contextOf(mContexts, *next) == context) {
            next->mSeqNum = getNextSequenceNum(next->mBuffer);
            merge.insert(next);
        }
    }

    for (const CContextInfo& info : infos) {
        CLogContext* context = contextOf(mContexts, info);
        if (context != nullptr && info.mSnapshot > 0) {
            // Not zero: records completed during the pass stay for the next one.
            KxAtomicAdd32Barrier(-info.mSnapshot, &context->mRecordCount);
        }
    }
    return mShutdown;
}

void CLogManager::OutputNextMessage(CLogContext* context, int seqNum)
{
    // The time of the record processed last, from any context and any manager of this module.
    static unsigned int sLastSecs = 0;
    static unsigned int sLastMicros = 0;

    const std::string contextName = context->mName;
    CCircularBuffer& buffer = *context->mBuffer;
    const unsigned int seconds = ReadField<unsigned int>(buffer);
    const unsigned int microseconds = ReadField<unsigned int>(buffer);
    const unsigned char depth = ReadField<unsigned char>(buffer);
    const unsigned char claimed = ReadField<unsigned char>(buffer);
    unsigned char categories[CCat::kMaxCodes] = {};
    const unsigned char kept = claimed < CCat::kMaxCodes ? claimed : CCat::kMaxCodes;
    ReadBytes(buffer, categories, kept);
    for (int skipped = kept; skipped < claimed; ++skipped) {
        ReadField<unsigned char>(buffer);
    }
    const bool pass = PassesFilter(kept, categories);

    double delta = 0.0;
    if (sLastSecs != 0) {
        delta = (seconds + microseconds / kMicrosecondsPerSecond)
            - (sLastSecs + sLastMicros / kMicrosecondsPerSecond);
    }
    sLastSecs = seconds;
    sLastMicros = microseconds;

    if (GetOutputCallbackType() == kStructuredCallback) {
        const std::string text = StringifyFormatArgs(pass, buffer);
        if (pass) {
            GetStructuredOutputCallback()(text.c_str(), contextName, depth, kept, categories, seconds,
                                          microseconds);
        }
        return;
    }
    std::string line = lineHeader(pass, seqNum, seconds, microseconds, delta, contextName);
    for (unsigned char i = 0; i < depth; ++i) {
        line += stringify(pass, "|  ");
    }
    line += StringifyFormatArgs(pass, buffer);
    line += "\n";
    if (pass) {
        GetOutputCallback()(line.c_str());
    }
}

} // namespace HSL
