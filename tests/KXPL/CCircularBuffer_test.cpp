// The class that owns a ring.
#include "CircularBuffer.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <string>
#include <type_traits>

namespace {

int gAllocated;
int gReleased;
int gCopies;

void* countingMalloc(int size)
{
    ++gAllocated;
    return std::malloc(static_cast<std::size_t>(size));
}

void countingFree(void* block, int)
{
    ++gReleased;
    std::free(block);
}

void* failingMalloc(int)
{
    return nullptr;
}

void* countingCopy(void* destination, const void* source, unsigned long size)
{
    ++gCopies;
    return std::memcpy(destination, source, size);
}

class DerivedRing : public CCircularBuffer {
public:
    explicit DerivedRing(bool& deleted)
        : mDeleted(deleted)
    {
    }
    ~DerivedRing() override { mDeleted = true; }

private:
    bool& mDeleted;
};

void expectFourFromEverything(CCircularBuffer& ring)
{
    char room[2] = {};
    int count = 2;
    EXPECT_EQ(ring.mControl, nullptr);
    EXPECT_EQ(ring.Write("ab", count), 4u);
    EXPECT_EQ(ring.Read(room, count), 4u);
    EXPECT_EQ(ring.Peek(0, room, count), 4u);
    EXPECT_EQ(ring.Remove(count), 4u);
    EXPECT_EQ(count, 2);
    EXPECT_EQ(ring.GetFirstError(), 4u);
    EXPECT_EQ(ring.GetLastError(), 4u);
    EXPECT_EQ(ring.SetCopyFunc(countingCopy), 4u);
    EXPECT_EQ(ring.SetFlags(1), 4u);
    EXPECT_EQ(ring.ClearFlags(1), 4u);
    EXPECT_EQ(ring.GetFlags(), 4u);
    EXPECT_EQ(ring.ClearErrors(), 4u);
}

// One pointer behind the pointer to the virtual functions.
static_assert(sizeof(CCircularBuffer) == 2 * sizeof(void*));
static_assert(std::has_virtual_destructor_v<CCircularBuffer>);

} // namespace

TEST(CCircularBuffer, DefaultConstructedAnswersFourToEverything)
{
    CCircularBuffer ring;
    expectFourFromEverything(ring);
}

TEST(CCircularBuffer, FailedAllocationLeavesItWithoutARing)
{
    CCircularBuffer ring(1, 10, failingMalloc, countingFree, countingCopy);
    expectFourFromEverything(ring);
}

TEST(CCircularBuffer, ConstructorMakesTheRing)
{
    CCircularBuffer ring(3, 10, countingMalloc, countingFree, countingCopy);
    ASSERT_NE(ring.mControl, nullptr);
    EXPECT_EQ(ring.mControl->elem_size, 3u);
    EXPECT_EQ(ring.mControl->num_elem, 10u);
    EXPECT_EQ(ring.mControl->malloc_func, countingMalloc);
    EXPECT_EQ(ring.mControl->free_func, countingFree);
    EXPECT_EQ(ring.mControl->copy_func, countingCopy);
    EXPECT_EQ(ring.GetFlags(), 1u);
}

TEST(CCircularBuffer, DestructorReleasesTheRing)
{
    gAllocated = 0;
    gReleased = 0;
    {
        CCircularBuffer ring(1, 10, countingMalloc, countingFree, nullptr);
        EXPECT_EQ(gAllocated, 1);
        EXPECT_EQ(gReleased, 0);
    }
    EXPECT_EQ(gReleased, 1);
}

TEST(CCircularBuffer, DestructorIsVirtual)
{
    bool deleted = false;
    CCircularBuffer* ring = new DerivedRing(deleted);
    delete ring;
    EXPECT_TRUE(deleted);
}

