// The soak's books: what the threads did with each of their messages, and what came out.
#ifndef FALLCATCH_TESTS_SOAK_LEDGER_H
#define FALLCATCH_TESTS_SOAK_LEDGER_H

#include "Messages.h"

#include <cstddef>
#include <string>
#include <vector>

namespace soak {

// What became of one log call, as its thread can tell by the context it owns.
enum class Fate : unsigned char {
    kRefused, // by the filter or the switch; took no number
    kWritten,
    kMarked,   // the dropped-messages record took its place
    kDiscarded // took a number and left a gap
};

struct Event {
    Fate fate;
    bool mayBeHidden; // its category is one that the host switches
};

// One thread's life. Written by the thread, read after it has been joined.
struct Life {
    unsigned int thread = 0;
    // The thread's context went with records that no pass had taken.
    bool mayLoseItsEnd = false;
    std::vector<Event> events; // the serial number is the index
    std::vector<std::string> errors;
};

struct Totals {
    unsigned long long calls = 0;
    unsigned long long lines = 0;
    unsigned long long structured = 0; // of the lines
    unsigned long long bytes = 0;      // of the messages' texts
    unsigned long long markers = 0;    // of the lines
    unsigned long long discarded = 0;
    unsigned long long hidden = 0; // at output, by the filter
    unsigned long long lost = 0;   // with the context of a thread that ended
    unsigned long long threads = 0;
    unsigned long long errors = 0;
};

class Ledger {
public:
    Ledger(unsigned long long seed, const Shapes& shapes);

    // The callbacks' side, under the manager's lock. `number` 0 means that it was not told.
    void TakeLine(const char* line);
    void Take(unsigned int number, const std::string& context, unsigned int depth, const char* text);

    // Begins a period. Threads are numbered from `firstThread` on, records from behind `lastNumber` on.
    void Begin(unsigned int firstThread, int lastNumber);
    // Ends it: all threads have been joined and everything has been output. Compares what was done with what
    // was seen. `filterMoved` says whether the host switched any category off meanwhile.
    void Settle(const std::vector<const Life*>& lives, int lastNumber, bool filterMoved);

    void Report(const std::string& error);
    const Totals& Sums() const { return mTotals; }

private:
    static constexpr unsigned int kMarker = 0xffffffff;

    struct Seen {
        std::vector<unsigned int> serials; // in the order of output; kMarker for a dropped-messages record
        unsigned int lastNumber = 0;
    };

    void CheckNumber(unsigned int number, Seen& seen);
    unsigned long long SettleLife(const Life& life, bool filterMoved);

    Message mExpected;
    Totals mTotals;
    unsigned int mFirstThread = 0;
    unsigned int mFirstNumber = 1;
    std::vector<Seen> mSeen;         // by thread
    std::vector<bool> mNumbersShown; // by number
    unsigned long long mNumbered = 0;
    unsigned long long mUnnumbered = 0;
};

} // namespace soak

#endif
