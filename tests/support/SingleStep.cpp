#include "SingleStep.h"

#include <utility>

namespace {

std::function<void()> gLook;

void onTrap(int)
{
    gLook();
}

// Bit 8 of the flags (Intel's manual, volume 1, "EFLAGS Register"). A push below the stack pointer would hit
// the compiler's red zone on 64 bits, so the pointer moves first.
inline void setTrapFlag()
{
#if defined(__x86_64__)
    asm volatile("lea -128(%%rsp), %%rsp; pushf; orl $0x100, (%%rsp); popf; lea 128(%%rsp), %%rsp" ::
                     : "memory", "cc");
#else
    asm volatile("pushf; orl $0x100, (%%esp); popf" ::: "memory", "cc");
#endif
}

inline void clearTrapFlag()
{
#if defined(__x86_64__)
    asm volatile("lea -128(%%rsp), %%rsp; pushf; andl $~0x100, (%%rsp); popf; lea 128(%%rsp), %%rsp" ::
                     : "memory", "cc");
#else
    asm volatile("pushf; andl $~0x100, (%%esp); popf" ::: "memory", "cc");
#endif
}

} // namespace

SingleStep::SingleStep(std::function<void()> look)
{
    gLook = std::move(look);
    struct sigaction action = {};
    action.sa_handler = onTrap;
    sigaction(SIGTRAP, &action, &mPrevious);
    setTrapFlag();
}

SingleStep::~SingleStep()
{
    clearTrapFlag();
    sigaction(SIGTRAP, &mPrevious, nullptr);
    gLook = nullptr;
}
