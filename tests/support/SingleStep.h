// Runs a piece of code one processor instruction at a time and looks around behind each.
#ifndef FALLCATCH_TESTS_SINGLE_STEP_H
#define FALLCATCH_TESTS_SINGLE_STEP_H

#include "ThreadSanitizer.h"

#include <csignal>
#include <functional>

// Sets the processor's trap flag (x86), so that a SIGTRAP follows every instruction of the calling thread
// while the object lives. `look` runs in the signal's handler between two instructions of the code under test:
// it must not call anything that code may be in the middle of, malloc above all. One object at a time.
class SingleStep {
public:
    // Not under ThreadSanitizer, which takes locks of its own within the stepped code; what the handler does
    // would wait for them for ever, now and then.
    static constexpr bool IsPossible() { return !kUnderThreadSanitizer; }

    explicit SingleStep(std::function<void()> look);
    ~SingleStep();

    SingleStep(const SingleStep&) = delete;
    SingleStep& operator=(const SingleStep&) = delete;

private:
    struct sigaction mPrevious;
};

#endif
