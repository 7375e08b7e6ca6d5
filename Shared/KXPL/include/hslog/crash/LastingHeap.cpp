#include "LastingHeap.h"

namespace HSL {
namespace CrashLog {
namespace {

constexpr std::size_t kPage = 4096;
constexpr std::size_t kBlockHead = 64; // a cache line

std::size_t roundedUp(std::size_t size)
{
    return (size + kPage - 1) / kPage * kPage;
}

} // namespace

// In front of the memory that was asked for.
struct LastingHeap::Block {
    std::size_t mSize; // with this
    Block* mNext;      // of those that are free
};

int LastingHeap::Make(const char* product, std::size_t bytes, std::size_t ledgerBytes, std::size_t committed)
{
    const int error = mObject.Make(product, bytes);
    if (error != 0) {
        return error;
    }
    const int noMemory = KXPL::KxCommitSharedObject(mObject.mObject, kLastingHeaderBytes, committed);
    if (noMemory != 0) {
        mObject.Remove();
        mObject.Unmap();
        return noMemory;
    }
    mUsed = kLastingHeaderBytes + roundedUp(ledgerBytes);
    return 0;
}

bool LastingHeap::Commit(const void* from, std::size_t size)
{
    const std::size_t offset =
        static_cast<std::size_t>(static_cast<const unsigned char*>(from) - mObject.mMemory);
    return KXPL::KxCommitSharedObject(mObject.mObject, offset, size) == 0;
}

void* LastingHeap::Allocate(std::size_t size)
{
    const std::size_t wanted = roundedUp(size + kBlockHead);
    Block* block = nullptr;
    for (Block** at = &mFree; *at != nullptr && block == nullptr; at = &(*at)->mNext) {
        if ((*at)->mSize >= wanted && (*at)->mSize / 2 <= wanted) {
            block = *at;
            *at = block->mNext;
            break;
        }
    }
    if (block == nullptr) {
        if (wanted > mObject.mBytes - mUsed || !Commit(mObject.mMemory + mUsed, wanted)) {
            return nullptr;
        }
        block = reinterpret_cast<Block*>(mObject.mMemory + mUsed);
        block->mSize = wanted;
        mUsed += wanted;
    }
    ++mBlocks;
    return reinterpret_cast<unsigned char*>(block) + kBlockHead;
}

void* LastingHeap::AllocateForGood(std::size_t size)
{
    void* block = Allocate(size);
    mBlocks -= block != nullptr ? 1 : 0;
    return block;
}

void LastingHeap::Free(void* memory)
{
    Block* block = reinterpret_cast<Block*>(static_cast<unsigned char*>(memory) - kBlockHead);
    block->mNext = mFree;
    mFree = block;
    --mBlocks;
}

} // namespace CrashLog
} // namespace HSL
