// Counts the allocations of a test program, and makes one of them fail.
//
// Link Allocations.cpp and --wrap=malloc,--wrap=free into the program. Sees new and delete everywhere, malloc
// and free in what is linked statically. Each thread has its own count.
#ifndef FALLCATCH_TESTS_ALLOCATIONS_H
#define FALLCATCH_TESTS_ALLOCATIONS_H

namespace Allocations {

// Counts from its construction on.
class Watch {
public:
    Watch();
    // Blocks allocated.
    int Made() const;
    // Blocks allocated less blocks released.
    int Kept() const;

private:
    int mMade;
    int mReleased;
};

// Lets `successes` calls of new pass on this thread and makes the one after throw std::bad_alloc, once.
void FailNewAfter(int successes);
// Takes back what FailNewAfter ordered; whether it had still to happen.
bool CancelFailure();

} // namespace Allocations

#endif
