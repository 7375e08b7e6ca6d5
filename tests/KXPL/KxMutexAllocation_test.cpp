// What a mutex leaves behind when memory runs out. A program of its own, because it replaces the allocator.
#include "KxMutex.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdlib>
#include <new>

namespace {

int gLiveBlocks;
std::size_t gRefusedSize;

} // namespace

void* operator new(std::size_t size)
{
    void* block = size == gRefusedSize ? nullptr : std::malloc(size);
    if (block == nullptr) {
        throw std::bad_alloc();
    }
    ++gLiveBlocks;
    return block;
}

void operator delete(void* block) noexcept
{
    if (block != nullptr) {
        --gLiveBlocks;
    }
    std::free(block);
}

void operator delete(void* block, std::size_t) noexcept
{
    operator delete(block);
}

TEST(KxMutexAllocation, FailurePropagatesAndReleasesTheName)
{
    const char* const name = "a name that is too long to be kept inside the string object itself";
    bool thrown = false;
    const int before = gLiveBlocks;
    gRefusedSize = sizeof(KxMutexPlatformData);
    try {
        KxMutex mutex(name);
    } catch (const std::bad_alloc&) {
        thrown = true;
    }
    gRefusedSize = 0;
    EXPECT_TRUE(thrown);
    EXPECT_EQ(gLiveBlocks, before);
}

TEST(KxMutexAllocation, DestructorReleasesEverything)
{
    const int before = gLiveBlocks;
    {
        KxMutex mutex("a name that is too long to be kept inside the string object itself");
        EXPECT_EQ(gLiveBlocks, before + 2);
    }
    EXPECT_EQ(gLiveBlocks, before);
}
