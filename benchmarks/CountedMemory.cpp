// The program is linked with --wrap=malloc and --wrap=free, and all of new and delete comes by here.
#include "CountedMemory.h"

#include <atomic>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <new>

extern "C" {
void* __real_malloc(std::size_t size);
void __real_free(void* block);
void* __wrap_malloc(std::size_t size);
void __wrap_free(void* block);
}

namespace {

struct Block {
    void* mStart;
    std::size_t mSize;
};

std::atomic<bool> sCounting { false };
std::mutex sLock;
Block sBlocks[4096];
int sBlockCount = 0;

void noteNew(void* start, std::size_t size)
{
    const std::lock_guard<std::mutex> guard(sLock);
    if (sBlockCount == 4096) {
        std::fputs("CountedMemory: too many blocks\n", stderr);
        std::abort();
    }
    sBlocks[sBlockCount++] = { start, size };
}

void noteGone(const void* start)
{
    const std::lock_guard<std::mutex> guard(sLock);
    for (int i = sBlockCount - 1; i >= 0; --i) {
        if (sBlocks[i].mStart == start) {
            sBlocks[i] = sBlocks[--sBlockCount];
            return;
        }
    }
}

} // namespace

void* __wrap_malloc(std::size_t size)
{
    void* const start = __real_malloc(size);
    if (sCounting && start != nullptr) {
        noteNew(start, size);
    }
    return start;
}

void __wrap_free(void* block)
{
    if (sCounting) {
        noteGone(block);
    }
    __real_free(block);
}

void* operator new(std::size_t size)
{
    void* const start = __wrap_malloc(size != 0 ? size : 1);
    if (start == nullptr) {
        std::abort();
    }
    return start;
}

void operator delete(void* block) noexcept
{
    __wrap_free(block);
}

void operator delete(void* block, std::size_t) noexcept
{
    __wrap_free(block);
}

namespace bench {

void StartCounting()
{
    sBlockCount = 0;
    sCounting = true;
}

long long StopCounting()
{
    sCounting = false;
    long long bytes = 0;
    for (int i = 0; i < sBlockCount; ++i) {
        bytes += static_cast<long long>(sBlocks[i].mSize);
    }
    return bytes;
}

} // namespace bench
