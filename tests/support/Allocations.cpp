#include "Allocations.h"

#include <cstddef>
#include <cstdlib>
#include <new>

extern "C" {
void* __real_malloc(std::size_t);
void __real_free(void*);
void* __wrap_malloc(std::size_t);
void __wrap_free(void*);
}

namespace {

constexpr int kNever = -1;

thread_local int tMade = 0;
thread_local int tReleased = 0;
thread_local int tSuccessesLeft = kNever;

void* allocate(std::size_t size)
{
    if (tSuccessesLeft == 0) {
        tSuccessesLeft = kNever;
        return nullptr;
    }
    if (tSuccessesLeft > 0) {
        --tSuccessesLeft;
    }
    ++tMade;
    return __real_malloc(size != 0 ? size : 1);
}

void* allocateOrThrow(std::size_t size)
{
    void* block = allocate(size);
    if (block == nullptr) {
        throw std::bad_alloc();
    }
    return block;
}

void release(void* block)
{
    if (block != nullptr) {
        ++tReleased;
        __real_free(block);
    }
}

} // namespace

namespace Allocations {

Watch::Watch()
    : mMade(tMade)
    , mReleased(tReleased)
{
}

int Watch::Made() const
{
    return tMade - mMade;
}

int Watch::Kept() const
{
    return Made() - (tReleased - mReleased);
}

void FailNewAfter(int successes)
{
    tSuccessesLeft = successes;
}

bool CancelFailure()
{
    const bool pending = tSuccessesLeft != kNever;
    tSuccessesLeft = kNever;
    return pending;
}

} // namespace Allocations

void* __wrap_malloc(std::size_t size)
{
    ++tMade;
    return __real_malloc(size);
}

void __wrap_free(void* block)
{
    if (block != nullptr) {
        ++tReleased;
    }
    __real_free(block);
}

void* operator new(std::size_t size)
{
    return allocateOrThrow(size);
}

void* operator new[](std::size_t size)
{
    return allocateOrThrow(size);
}

void* operator new(std::size_t size, const std::nothrow_t&) noexcept
{
    return allocate(size);
}

void* operator new[](std::size_t size, const std::nothrow_t&) noexcept
{
    return allocate(size);
}

void operator delete(void* block) noexcept
{
    release(block);
}

void operator delete[](void* block) noexcept
{
    release(block);
}

void operator delete(void* block, std::size_t) noexcept
{
    release(block);
}

void operator delete[](void* block, std::size_t) noexcept
{
    release(block);
}
