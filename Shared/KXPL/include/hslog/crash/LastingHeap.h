// Hands out the memory of one lasting object: the ledger's at its beginning, then blocks for rings and kept lines.
#ifndef HSLOG_CRASH_LASTING_HEAP_H
#define HSLOG_CRASH_LASTING_HEAP_H

#include "LastingObject.h"

#include <cstddef>
#include <cstdint>

namespace HSL {
namespace CrashLog {

// Not for two threads at once.
class LastingHeap {
public:
    // An error number, or 0. The first bytes are the ledger's; so many of them can be written to.
    int Make(const char* product, std::size_t bytes, std::size_t ledgerBytes, std::size_t committed);

    LastingObject& Object() { return mObject; }
    void* Ledger() { return mObject.mMemory + kLastingHeaderBytes; }
    bool Commit(const void* from, std::size_t size);
    // Zeros, or what lay there before it was freed; on the boundary of a cache line. Null when there is no room.
    void* Allocate(std::size_t size);
    void Free(void* block);
    // The same for what is never freed, and so does not count as in use.
    void* AllocateForGood(std::size_t size);
    int BlocksInUse() const { return mBlocks; }

    LastingHeap* mNext = nullptr;
    bool mIsOver = false; // its manager has gone, or this is the child of a fork

private:
    struct Block;

    LastingObject mObject;
    std::size_t mUsed = 0;
    Block* mFree = nullptr;
    int mBlocks = 0;
};

} // namespace CrashLog
} // namespace HSL

#endif
