#include "Ledger.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace soak {
namespace {

constexpr unsigned long long kErrorsShown = 20;
constexpr char kMarkerText[] = "*** HSLOG DROPPED MESSAGE(S) ***";

bool isShown(Fate fate)
{
    return fate == Fate::kWritten || fate == Fate::kMarked;
}

std::string nameOf(const Life& life, std::size_t serial)
{
    return std::to_string(life.thread) + "/" + std::to_string(serial);
}

// Where a line's and a message's text part ways, for people.
std::string difference(const std::string& expected, const std::string& seen)
{
    std::size_t at = 0;
    while (at < expected.size() && at < seen.size() && expected[at] == seen[at]) {
        ++at;
    }
    const std::size_t from = at < 20 ? 0 : at - 20;
    return " at byte " + std::to_string(at) + "\n  expected ..." + expected.substr(from, 60)
        + "\n  seen     ..." + seen.substr(from, 60);
}

} // namespace

Ledger::Ledger(unsigned long long seed, const Shapes& shapes)
    : mExpected(seed, shapes)
{
}

void Ledger::Report(const std::string& error)
{
    if (++mTotals.errors <= kErrorsShown) {
        std::fprintf(stderr, "soak: %s\n", error.c_str());
    }
}

void Ledger::Begin(unsigned int firstThread, int lastNumber)
{
    mFirstThread = firstThread;
    mFirstNumber = static_cast<unsigned int>(lastNumber) + 1;
    mSeen.clear();
    mNumbersShown.clear();
    mNumbered = 0;
    mUnnumbered = 0;
}

void Ledger::TakeLine(const char* line)
{
    const std::size_t length = std::strlen(line);
    const char* open = std::strchr(line, '[');
    const char* close = open != nullptr ? std::strstr(open, "]\t") : nullptr;
    if (close == nullptr || line[length - 1] != '\n') {
        return Report(std::string("no such line can be: ") + line);
    }
    std::string context(open + 1, close);
    context.erase(context.find_last_not_of(' ') + 1);
    const char* text = close + 2;
    unsigned int depth = 0;
    for (; std::strncmp(text, "|  ", 3) == 0; text += 3) {
        ++depth;
    }
    const std::string message(text, line + length - 1);
    Take(static_cast<unsigned int>(std::strtoul(line, nullptr, 10)), context, depth, message.c_str());
}

// The context's name is "w", the thread's number, and perhaps more behind a dot.
void Ledger::Take(unsigned int number, const std::string& context, unsigned int depth, const char* text)
{
    char* end = nullptr;
    const unsigned long thread = context.size() > 1 ? std::strtoul(context.c_str() + 1, &end, 10) : 0;
    if (end == nullptr || context[0] != 'w' || (*end != '\0' && *end != '.') || thread < mFirstThread) {
        return Report("a line of an unknown context: [" + context + "] " + text);
    }
    const std::size_t index = thread - mFirstThread;
    if (index >= mSeen.size()) {
        mSeen.resize(index + 1);
    }
    Seen& seen = mSeen[index];
    ++mTotals.lines;
    mTotals.bytes += std::strlen(text);
    CheckNumber(number, seen);
    if (std::strcmp(text, kMarkerText) == 0) {
        ++mTotals.markers;
        return seen.serials.push_back(kMarker);
    }
    if (std::strtoul(text, &end, 10) != thread || *end != '/') {
        return Report("a message of another thread in [" + context + "]: " + text);
    }
    const unsigned int serial = static_cast<unsigned int>(std::strtoul(end + 1, nullptr, 10));
    mExpected.Make(static_cast<unsigned int>(thread), serial);
    if (mExpected.Text() != text) {
        return Report("a message was changed" + difference(mExpected.Text(), text));
    }
    if (static_cast<unsigned int>(mExpected.Depth()) != depth) {
        Report("depth " + std::to_string(depth) + " of " + text);
    }
    seen.serials.push_back(serial);
}

void Ledger::CheckNumber(unsigned int number, Seen& seen)
{
    if (number == 0) {
        ++mTotals.structured;
        ++mUnnumbered;
        return;
    }
    if (number < mFirstNumber) {
        return Report("number " + std::to_string(number) + " of an earlier period");
    }
    if (number <= seen.lastNumber) {
        Report("number " + std::to_string(number) + " follows " + std::to_string(seen.lastNumber));
    }
    seen.lastNumber = number;
    const std::size_t index = number - mFirstNumber;
    if (index >= mNumbersShown.size()) {
        mNumbersShown.resize(index + 1);
    }
    if (mNumbersShown[index]) {
        return Report("number " + std::to_string(number) + " came twice");
    }
    mNumbersShown[index] = true;
    ++mNumbered;
}

void Ledger::Settle(const std::vector<const Life*>& lives, int lastNumber, bool filterMoved)
{
    const unsigned long long hiddenBefore = mTotals.hidden;
    const unsigned long long lostBefore = mTotals.lost;
    const unsigned long long discardedBefore = mTotals.discarded;
    unsigned long long taken = 0;
    for (const Life* life : lives) {
        taken += SettleLife(*life, filterMoved);
    }
    if (mSeen.size() > lives.size()) {
        Report("lines of threads that never were");
    }
    const unsigned long long numbers = static_cast<unsigned int>(lastNumber) + 1 - mFirstNumber;
    if (numbers != taken) {
        Report(std::to_string(numbers) + " numbers were taken, by " + std::to_string(taken) + " calls");
    }
    if (mNumbersShown.size() > numbers) {
        Report("a number that was never taken");
    }
    const unsigned long long explained = mTotals.hidden - hiddenBefore + mTotals.lost - lostBefore
        + mTotals.discarded - discardedBefore + mUnnumbered;
    if (numbers - mNumbered != explained) {
        Report(std::to_string(numbers - mNumbered) + " numbers are missing, " + std::to_string(explained)
               + " of them with a reason");
    }
}

// Walks through what the thread did and what was seen of it. Returns how many numbers its calls took.
unsigned long long Ledger::SettleLife(const Life& life, bool filterMoved)
{
    for (const std::string& error : life.errors) {
        Report(error);
    }
    static const std::vector<unsigned int> kNothing;
    const std::size_t index = life.thread - mFirstThread;
    const std::vector<unsigned int>& seen = index < mSeen.size() ? mSeen[index].serials : kNothing;
    ++mTotals.threads;
    mTotals.calls += life.events.size();
    std::size_t next = 0;
    unsigned long long taken = 0;
    for (std::size_t serial = 0; serial < life.events.size(); ++serial) {
        const Event event = life.events[serial];
        taken += event.fate != Fate::kRefused ? 1u : 0u;
        mTotals.discarded += event.fate == Fate::kDiscarded ? 1u : 0u;
        if (!isShown(event.fate)) {
            continue;
        }
        const unsigned int expected = event.fate == Fate::kMarked ? kMarker : static_cast<unsigned int>(serial);
        if (next < seen.size() && seen[next] == expected) {
            ++next;
        } else if (event.mayBeHidden && filterMoved) {
            ++mTotals.hidden;
        } else if (life.mayLoseItsEnd && next == seen.size()) {
            ++mTotals.lost;
        } else {
            Report(nameOf(life, serial) + (event.fate == Fate::kMarked ? " (a marker)" : "")
                   + " did not come in its turn");
            return taken;
        }
    }
    if (next != seen.size()) {
        Report("thread " + std::to_string(life.thread) + ": a line too many behind its "
               + std::to_string(next));
    }
    return taken;
}

} // namespace soak
