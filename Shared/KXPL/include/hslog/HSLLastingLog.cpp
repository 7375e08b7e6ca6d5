#include "HSLLastingLog.h"

#include "HSLLogManager.h"
#include "hslog/crash/CrashLedger.h"
#include "hslog/crash/LastingHeap.h"

#include <pthread.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <new>

namespace HSL {
namespace CrashLog {
namespace {

constexpr std::size_t kLedgerRoom = 4u << 20;

// Plain, because it has to outlive every object.
pthread_mutex_t gMutex = PTHREAD_MUTEX_INITIALIZER;
LastingHeap* gHeaps = nullptr;   // all that anything may still lie in
LastingHeap* gCurrent = nullptr; // the one of them that rings are laid in
bool gHasLedger = false;         // in the current one
char gProduct[kProductBytes] = {};
std::size_t gBytes = 0;

class Guard {
public:
    Guard() { pthread_mutex_lock(&gMutex); }
    ~Guard() { pthread_mutex_unlock(&gMutex); }

    Guard(const Guard&) = delete;
    Guard& operator=(const Guard&) = delete;
};

int makeHeap(std::size_t committed)
{
    LastingHeap* heap = new (std::nothrow) LastingHeap;
    if (heap == nullptr) {
        return ENOMEM;
    }
    const int error = heap->Make(gProduct, gBytes, kLedgerRoom, committed);
    if (error != 0) {
        delete heap;
        return error;
    }
    heap->mNext = gHeaps;
    gHeaps = heap;
    gCurrent = heap;
    gHasLedger = false;
    return 0;
}

LastingHeap* heapOf(const void* address)
{
    LastingHeap* heap = gHeaps;
    while (heap != nullptr && !heap->Object().Holds(address)) {
        heap = heap->mNext;
    }
    return heap;
}

// A forked child's is never used again: what lies there was the parent's.
void endIfUnused(LastingHeap* heap)
{
    if (!heap->mIsOver || heap->BlocksInUse() > 0 || heap->Object().mEntry < 0) {
        return;
    }
    LastingHeap** at = &gHeaps;
    while (*at != heap) {
        at = &(*at)->mNext;
    }
    *at = heap->mNext;
    heap->Object().Unmap();
    delete heap;
}

void* makeLedger(std::size_t size, std::size_t used)
{
    const Guard guard;
    const bool hasRoom = size <= kLedgerRoom && (gCurrent != nullptr ? !gHasLedger : makeHeap(used) == 0);
    if (!hasRoom) {
        return nullptr;
    }
    gHasLedger = true;
    void* ledger = gCurrent->Ledger();
    gCurrent->Object().Header()->mLedger = reinterpret_cast<std::uintptr_t>(ledger);
    return ledger;
}

void endLedger(void* ledger)
{
    const Guard guard;
    LastingHeap* heap = heapOf(ledger);
    if (heap == nullptr) {
        return;
    }
    heap->Object().Remove();
    heap->mIsOver = true;
    if (heap == gCurrent) {
        gCurrent = nullptr;
    }
    endIfUnused(heap);
}

bool commit(void* from, std::size_t size)
{
    const Guard guard;
    LastingHeap* heap = heapOf(from);
    return heap != nullptr && !heap->mIsOver && heap->Commit(from, size);
}

void* allocate(std::size_t size)
{
    const Guard guard;
    return gCurrent != nullptr ? gCurrent->Allocate(size) : nullptr;
}

// Not counted among the blocks in use, as it is never freed.
void* makeLines(std::size_t size)
{
    const Guard guard;
    return gCurrent != nullptr ? gCurrent->AllocateForGood(size) : nullptr;
}

void beforeFork()
{
    pthread_mutex_lock(&gMutex);
}

void afterForkInParent()
{
    pthread_mutex_unlock(&gMutex);
}

void afterForkInChild()
{
    new (&gMutex) pthread_mutex_t(PTHREAD_MUTEX_INITIALIZER);
    for (LastingHeap* heap = gHeaps; heap != nullptr; heap = heap->mNext) {
        heap->Object().LeaveToParent();
        heap->mIsOver = true;
    }
    gCurrent = nullptr;
}

constexpr LastingMemory kMemory = { makeLedger, endLedger, commit, makeLines, LastingMalloc, LastingFree };

} // namespace
} // namespace CrashLog

using namespace CrashLog;

int MakeLogLast(const char* product, unsigned int bytes)
{
    if (product == nullptr || product[0] == 0 || bytes < kLeastLastingBytes || bytes > kMostLastingBytes) {
        return EINVAL;
    }
    if (CLogManager::IsInitialized() || gLastingMemory != nullptr) {
        return EBUSY;
    }
    static bool sHasHandlers = false;
    if (!sHasHandlers && pthread_atfork(beforeFork, afterForkInParent, afterForkInChild) != 0) {
        return ENOMEM;
    }
    sHasHandlers = true;
    const Guard guard;
    std::strncpy(gProduct, product, sizeof gProduct - 1);
    gBytes = bytes / kLastingHeaderBytes * kLastingHeaderBytes;
    const int error = makeHeap(Ledger::kCommittedAtFirst);
    if (error == 0) {
        gLastingMemory = &kMemory;
    }
    return error;
}

void* LastingMalloc(int size)
{
    void* block = size >= 0 ? allocate(static_cast<std::size_t>(size)) : nullptr;
    return block != nullptr ? block : std::malloc(static_cast<std::size_t>(size));
}

void LastingFree(void* block, int)
{
    {
        const Guard guard;
        LastingHeap* heap = heapOf(block);
        if (heap != nullptr) {
            heap->Free(block);
            return endIfUnused(heap);
        }
    }
    std::free(block);
}

} // namespace HSL
