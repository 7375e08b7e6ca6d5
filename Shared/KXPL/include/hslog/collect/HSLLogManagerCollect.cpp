// The collection pass: merges the contexts' records into one stream of lines.
#include "hslog/HSLLogManager.h"
#include "hslog/HSLSequence.h"

#include "hslog/HSLCat.h"
#include "HSLLineHeader.h"
#include "hslog/HSLLogContext.h"
#include "HSLMerge.h"
#include "HSLTakenNumber.h"
#include "LastRecord.h"
#include "hslog/crash/CrashLedger.h"
#include "hslog/crash/CrashLogFormat.h"
#include "hslog/render/HSLMessage.h"
#include "hslog/record/HSLRecordReader.h"
#include "hslog/render/HSLTextBuffer.h"
#include "KxSplitTime.h"
#include "platform/KxCancellation.h"
#include "ring/CircularBufferPositions.h"

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace HSL {
namespace {

constexpr double kMicrosecondsPerSecond = 1000000.0;

// One registered context during one pass.
struct CContextInfo {
    // The order of the records' numbers, signed: past 2,147,483,647 they turn negative and the newest records
    // come first within a pass.
    struct Less {
        bool operator()(const CContextInfo* a, const CContextInfo* b) const { return a->mSeqNum < b->mSeqNum; }
    };

    int mSeqNum {};         // of the next unread record
    unsigned int mIndex {}; // in the manager's list at the start of the pass
    int mSnapshot {};       // complete records when the pass began
    int mRemaining {};      // of those, not yet output
    CCircularBuffer* mBuffer = nullptr;
};

// The same with a place in the ring, which spares the loads and stores of the shared positions that a Read of
// each field would take.
struct ContextInPass : CContextInfo {
    RingCursor mRing;
    detail::TakenNumber* mTaken = nullptr;
    bool mIsAbandoned = false;
};

// What a pass uses again for each record.
struct Workspace {
    TextBuffer text;
    ClockCache clock;
    std::string contextName;  // the structured callback's copy
    int* remaining = nullptr; // of the context that a pass is at
    CrashLog::KeptLines* kept = nullptr;
    CrashLog::Ledger* ledger = nullptr;
};

// The time of the record processed last, from any context and any manager of this module.
unsigned int sLastSecs = 0;
unsigned int sLastMicros = 0;

// Of the record that a structured callback is called for, which is told everything but this.
int sSequenceInCallback = 0;

int getNextSequenceNum(RingCursor& ring)
{
    unsigned char room[5]; // a marker and the number
    const unsigned char* fields = ring.Take(room);
    if (fields[0] != 0) {
        ring.SetMisread();
    }
    return fieldAt<int>(fields, 1);
}

cb_control* controlOf(const CCircularBuffer* buffer)
{
    return buffer != nullptr ? buffer->mControl : nullptr;
}

// A callback that adds or removes contexts breaks its contract; the pass then must not follow stale entries.
CLogContext* contextOf(const std::vector<CLogContext*>& contexts, const ContextInPass& info)
{
    if (info.mIndex >= contexts.size()) {
        return nullptr;
    }
    CLogContext* context = contexts[info.mIndex];
    if (context == nullptr || context->mBuffer != info.mBuffer) {
        return nullptr;
    }
    const cb_control* known = info.mRing.Control();
    return known == nullptr || known == controlOf(info.mBuffer) ? context : nullptr;
}

// In seconds.
double timeOf(unsigned int seconds, unsigned int microseconds)
{
    return seconds + microseconds / kMicrosecondsPerSecond;
}

// The record is processed, whatever its callback does now: the writer gets its bytes back, it is not output again, and
// the next one is measured from it.
void handOver(Workspace& workspace, detail::TakenNumber& taken, RingCursor& ring, unsigned int seconds,
              unsigned int microseconds)
{
    if (ring.IsMisread() && isNumberTaken(taken, ring)) {
        forgetNumber(taken); // nothing lay behind the number
    }
    ring.Publish();
    sLastSecs = seconds;
    sLastMicros = microseconds;
    if (workspace.ledger != nullptr) {
        workspace.ledger->NoteTime(seconds, microseconds);
    }
    if (workspace.remaining != nullptr) {
        --*workspace.remaining;
    } else {
        forgetNumber(taken); // outside of a pass, whose number may have been taken by anyone
    }
}

void useLedger(Workspace& workspace, CrashLog::Ledger* ledger)
{
    workspace.ledger = ledger;
    workspace.kept = ledger != nullptr ? ledger->Kept() : nullptr;
}

void appendIndentation(TextBuffer& line, unsigned char depth)
{
    for (; depth > 0; --depth) {
        line.Append("|  ", 3);
    }
}

// What becomes of a message.
struct Record {
    int seqNum;
    unsigned int seconds;
    unsigned int microseconds;
    double delta;
    unsigned char depth;
    unsigned char categoryCount;
    const unsigned char* categories; // as many as a message may have, zeros behind the last
};

// Before the ring has the record's space back: a crash log finds the message in the one or the other.
void keepLine(CrashLog::KeptLines& kept, const Record& record, const std::string& name, const char* message,
              std::size_t length)
{
    CrashLog::KeptLineHead head;
    head.mSequence = record.seqNum;
    head.mSeconds = record.seconds;
    head.mMicroseconds = record.microseconds;
    head.mDelta = record.delta;
    head.mNameLength = static_cast<std::uint32_t>(name.size());
    head.mMessageLength = static_cast<std::uint32_t>(length);
    head.mDepth = record.depth;
    head.mCategoryCount = record.categoryCount;
    std::memcpy(head.mCategories, record.categories,
                sizeof head.mCategories); // those behind the count are zero
    std::memset(head.mUnused, 0, sizeof head.mUnused);
    kept.Append(head, name.data(), message);
}

// Outputs the record behind the sequence number. Everything that the callback could change is read anew for
// each record.
//
// The ring gets the record's bytes back once the text is whole and before the callback runs, so that a message
// logged meanwhile finds them free.
//
// False: with a guarded manager, what was to be read makes no record. Nothing was output, and the ring not given back.
bool outputRecord(CLogManager& manager, const CLogContext& context, detail::TakenNumber& taken,
                  RingCursor& ring, int seqNum, Workspace& workspace)
{
    const Formats trust = manager.IsGuarded() ? Formats::kChecked : Formats::kTrusted;
    unsigned char room[10];
    const unsigned char* fields = ring.Take(room);
    const unsigned int seconds = fieldAt<unsigned int>(fields, 0);
    const unsigned int microseconds = fieldAt<unsigned int>(fields, 4);
    const unsigned char depth = fields[8];
    const unsigned char claimed = fields[9];
    unsigned char categories[CCat::kMaxCodes] = {};
    const unsigned char kept = claimed < CCat::kMaxCodes ? claimed : CCat::kMaxCodes;
    ring.Read(categories, kept);
    if (claimed == 0 || claimed > CCat::kMaxCodes) {
        ring.SetMisread();
    }
    for (int skipped = kept; skipped < claimed; ++skipped) {
        ReadField<unsigned char>(ring);
    }
    const bool pass = manager.PassesFilter(kept, categories);
    const double delta = sLastSecs != 0 ? timeOf(seconds, microseconds) - timeOf(sLastSecs, sLastMicros) : 0.0;

    TextBuffer& text = workspace.text;
    text.Clear();
    if (manager.GetOutputCallbackType() == CLogManager::kStructuredCallback) {
        appendMessage(text, pass, ring, manager.mFormatStrings, trust);
        if (trust == Formats::kChecked && ring.IsMisread()) {
            return false;
        }
        const char* message = text.CStr();
        // A copy, because the callback may rename the context and still look at what it was given.
        if (pass && workspace.contextName != context.mName) {
            workspace.contextName = context.mName;
        }
        if (pass && workspace.kept != nullptr) {
            keepLine(*workspace.kept, { seqNum, seconds, microseconds, delta, depth, kept, categories },
                     context.mName, message, text.Size());
        }
        handOver(workspace, taken, ring, seconds, microseconds);
        if (pass) {
            sSequenceInCallback = seqNum;
            manager.GetStructuredOutputCallback()(message, workspace.contextName, depth, kept, categories,
                                                  seconds, microseconds);
        }
        return true;
    }
    if (pass) {
        appendLineHeader(text, { seqNum, seconds, microseconds, delta, context.mName }, workspace.clock);
        appendIndentation(text, depth);
    }
    const std::size_t messageAt = text.Size();
    appendMessage(text, pass, ring, manager.mFormatStrings, trust);
    if (trust == Formats::kChecked && ring.IsMisread()) {
        return false;
    }
    const std::size_t messageEnd = text.Size();
    if (pass) {
        text.Append("\n", 1);
    }
    const char* line = text.CStr();
    if (pass && workspace.kept != nullptr) {
        keepLine(*workspace.kept, { seqNum, seconds, microseconds, delta, depth, kept, categories },
                 context.mName, line + messageAt, messageEnd - messageAt);
    }
    handOver(workspace, taken, ring, seconds, microseconds);
    if (pass) {
        manager.GetOutputCallback()(line);
    }
    return true;
}

// Tells of a ring that could not be read. The line stands for no log call: it has the number 0 and this moment's time.
void outputAbandoned(const CLogManager& manager, const CLogContext& context, Workspace& workspace)
{
    static constexpr char kText[] = "*** HSLOG ABANDONED UNREADABLE RECORDS ***";
    const KxSplitTime now = KxSplitTime::Current();
    sSequenceInCallback = 0;
    if (manager.GetOutputCallbackType() == CLogManager::kStructuredCallback) {
        unsigned char none[CCat::kMaxCodes] = {};
        workspace.contextName = context.mName;
        return manager.GetStructuredOutputCallback()(kText, workspace.contextName, 0, 0, none, now.mSeconds,
                                                     now.mMicroseconds);
    }
    TextBuffer& text = workspace.text;
    text.Clear();
    appendLineHeader(text, { 0, now.mSeconds, now.mMicroseconds, 0.0, context.mName }, workspace.clock);
    text.Append(kText, sizeof kText - 1);
    text.Append("\n", 1);
    manager.GetOutputCallback()(text.CStr());
}

// Begins where the thread left behind what could not be read. False: it has not yet, and its ring is not looked at.
bool hasRestarted(CLogContext& context, detail::TakenNumber& taken)
{
    // Pair RESTART, acquire: the offset and the count are those behind it.
    const unsigned char state = KxLoadAcquire(context.mRestart);
    if (state == CLogContext::kRestarted) {
        forgetNumber(taken);
        // Pair RING-READ, release: gives the slots that are left behind back to the writer.
        KxStoreRelease(context.mBuffer->mControl->read_offset, context.mRestartOffset);
        KxStoreRelaxed(context.mRestart, static_cast<unsigned char>(CLogContext::kRunning));
    }
    return state != CLogContext::kAsked;
}

// Whether the ring holds so much that its thread drops everything, but no record that a pass could take, and did so in
// the pass before.
bool isStuck(CLogContext& context)
{
    cb_control* control = controlOf(context.mBuffer);
    const bool isFull =
        control != nullptr && static_cast<int>(cb_get_num_elem_used(control)) >= context.mLowWater;
    const unsigned int offset = isFull ? KXPL::writerPosition(control) : 0;
    const bool wasThere = offset != 0 && offset == context.mStuckOffset;
    context.mStuckOffset = offset;
    return wasThere;
}

// Ends a pass, also one that is left early because memory ran out or because a callback threw: then the records that
// were not handed over stay for the next one.
class PassEnd {
public:
    PassEnd(const std::vector<CLogContext*>& contexts, std::vector<ContextInPass>& infos)
        : mContexts(contexts)
        , mInfos(infos)
    {
    }

    ~PassEnd()
    {
        for (ContextInPass& info : mInfos) {
            CLogContext* context = contextOf(mContexts, info);
            if (context == nullptr || info.mSnapshot <= 0) {
                continue;
            }
            int taken = info.mSnapshot - info.mRemaining;
            if (mIsWhole && !info.mIsAbandoned) {
                // Also of a record that lost its place to one of the same number: the rest is read as a record.
                forgetNumber(*info.mTaken);
                taken = info.mSnapshot;
            }
            // Not zero: records completed during the pass stay for the next one.
            KxAtomicAdd32Barrier(-taken, &context->mRecordCount);
            if (info.mIsAbandoned) {
                // Pair RESTART, release: the count is the thread's.
                KxStoreRelease(context->mRestart, static_cast<unsigned char>(CLogContext::kAsked));
            }
        }
    }

    PassEnd(const PassEnd&) = delete;
    PassEnd& operator=(const PassEnd&) = delete;

    // The pass has come to its end.
    void SetWhole() { mIsWhole = true; }

private:
    const std::vector<CLogContext*>& mContexts;
    std::vector<ContextInPass>& mInfos;
    bool mIsWhole = false;
};

// Rings without records in this pass.
void abandonStuckRings(CLogManager& manager, std::vector<ContextInPass>& infos, Workspace& workspace)
{
    for (ContextInPass& info : infos) {
        CLogContext* context = contextOf(manager.mContexts, info);
        if (context != nullptr && info.mBuffer != nullptr && info.mSnapshot == 0 && isStuck(*context)) {
            // Pair RESTART, release: the count is the thread's.
            KxStoreRelease(context->mRestart, static_cast<unsigned char>(CLogContext::kAsked));
            context->mStuckOffset = 0;
            outputAbandoned(manager, *context, workspace);
        }
    }
}

} // namespace

int SequenceInCallback()
{
    return sSequenceInCallback;
}

RecordTime lastRecordTime()
{
    return { sLastSecs, sLastMicros };
}

bool CLogManager::Collect()
{
    // A thread that is cancelled in a pass ends behind it: what a callback had in hand would be neither output
    // nor kept.
    const KxCancellationHeldBack uncancelled;
    const KxLockGuard guard(mLock);
    std::vector<ContextInPass> infos(mContexts.size());
    Workspace workspace;
    PassEnd end(mContexts, infos);
    Merge<ContextInPass, CContextInfo::Less> merge;
    long long total = 0;
    for (std::size_t i = 0; i < infos.size(); ++i) {
        ContextInPass& info = infos[i];
        CLogContext* context = mContexts[i];
        if (context == nullptr) {
            continue;
        }
        info.mTaken = &CrashLog::Ledger::TakenOf(mLedger, *context);
        if (!hasRestarted(*context, *info.mTaken)) {
            continue;
        }
        info.mIndex = static_cast<unsigned int>(i);
        info.mBuffer = context->mBuffer;
        // Pair RECORD-COUNT, acquire: the bytes of that many records are visible.
        info.mSnapshot = KxLoadAcquire(context->mRecordCount);
        info.mRemaining = info.mSnapshot;
        if (info.mSnapshot > 0) {
            info.mRing = RingCursor(controlOf(info.mBuffer));
            if (isNumberTaken(*info.mTaken, info.mRing)) {
                info.mSeqNum = info.mTaken->mNumber;
            } else {
                info.mSeqNum = getNextSequenceNum(info.mRing);
                publishNumber(*info.mTaken, info.mRing, info.mSeqNum);
            }
            merge.Reserve(infos.size());
            merge.Insert(info.mSeqNum, &info);
        }
        total += info.mSnapshot;
    }
    if (IsGuarded()) {
        abandonStuckRings(*this, infos, workspace);
    }

    useLedger(workspace, mLedger);
    // The context whose number was taken last and not handed back: should its record come next, all of that goes back
    // in one step.
    ContextInPass* ahead = nullptr;
    for (long long output = 0; output < total && !merge.IsEmpty(); ++output) {
        ContextInPass& next = *merge.First();
        if (ahead != nullptr && ahead != &next) {
            publishNumber(*ahead->mTaken, ahead->mRing, ahead->mSeqNum);
        }
        ahead = nullptr;
        CLogContext* context = contextOf(mContexts, next);
        if (context == nullptr) {
            merge.RemoveFirst();
            continue;
        }
        workspace.remaining = &next.mRemaining;
        if (!outputRecord(*this, *context, *next.mTaken, next.mRing, next.mSeqNum, workspace)) {
            next.mIsAbandoned = true;
            output += next.mRemaining - 1;
            merge.RemoveFirst();
            outputAbandoned(*this, *context, workspace);
            continue;
        }
        if (next.mRemaining > 0 && contextOf(mContexts, next) == context) {
            next.mSeqNum = getNextSequenceNum(next.mRing);
            merge.ReplaceFirst(next.mSeqNum);
            ahead = &next;
        } else {
            merge.RemoveFirst();
        }
    }
    if (ahead != nullptr) {
        ahead->mRing.Publish(); // a count below zero ended the pass here: the number stays taken
    }

    if (mLedger != nullptr) {
        mLedger->NoteSequence(KxLoadRelaxed(mSequence));
    }
    if (total > 0 && mLedger != nullptr && GetOutputCallbackType() == kPlainCallback) {
        // Asked for already, for a line's header.
        mLedger->NoteZone(sLastSecs, workspace.clock.TimeOfDay(sLastSecs));
    }
    end.SetWhole();
    return mShutdown;
}

void CLogManager::OutputNextMessage(CLogContext* context, int seqNum)
{
    RingCursor ring(controlOf(context->mBuffer));
    Workspace workspace;
    useLedger(workspace, mLedger);
    outputRecord(*this, *context, CrashLog::Ledger::TakenOf(mLedger, *context), ring, seqNum, workspace);
}

} // namespace HSL
