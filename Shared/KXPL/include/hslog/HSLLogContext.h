// The writing side of the logger: one context per thread that logs.
#ifndef HSLOG_HSL_LOG_CONTEXT_H
#define HSLOG_HSL_LOG_CONTEXT_H

#include "../detail/KxHost.h"

#include "HSLCat.h"
#include "HSLLogManager.h"
#include "detail/HSLRecordFields.h"
#include "detail/HSLTakenNumber.h"
#include "HSLValue.h"

#include "../CircularBuffer.h"
#include "../detail/KxAtomic.h"

#include <initializer_list>
#include <string>

namespace HSL {

namespace detail {
struct LogCall;
}

// Appends records to its own ring without a lock, an allocation or any formatting. Only the owning thread may
// log to a context; the collection thread drains it at the same time.
//
// No log call reports anything. A message that the filter refuses vanishes. A ring that is nearly full (all
// but 4,096 bytes) makes the context write one "*** HSLOG DROPPED MESSAGE(S) ***" record and discard messages
// until the ring holds less than three quarters of its size; each discarded message leaves a gap in the
// sequence numbers. A record of more than about 4,096 bytes may be cut short by the ring's end, after which
// the collector misreads that ring until it runs empty.
//
// In a ring of less than 16,384 bytes dropping ends above the level at which it starts, and in one of less than
// 4,096 bytes every call finds the ring too full: there dropped records and messages alternate.
class CLogContext {
public:
    // Registers itself with the manager, which must exist. `name` is copied. A size of 0 takes the manager's
    // mDefaultContextSize. The memory functions must outlive the context. If the ring cannot be allocated,
    // everything logged is lost silently.
    CLogContext(const char* name, int size, void* (*mallocFunc)(int), void (*freeFunc)(void*, int));
    // Unregisters itself, which waits for a collection pass to end. Records that no pass has taken are lost.
    virtual ~CLogContext();

    CLogContext(const CLogContext&) = delete;
    CLogContext& operator=(const CLogContext&) = delete;

    // The ring's memory; null where there is none.
    static void* MallocFunc(int size);
    static void FreeFunc(void* p, int size); // the size is ignored

    // Waits for a collection pass to end. Only while the manager exists. Any thread.
    void SetName(const char* name);

    // The two halves of a record's frame, for code that writes records of its own: LogPre takes a sequence
    // number and writes the header; LogPost publishes the record, after its last byte.
    void LogPre(const CCat& cat);
    void LogPost()
    {
        // Pair RECORD-COUNT, release: publishes the record as a whole.
        KxAtomicAdd32Barrier(1, &mRecordCount);
    }

    using V = const CValue&; // one value of a log call

    // `format` is printf-style; each conversion takes one value. The text is copied into the record.
    //
    // Beware, with at least one value: a format in which "%%", or a "%" that follows a backslash, is met while
    // a conversion is sought never returns from rendering and blocks the collection thread for ever. Behind
    // the last conversion that finds a value a "%%" is harmless and shows as "__".
    //
    // Nothing checks that a conversion suits its value: "%s" with anything but a const char* reads memory at
    // that value, and so does a "%s" without any value; "%n" writes. Text that a user or a file supplies must
    // never be the format: pass it as a value under "%s", bounded (HSLBounded.h), as a record that is too long
    // makes the collector read what follows it as records.
    //
    // The manager's switch is not asked here, only the filter; HSLog asks both.
    //
    // A call takes up to ten values, all of types that CValue takes. Where it tells their types, by the last of each row,
    // it is laid out at the call. Values that are CValue objects already, that are braced, or that have to become a
    // CValue by a conversion of their own, go through the library.
    HSL_AT_CALL void Log(const CCat& cat, const char* format) { Record(cat, format); }
    void Log(const CCat& cat, const char* format, V a) { RecordValues(cat, format, { &a }); }
    void Log(const CCat& cat, const char* format, V a, V b) { RecordValues(cat, format, { &a, &b }); }
    void Log(const CCat& cat, const char* format, V a, V b, V c) { RecordValues(cat, format, { &a, &b, &c }); }
    void Log(const CCat& cat, const char* format, V a, V b, V c, V d)
    {
        RecordValues(cat, format, { &a, &b, &c, &d });
    }
    void Log(const CCat& cat, const char* format, V a, V b, V c, V d, V e)
    {
        RecordValues(cat, format, { &a, &b, &c, &d, &e });
    }
    void Log(const CCat& cat, const char* format, V a, V b, V c, V d, V e, V f)
    {
        RecordValues(cat, format, { &a, &b, &c, &d, &e, &f });
    }
    void Log(const CCat& cat, const char* format, V a, V b, V c, V d, V e, V f, V g)
    {
        RecordValues(cat, format, { &a, &b, &c, &d, &e, &f, &g });
    }
    void Log(const CCat& cat, const char* format, V a, V b, V c, V d, V e, V f, V g, V h)
    {
        RecordValues(cat, format, { &a, &b, &c, &d, &e, &f, &g, &h });
    }
    void Log(const CCat& cat, const char* format, V a, V b, V c, V d, V e, V f, V g, V h, V i)
    {
        RecordValues(cat, format, { &a, &b, &c, &d, &e, &f, &g, &h, &i });
    }
    void Log(const CCat& cat, const char* format, V a, V b, V c, V d, V e, V f, V g, V h, V i, V j)
    {
        RecordValues(cat, format, { &a, &b, &c, &d, &e, &f, &g, &h, &i, &j });
    }
    template <typename... Values>
    HSL_AT_CALL detail::IfTyped<Values...> Log(const CCat& cat, const char* format, Values... values)
    {
        Record(cat, format, values...);
    }

