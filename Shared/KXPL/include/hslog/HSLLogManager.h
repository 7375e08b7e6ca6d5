// The module-wide log manager: contexts, filter, format strings, callbacks.
#ifndef HSLOG_HSL_LOG_MANAGER_H
#define HSLOG_HSL_LOG_MANAGER_H

#include "../detail/KxHost.h"

#include "../detail/KxAtCall.h"
#include "../detail/KxAtomic.h"
#include "../KxLock.h"
#include "../KxThreadLocal.h"

#include <string>
#include <vector>

class CCircularBuffer;

namespace HSL {

class CLogContext;

namespace CrashLog {
struct Ledger;
}

// One per module (program or dynamic library). Nothing creates it by itself and nothing is logged until the
// host has called Initialize(), SetEnable(true) and SetFilterValue(category, true).
//
// Initialize and Cleanup belong to one thread, from main on (not from static initialisers), with no thread
// logging during Cleanup. Every other operation may be called on any thread while the manager exists. The
// switch, the filter, category names and callbacks are set without the lock: a log call in flight may or may
// not see a change. Set category names before threads start.
//
// A signal handler must not log: nothing guards a context against a second call in the middle of a first. One
// that does stays within the ring, but may garble its thread's records. Log calls that handlers merely
// interrupt lose nothing. The collection thread takes no signals but those of its own faults: the host's are
// the host's, and none cuts a line. A host that calls Collect() itself does so with its own thread's signals.
//
// A forked child begins with its copy of the manager switched off, the lock free, no collection thread, and no
// contexts or formats: its parent outputs what was logged before, the child never. It may exec, exit, log
// (which does nothing), Collect and Cleanup. For a logger of its own it calls Cleanup, then Initialize, and
// sets that up as its parent did; callbacks are still set. Contexts from before the fork must not be used in
// it, but for deleting the host's own. fork itself waits for nothing. All this is for the module that called
// Initialize(), and only where fork was called, not vfork or posix_spawn, whose children can do no more than
// exec.
//
// A host that ends by exit or abort without Cleanup loses its last lines, and nothing else.
class CLogManager {
public:
    // Gets a whole line, its newline included; valid during the call. Runs on the collection thread with the
    // manager's lock held: it must not log, create contexts or throw. A callback in force must not be null.
    typedef void (*OutputCallback)(const char* line);

    // Gets the pieces instead: the rendered text without a newline, the context's name, its depth, the
    // category codes, and the record's wall-clock time (seconds since 1970 UTC, and microseconds). Same rules.
    typedef void (*StructuredOutputCallback)(const char* text, const std::string& contextName,
                                             unsigned char depth, unsigned char categoryCount,
                                             unsigned char* categories, unsigned int seconds,
                                             unsigned int microseconds);

    enum : unsigned char {
        kPlainCallback = 0,
        kStructuredCallback = 1
    };

    // A registered format.
    struct CFormatStringEntry {
        bool mNarrow; // which of the two holds the text
        // Empty for the one that does not.
        std::string mString;
        std::wstring mWString;
    };

    CLogManager();
    // Switches logging off, waits for the collection thread's last pass, which still delivers every record
    // complete by then, and deletes the contexts that it made for threads. Contexts that the host made are
    // forgotten, not deleted. Must not run on the collection thread.
    virtual ~CLogManager();

    CLogManager(const CLogManager&) = delete;
    CLogManager& operator=(const CLogManager&) = delete;

    // Creates the manager, starts the collection thread and names the calling thread's context "Main". Does
    // nothing when a manager is set already.
    //
    // A collection thread that the system refuses is not noticed, and none is started again in this process:
    // then only what the host's own calls of Collect find is output.
    //
    // Registers handlers for fork, which macOS keeps for good: there the module must stay loaded.
    //
    // When memory runs out (std::bad_alloc) there is no manager, or one that works but for the caller's
    // context, which its next log call makes.
    static void Initialize();
    // Adopts the manager of another module, whose collection thread serves both. Whatever was set before is
    // overwritten, not deleted. From then on Cleanup in this module never deletes a manager again, not even
    // one of its own that a later Initialize() makes.
    //
    // Contexts keep pointers into the module in which their thread first logged. Before an adopting module is
    // unloaded, either the owner has cleaned up, or every such thread has ended as a KxThread of that module
    // or called CleanupTLSContext, and then the module has called Cleanup. Records hold no pointers.
    static void Initialize(CLogManager* other);
    // Whether this module has a manager, made or adopted.
    static bool IsInitialized() { return Instance() != nullptr; }
    // Null before Initialize.
    static CLogManager* Instance()
    {
        // Pair MANAGER, acquire: the manager's fields are visible.
        return KxLoadAcquire(msThis);
    }
    // Deletes the manager unless this module adopted one, and forgets it in any case.
    static void Cleanup();

    // The master switch; false while there is no manager. Never creates one.
    static bool IsEnabled()
    {
        const CLogManager* manager = Instance();
        return manager != nullptr && KxLoadRelaxed(manager->mEnabled);
    }

    // The calling thread's context, made on first use and named "TID " and the thread's number. Owned by the
    // manager; valid until the manager goes, or the thread ends if it is a KxThread.
    //
    // Making it waits for a collection pass to end, so a thread's first log call may take as long as the
    // callbacks do. If the system has no thread-specific key to give when the manager is made, every call
    // makes a context, and memory grows.
    CLogContext* GetTLSContext()
    {
        CLogContext* context = mTLSContext.Get();
        return context != nullptr ? context : MakeTLSContext();
    }