TEST(CCircularBuffer, MemoryFunctionsAreTheCLibrarys)
{
    char* block = static_cast<char*>(CCircularBuffer::MallocFunc(16));
    ASSERT_NE(block, nullptr);
    EXPECT_EQ(CCircularBuffer::CopyFunc(block, "0123456789", 11), block);
    EXPECT_EQ(std::string(block), "0123456789");
    CCircularBuffer::FreeFunc(block, -1);
}

TEST(CCircularBuffer, ReadConsumesAndPeekDoesNot)
{
    CCircularBuffer ring(1, 10, CCircularBuffer::MallocFunc, CCircularBuffer::FreeFunc,
                         CCircularBuffer::CopyFunc);
    char room[3] = {};
    int count = 3;
    EXPECT_EQ(ring.Write("ABC", count), 0u);
    EXPECT_EQ(count, 3);
    count = 2;
    EXPECT_EQ(ring.Peek(1, room, count), 0u);
    EXPECT_EQ(std::string(room), "BC");
    EXPECT_EQ(ring.Read(room, count), 0u);
    EXPECT_EQ(std::string(room), "AB");
    EXPECT_EQ(ring.Read(room, count), 0u);
    EXPECT_EQ(count, 1);
    EXPECT_EQ(room[0], 'C');
}

TEST(CCircularBuffer, RemoveDiscards)
{
    CCircularBuffer ring(1, 10, CCircularBuffer::MallocFunc, CCircularBuffer::FreeFunc, nullptr);
    int count = 3;
    ring.Write("ABC", count);
    count = 2;
    EXPECT_EQ(ring.Remove(count), 0u);
    EXPECT_EQ(count, 2);
    EXPECT_EQ(cb_get_num_elem_used(ring.mControl), 1u);
}

TEST(CCircularBuffer, CopyFunctionCanBeReplaced)
{
    CCircularBuffer ring(1, 100, CCircularBuffer::MallocFunc, CCircularBuffer::FreeFunc, nullptr);
    const std::string text(40, 'x');
    int count = 40;
    gCopies = 0;
    ring.Write(text.data(), count);
    EXPECT_EQ(gCopies, 0);
    EXPECT_EQ(ring.SetCopyFunc(countingCopy), 0u);
    ring.Write(text.data(), count);
    EXPECT_EQ(gCopies, 1);
}

TEST(CCircularBuffer, FlagsAndErrorsAreTheRings)
{
    CCircularBuffer ring(1, 2, CCircularBuffer::MallocFunc, CCircularBuffer::FreeFunc, nullptr);
    int count = 3;
    EXPECT_EQ(ring.Write("ABC", count), 2u);
    count = 1;
    char byte = 0;
    EXPECT_EQ(ring.Peek(3, &byte, count), 3u);
    EXPECT_EQ(ring.GetFirstError(), 2u);
    EXPECT_EQ(ring.GetLastError(), 3u);
    EXPECT_EQ(ring.ClearErrors(), 2u);
    EXPECT_EQ(ring.GetLastError(), 0u);
    EXPECT_EQ(ring.SetFlags(CB_FLAG_NO_OVERFLOW_ERROR), 0u);
    EXPECT_EQ(ring.GetFlags(), 3u);
    EXPECT_EQ(ring.Write("D", count), 0u);
    EXPECT_EQ(ring.ClearFlags(CB_FLAG_NO_OVERFLOW_ERROR), 0u);
    EXPECT_EQ(ring.GetFlags(), 1u);
}

TEST(CCircularBuffer, OnlyMoreThanThirtyTwoBytesGoThroughTheCopyFunction)
{
    static int copied;
    copied = 0;
    CCircularBuffer ring(1, 100, CCircularBuffer::MallocFunc, CCircularBuffer::FreeFunc,
                         [](void* to, const void* from, unsigned long size) {
                             copied += static_cast<int>(size);
                             return std::memcpy(to, from, size);
                         });
    const char bytes[33] = {};
    int count = 32;
    ring.Write(bytes, count);
    EXPECT_EQ(copied, 0);
    count = 33;
    ring.Write(bytes, count);
    EXPECT_EQ(copied, 33);
}