    // The same with an id from CLogManager::AddFormatString, cut to 16 bits: ids 0 to 32767 can be used. -1
    // shows as an error text. Any other id outside the manager's table is not noticed and acts as an empty
    // format.
    HSL_AT_CALL void Log(const CCat& cat, short formatId) { Record(cat, formatId); }
    void Log(const CCat& cat, short formatId, V a) { RecordValues(cat, formatId, { &a }); }
    void Log(const CCat& cat, short formatId, V a, V b) { RecordValues(cat, formatId, { &a, &b }); }
    void Log(const CCat& cat, short formatId, V a, V b, V c) { RecordValues(cat, formatId, { &a, &b, &c }); }
    void Log(const CCat& cat, short formatId, V a, V b, V c, V d)
    {
        RecordValues(cat, formatId, { &a, &b, &c, &d });
    }
    void Log(const CCat& cat, short formatId, V a, V b, V c, V d, V e)
    {
        RecordValues(cat, formatId, { &a, &b, &c, &d, &e });
    }
    void Log(const CCat& cat, short formatId, V a, V b, V c, V d, V e, V f)
    {
        RecordValues(cat, formatId, { &a, &b, &c, &d, &e, &f });
    }
    void Log(const CCat& cat, short formatId, V a, V b, V c, V d, V e, V f, V g)
    {
        RecordValues(cat, formatId, { &a, &b, &c, &d, &e, &f, &g });
    }
    void Log(const CCat& cat, short formatId, V a, V b, V c, V d, V e, V f, V g, V h)
    {
        RecordValues(cat, formatId, { &a, &b, &c, &d, &e, &f, &g, &h });
    }
    void Log(const CCat& cat, short formatId, V a, V b, V c, V d, V e, V f, V g, V h, V i)
    {
        RecordValues(cat, formatId, { &a, &b, &c, &d, &e, &f, &g, &h, &i });
    }
    void Log(const CCat& cat, short formatId, V a, V b, V c, V d, V e, V f, V g, V h, V i, V j)
    {
        RecordValues(cat, formatId, { &a, &b, &c, &d, &e, &f, &g, &h, &i, &j });
    }
    template <typename... Values>
    HSL_AT_CALL detail::IfTyped<Values...> Log(const CCat& cat, short formatId, Values... values)
    {
        Record(cat, formatId, values...);
    }

    // HSLog behind its switch: Log on the context that GetTLSContext of the module's manager returns. Precondition:
    // the manager exists.
    static void LogOnThisThread(const CCat& cat, const char* format);
    static void LogOnThisThread(const CCat& cat, const char* format, const CValue& value);
    // The same in two steps for a message of one category. The first makes the thread's context if there is none, and
    // returns it, or null where the filter refuses the category. Precondition of the second: the message has passed
    // the filter, which is not asked again. A value is taken apart: its type, one of ValueType, and what ContentOf
    // made of it.
    static CLogContext* OfThisThreadIfPassed(unsigned char code);
    void LogPassed(unsigned char code, const char* format);
    void LogPassed(unsigned char code, const char* format, unsigned char type, unsigned long long content);

    CCircularBuffer* mBuffer;       // owned
    KxCacheLineGap mGapBeforeCount; // KxAtomic.h tells why
    int mRecordCount; // complete records not yet taken; raised by the writer, lowered by the collector
    KxCacheLineGap mGapBehindCount; // likewise
    std::string mName;              // read by the collection pass under the manager's lock
    int mDepth;                     // indentation; the owning thread may change it; recorded as 0 to 255
    bool mDropping;                 // messages are being discarded
    int mHighWater;                 // bytes in the ring from which dropping starts
    int mLowWater;                  // bytes below which it ends

