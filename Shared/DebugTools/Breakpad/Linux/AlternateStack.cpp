#include "fallcatch_breakpad.h"

#include <pthread.h>
#include <signal.h>
#include <sys/mman.h>

namespace {

// Enough for the processor state that the kernel saves, which grows with the vector registers, and for
// Breakpad's handler, which keeps its large data elsewhere.
constexpr size_t kStackSize = 128 * 1024;

void release(void* memory)
{
    stack_t none = {};
    none.ss_flags = SS_DISABLE;
    sigaltstack(&none, nullptr);
    munmap(memory, kStackSize);
}

// The key whose destructor gives a thread's stack back.
class Key {
public:
    Key() { mValid = pthread_key_create(&mKey, release) == 0; }

    bool Set(void* memory) const { return mValid && pthread_setspecific(mKey, memory) == 0; }

private:
    pthread_key_t mKey = 0;
    bool mValid = false;
};

} // namespace

int FallcatchBreakpadPrepareThread()
{
    static const Key key;
    stack_t present = {};
    if (sigaltstack(nullptr, &present) == 0 && (present.ss_flags & SS_DISABLE) == 0
        && present.ss_size >= kStackSize) {
        return 1;
    }
    void* memory =
        mmap(nullptr, kStackSize, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_STACK, -1, 0);
    if (memory == MAP_FAILED) {
        return 0;
    }
    stack_t stack = {};
    stack.ss_sp = memory;
    stack.ss_size = kStackSize;
    if (!key.Set(memory) || sigaltstack(&stack, nullptr) != 0) {
        key.Set(nullptr);
        munmap(memory, kStackSize);
        return 0;
    }
    return 1;
}