    // Called by a context's constructor and destructor. A pass looks at the contexts between the two.
    void AddContext(CLogContext* context);
    void RemoveContext(CLogContext* context);
    void AdoptTLSContext(CLogContext* context); // the manager owns it from now on
    // Deletes the calling thread's context with the records that no pass has taken. Called when a KxThread
    // ends. A plain thread that ends without it leaves its context to the manager.
    void CleanupTLSContext();

    // The master switch, off at first. HSLog asks it; CLogContext::Log does not.
    void SetEnable(bool on);

    // The filter is asked by every log call and again when the record is output.
    bool GetFilterValue(unsigned char cat) const { return KxLoadRelaxed(mFilter[cat]) != 0; }
    void SetFilterValue(unsigned char cat, bool on);
    // True when any of the categories is enabled; false for none.
    HSL_AT_CALL bool PassesFilter(unsigned char count, const unsigned char* cats)
    {
        for (unsigned char i = 0; i < count; ++i) {
            if (GetFilterValue(cats[i])) {
                return true;
            }
        }
        return false;
    }

    // Whether a client may use the categories first to last: only ranges that start at 20 (and end at 99 at
    // most) or at 100 (119 at most). Records nothing: two clients may be told true for the same range.
    bool RegisterCategoryRange(int first, int last);
    // The first name given to a category stays; later ones are ignored. Names are stored only; no output
    // shows them. Null is ignored.
    void SetCategoryName(unsigned char cat, const char* name);

    // Registers a format and returns its id, counted up from 0; the same text twice gives two ids. Waits for
    // a collection pass to end. Log calls carry 16-bit ids: register at most 32,768. A wide format can be
    // registered but shows as an error text. Null counts as "<NULL>".
    int AddFormatString(const char* format);
    int AddFormatString(const wchar_t* format);

    // Sets the callback, makes its kind the one in force and returns the one of the same kind before. The
    // other kind's callback stays stored. Callbacks are shared by all managers of a module and survive
    // Cleanup. At first lines go to the standard error stream; how many it refused, because its reader was gone
    // or a disk full, is told there in a line of its own as soon as it takes one again.
    //
    // The kind comes into force before the callback is stored. Until a host has set its first structured
    // callback none is there, so a pass that runs at that moment may call null: set the first one before
    // anything is logged.
    OutputCallback SetOutputCallback(OutputCallback callback);
    OutputCallback GetOutputCallback() const;
    StructuredOutputCallback SetStructuredOutputCallback(StructuredOutputCallback callback);
    StructuredOutputCallback GetStructuredOutputCallback() const;
    unsigned char GetOutputCallbackType() const; // kPlainCallback or kStructuredCallback

    // One collection pass over all contexts, under the lock. Returns whether the manager is shutting down. The
    // collection thread calls it ten times a second; a host may call it from any thread but a callback's.
    //
    // A thread that is cancelled meanwhile ends behind the pass. A pass that is left early, because memory ran out
    // (std::bad_alloc) or a callback threw through the host's own call, has output what its callback was given,
    // keeps the other records for the next pass, and has released the lock.
    bool Collect();
    // Outputs one record whose marker and sequence number have been taken off the context's ring.
    void OutputNextMessage(CLogContext* context, int seqNum);
    // Takes a record's format and values off the ring and returns the message's text, or, without `render`,
    // an empty one. Under the lock only: its buffers are shared by the whole module.
    std::string StringifyFormatArgs(bool render, CCircularBuffer& buffer);

    // Guarded, the logger stands what comes from outside, in texts of any length and content. Off at first, when it is
    // as the other comments say; to be set before anything is logged. With it
    //
    //  - a record that would not be whole has its texts cut, the longest first, each with "..." behind it, or, where
    //    that is not enough, counts as dropped;
    //  - a null wide text does no harm;
    //  - a conversion that does not suit its value, "%n", "*", a width or precision above 65,535, and a format that
    //    would never return are shown as they are, between angle brackets and with their values;
    //  - a ring whose bytes make no record, and one that is stuck with bytes but no record, is abandoned up to its end,
    //    which a line with the number 0 tells ("*** HSLOG ABANDONED UNREADABLE RECORDS ***"), and its thread logs on.
    //
    // Costs a call nothing and a line some 3 % of its instructions. Messages that keep to the rules come out as ever,
    // and so do texts of 65,536 units and more, which are cut without a mark.
    void SetGuarded(bool on) { KxStoreRelaxed(mGuarded, on); }
    bool IsGuarded() const { return KxLoadRelaxed(mGuarded); }

    // What Instance() returns, and whether another module made it.
    static CLogManager* msThis;
    static bool msAdopted;

    bool mEnabled;                                  // the master switch
    KxLock mLock;                                   // held for a whole pass
    std::vector<CLogContext*> mContexts;            // every live context, in the order of registration
    std::vector<CLogContext*> mTLSContexts;         // those that the manager owns
    std::vector<CFormatStringEntry> mFormatStrings; // by id
    std::vector<std::string> mCategoryNames;        // by code; empty for those without a name
    unsigned char mFilter[256];                     // by code; 0 holds its messages back
    KxThreadLocal<CLogContext*> mTLSContext;        // the calling thread's
    KxCacheLineGap mGapBeforeSequence;              // KxAtomic.h tells why
    int mSequence;                                  // number of the last record begun; shared by all threads
    KxCacheLineGap mGapBehindSequence;              // likewise
    unsigned int mDefaultContextSize;               // bytes; may be set before threads log
    bool mShutdown;                                 // ends the collection thread behind its next pass
    CrashLog::Ledger* mLedger;                      // for WriteCrashLog; null when there was no memory for it
    bool mGuarded = false;                          // see SetGuarded

private:
    CLogContext* MakeTLSContext();
    int AddFormatEntry(const CFormatStringEntry& entry);
};

} // namespace HSL

#endif
