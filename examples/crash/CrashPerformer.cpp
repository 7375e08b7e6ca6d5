#include "CrashTypes.h"

#include <cstdio>
#include <stdexcept>
#include <sys/mman.h>
#include <thread>
#include <unistd.h>

// Each crash has a function of its own, so that the stack tells which it was. The optimiser must neither inline
// them nor see through what they do.
#define CRASH_FUNCTION __attribute__((noinline, used))

namespace Crash {

namespace {

// A value of which the optimiser knows nothing.
template <typename T> T opaque(T value)
{
    __asm__ volatile("" : "+r"(value));
    return value;
}

volatile int gSink;

} // namespace

CRASH_FUNCTION void readBeyondArray()
{
    // A page that nothing may read lies right behind the array.
    const auto page = static_cast<size_t>(sysconf(_SC_PAGESIZE));
    void* memory = mmap(nullptr, 2 * page, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (memory == MAP_FAILED) {
        return;
    }
    mprotect(static_cast<char*>(memory) + page, page, PROT_NONE);
    const int* array = opaque(static_cast<const int*>(memory));
    gSink = array[opaque(page / sizeof(int))];
}

// Where the processor stands on no code, a reader of 32-bit stacks has only the frame pointer to go by and
// misses the innermost function; so that is this one.
CRASH_FUNCTION static void callThrough(void (*pointer)())
{
    pointer();
    gSink = 1; // keeps the call from becoming a jump
}

CRASH_FUNCTION void callGarbage()
{
    // No system maps the lowest pages, so there is never code.
    callThrough(opaque(reinterpret_cast<void (*)()>(0x1235)));
    gSink = 1;
}

CRASH_FUNCTION void divideByZero()
{
    gSink = opaque(1) / opaque(0);
}

CRASH_FUNCTION void dereferenceZero()
{
    gSink = *opaque(static_cast<volatile int*>(nullptr));
}

namespace {

class Base;
void callBack(Base* base);

class Base {
public:
    Base() { callBack(this); } // too early: what derives from it is not there yet
    virtual ~Base() = default;
    virtual void Act() = 0;
};

class Derived : public Base {
public:
    void Act() override { gSink = 1; }
};

CRASH_FUNCTION void callBack(Base* base)
{
    opaque(base)->Act();
    gSink = 1;
}

} // namespace

CRASH_FUNCTION void callPureVirtual()
{
    Derived object;
    opaque(&object)->Act();
}

CRASH_FUNCTION void throwUncaught()
{
    if (opaque(1) != 0) {
        throw std::runtime_error("a recoverable fault from which nobody recovered");
    }
}

CRASH_FUNCTION void executeInvalid()
{
    __builtin_trap();
}

class Copy {
public:
    explicit Copy(const Copy* original);
    int mValue;
};

CRASH_FUNCTION Copy::Copy(const Copy* original)
    : mValue(original->mValue)
{
}

namespace {

CRASH_FUNCTION void constructWithNull()
{
    const Copy copy(opaque(static_cast<const Copy*>(nullptr)));
    gSink = copy.mValue;
}

// By code.
constexpr void (*kFunctions[])() = { readBeyondArray, callGarbage,   divideByZero,   dereferenceZero,
                                     callPureVirtual, throwUncaught, executeInvalid, constructWithNull };

} // namespace

// No handler of exceptions lies on the way, in either thread.
CRASH_FUNCTION void Perform(const int* codes, int count, void (*prepareThread)())
{
    if (count < 2 || Find(codes[1]) == nullptr) {
        return;
    }
    void (*const crash)() = kFunctions[codes[1]];
    if (codes[0] == 0) {
        crash();
        return;
    }
    std::thread worker([crash, prepareThread] {
        if (prepareThread != nullptr) {
            prepareThread();
        }
        crash();
        gSink = 1;
    });
    worker.join();
}

} // namespace Crash