    // For the passes of a guarded manager that could not read this ring. The pass asks and leaves ring and count alone
    // from then on; the thread's next call leaves everything behind, and the next pass begins there.
    enum RestartState : unsigned char {
        kRunning,
        kAsked,    // by the pass
        kRestarted // by the thread
    };
    unsigned char mRestart = kRunning; // a RestartState
    unsigned int mRestartOffset = 0;   // where records begin again, once they do
    // The pass's: the write position at which it found bytes but no record; else 0.
    unsigned int mStuckOffset = 0;

    // The manager's: where it notes the number that it has taken of the next record ahead of the rest, for debuggers; the
    // place of that in the crash log's account, and what stands for it where there is none.
    detail::TakenNumber* mTaken = nullptr; // not owned; null before the first pass
    unsigned int mLedgerSlot = 0;
    detail::TakenNumber mTakenElsewhere = {};

private:
    friend struct detail::LogCall; // measures texts by itself

    // What becomes of a message that passed the filter.
    enum Verdict : unsigned char {
        kWrite,
        kDiscard,    // it only uses up its number, a gap that tells readers of a missing message
        kTellOfDrops // the dropped-messages record takes its place
    };
    Verdict Judge(unsigned int used) const;

    template <typename Format, typename... Values>
    HSL_AT_CALL void Record(const CCat& cat, Format format, Values... values);
    void RecordValues(const CCat& cat, const char* format, std::initializer_list<const CValue*> values);
    void RecordValues(const CCat& cat, short formatId, std::initializer_list<const CValue*> values);

    // The others take a message that has passed the filter and has its number, and its fields: the format, then
    // `count` values.
    template <typename... Fields>
    HSL_AT_CALL void RecordTyped(unsigned char code, int sequence, Fields... fields);
    template <typename... Fields> HSL_AT_CALL void RecordTyped(const CCat& cat, int sequence, Fields... fields);
    [[gnu::cold]] void RecordElsewhere(unsigned char code, int sequence, const detail::AnyField* fields,
                                       int count);
    void RecordFields(const CCat& cat, int sequence, const detail::AnyField* fields, int count);
    void RecordValues(const CCat& cat, int sequence, const detail::AnyField& format,
                      std::initializer_list<const CValue*> values);
    KXPL::RingPlace Begin(unsigned char code, int sequence, unsigned int size);
    bool RecordInOnePiece(const CCat& cat, int sequence, const detail::AnyField* fields, int count);
    void RecordByWrites(const CCat& cat, int sequence, const detail::AnyField* fields, int count);
    void WriteHeader(const CCat& cat, int sequence);
    void Restart();
};

// The fields' order in a record is told in HSLRecord.h.
template <typename Format, typename... Values>
inline void CLogContext::Record(const CCat& cat, Format format, Values... values)
{
    // Looked at in front of the first acquire, behind which the compiler would have to look anew. A category
    // that need not lie in memory spares the locked add the wait for it.
    const bool isPlain = detail::IsPlainHere(cat);
    const unsigned char code = cat.mCodes[0];
    CLogManager* manager = CLogManager::Instance();
    if (manager != nullptr
        && (isPlain ? manager->GetFilterValue(code) : manager->PassesFilter(cat.UsableCount(), cat.mCodes))) {
        // Whether it is written, replaced or discarded, a message that passes takes one number. Taking it at
        // once lets the processor look at the ring while it waits for the shared counter.
        const int sequence = KxAtomicAdd32Barrier(1, &manager->mSequence);
        if (isPlain) {
            RecordTyped(code, sequence, detail::Typed::Format(format), detail::Typed::Of(values)...);
        } else {
            RecordTyped(cat, sequence, detail::Typed::Format(format), detail::Typed::Of(values)...);
        }
    }
}

// Nearly always the record lies in one piece of free ring. Then Begin, which has read the clock before anything of the
// message was copied, leaves the place behind the header.
template <typename... Fields>
inline void CLogContext::RecordTyped(unsigned char code, int sequence, Fields... fields)
{
    detail::Sizes sizes;
    VisitMessage(sizes, fields...);
    KXPL::RingPlace place = Begin(code, sequence, sizes.mSize);
    if (__builtin_expect(!place, 0)) {
        const detail::AnyField all[] = { fields... };
        return RecordElsewhere(code, sequence, all, sizeof...(fields) - 1);
    }
    detail::Stores stores { place.Ring(), place.At() };
    VisitMessage(stores, fields...);
    detail::Publications publications { place };
    VisitMessage(publications, fields...);
    LogPost();
}

// More than one category, or one that the call does not tell: the library looks for the place.
template <typename... Fields>
inline void CLogContext::RecordTyped(const CCat& cat, int sequence, Fields... fields)
{
    const detail::AnyField all[] = { fields... };
    RecordFields(cat, sequence, all, sizeof...(fields) - 1);
}

} // namespace HSL

#endif
