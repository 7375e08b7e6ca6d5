// Runs a small program of two or three threads in every order that a weak memory model allows.
//
// The code under test is the library's own, compiled with the instrumentation of ThreadSanitizer but linked
// with the hooks in ExplorerHooks.cpp instead of its run-time library: each memory access calls in here. The
// threads are coroutines. Before each atomic load or read-modify-write of a tracked address any thread may be
// chosen to go on, and a load may return every value that the orders named in the code allow (C++17,
// [intro.races]: modification order, happens-before from releases to the acquires that read them; a load does
// not return what is stored later). A program is run again and again until every combination of choices was
// seen. Stores need no choice in front of them where a location has one writer: an early store can only be
// seen by a load that may as well overlook it. Of sequentially consistent accesses the loads return nothing that
// is older than the newest store of that kind, and the stores have a choice in front of them.
//
// Found are: two accesses of a tracked byte, one of them a plain write, that nothing orders; and whatever a
// program reports by Fail.
#ifndef FALLCATCH_TESTS_ORDER_EXPLORER_H
#define FALLCATCH_TESTS_ORDER_EXPLORER_H

#include <cstddef>
#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace order {

struct Program {
    // Makes what the threads share and tracks it; runs anew before each execution.
    std::function<void()> setUp;
    std::vector<std::function<void()>> threads;
    // Looks at the result; runs behind the threads, with everything they did visible.
    std::function<void()> atEnd;
};

// What is taken away from the code under test, for controls that must fail: one kind of order, of all accesses
// or of those to one location.
struct Weakened {
    enum Kind {
        Nothing,
        Releases,  // stores and read-modify-writes publish nothing
        Acquires,  // loads and read-modify-writes see nothing but the value
        TotalOrder // sequentially consistent accesses are releases and acquires only
    };

    // `location` is asked behind setUp, before the threads begin; without it all locations are meant.
    Weakened(Kind kind, std::function<const void*()> location = nullptr)
        : mKind(kind)
        , mLocation(std::move(location))
    {
    }

    Kind mKind;
    std::function<const void*()> mLocation;
};

struct Result {
    long long executions;
    bool complete;       // every combination was run; false after a failure or at the limit
    std::string failure; // of the first execution that failed; empty when none did
};

Result explore(const Program& program, const Weakened& weakened = Weakened::Nothing,
               long long limit = 20000000);

// Only from a program. Accesses outside of tracked memory are let through unseen.
void track(const void* begin, std::size_t size);
// Ends the execution when called by a thread.
void fail(const std::string& what);

} // namespace order

#endif
