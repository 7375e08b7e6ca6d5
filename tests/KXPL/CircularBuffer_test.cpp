// Making and ending a ring.
#include "CircularBuffer.h"

#include "Ring.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <string>
#include <type_traits>
#include <vector>

// In CircularBufferInC.c.
extern "C" int passTextThroughARing(const char* text, char* result);

namespace {

constexpr bool kIs64Bit = sizeof(void*) == 8;
constexpr unsigned int kHeader = kIs64Bit ? 64 : 48;

// What the memory functions below were called with.
std::vector<int> gAskedSizes;
int gFreeCalls;
void* gFreedBlock;
int gFreedSize;
bool gFreedControlWasZero;

void* recordingMalloc(int size)
{
    gAskedSizes.push_back(size);
    return std::malloc(static_cast<std::size_t>(size));
}

void* failingMalloc(int size)
{
    gAskedSizes.push_back(size);
    return nullptr;
}

void recordingFree(void* block, int size)
{
    ++gFreeCalls;
    gFreedBlock = block;
    gFreedSize = size;
    const unsigned char* bytes = static_cast<unsigned char*>(block);
    gFreedControlWasZero = true;
    for (std::size_t i = 0; i < sizeof(cb_control); ++i) {
        gFreedControlWasZero = gFreedControlWasZero && bytes[i] == 0;
    }
    std::free(block);
}

class CircularBuffer : public testing::Test {
protected:
    CircularBuffer()
    {
        gAskedSizes.clear();
        gFreeCalls = 0;
        gFreedBlock = nullptr;
        gFreedSize = 0;
        gFreedControlWasZero = false;
    }
};

static_assert(std::is_standard_layout_v<cb_control>);
static_assert(offsetof(cb_control, elem_size) == 0 && sizeof(cb_control::elem_size) == 4);
static_assert(offsetof(cb_control, num_elem) == 4 && sizeof(cb_control::num_elem) == 4);
static_assert(offsetof(cb_control, start_offset) == 8 && sizeof(cb_control::start_offset) == 4);
static_assert(offsetof(cb_control, end_offset) == 12 && sizeof(cb_control::end_offset) == 4);
static_assert(offsetof(cb_control, read_offset) == 16 && sizeof(cb_control::read_offset) == 4);
static_assert(offsetof(cb_control, write_offset) == 20 && sizeof(cb_control::write_offset) == 4);
static_assert(offsetof(cb_control, malloc_func) == 24);
static_assert(offsetof(cb_control, free_func) == 24 + sizeof(void*));
static_assert(offsetof(cb_control, copy_func) == 24 + 2 * sizeof(void*));
static_assert(offsetof(cb_control, flags) == 24 + 3 * sizeof(void*) && sizeof(cb_control::flags) == 1);
static_assert(offsetof(cb_control, first_error) == 25 + 3 * sizeof(void*));
static_assert(offsetof(cb_control, last_error) == 26 + 3 * sizeof(void*));
static_assert(std::is_same_v<decltype(cb_control::elem_size), unsigned int>);
static_assert(std::is_same_v<decltype(cb_control::flags), unsigned char>);
static_assert(CB_OK == 0 && CB_ERR_ALLOC == 1 && CB_ERR_OVERFLOW == 2);
static_assert(CB_ERR_NOT_ENOUGH_DATA == 3 && CB_ERR_NULL == 4);
static_assert(CB_FLAG_OWNS_MEMORY == 1 && CB_FLAG_NO_OVERFLOW_ERROR == 2 && CB_READ_CONSUME == 1);

} // namespace

TEST_F(CircularBuffer, BufferSizeCountsOneSpareSlotAndTheHeader)
{
    EXPECT_EQ(cb_calc_buffer_size(1, 1000), kIs64Bit ? 1065u : 1049u);
    EXPECT_EQ(cb_calc_buffer_size(12, 10), 11u * 12u + kHeader);
    EXPECT_EQ(cb_calc_buffer_size(7, 0), 7u + kHeader);
}

TEST_F(CircularBuffer, BufferSizeWrapsAt32Bits)
{
    EXPECT_EQ(cb_calc_buffer_size(0x10000, 0xFFFF), kHeader);
    EXPECT_EQ(cb_calc_buffer_size(5, 0xFFFFFFFFu), kHeader);
    EXPECT_EQ(cb_calc_buffer_size(3, 0x55555555), 2u + kHeader);
}

TEST_F(CircularBuffer, InitializeAllocatesExactlyTheBlock)
{
    cb_control* control = nullptr;
    EXPECT_EQ(cb_initialize(&control, 12, 10, recordingMalloc, recordingFree), 0u);
    EXPECT_NE(control, nullptr);
    EXPECT_EQ(gAskedSizes, std::vector<int> { static_cast<int>(11 * 12 + kHeader) });
    cb_destroy(control);
}

TEST_F(CircularBuffer, InitializedBlockIsEmptyAndOwned)
{
    cb_control* control = nullptr;
    cb_initialize(&control, 12, 10, recordingMalloc, recordingFree);
    ASSERT_NE(control, nullptr);
    EXPECT_EQ(control->elem_size, 12u);
    EXPECT_EQ(control->num_elem, 10u);
    EXPECT_EQ(control->start_offset, kHeader);
    EXPECT_EQ(control->end_offset, kHeader + 120u);
    EXPECT_EQ(control->read_offset, kHeader);
    EXPECT_EQ(control->write_offset, kHeader);
    EXPECT_EQ(control->malloc_func, recordingMalloc);
    EXPECT_EQ(control->free_func, recordingFree);
    EXPECT_EQ(control->copy_func, nullptr);
    EXPECT_EQ(control->flags, CB_FLAG_OWNS_MEMORY);
    EXPECT_EQ(control->first_error, 0);
    EXPECT_EQ(control->last_error, 0);
    cb_destroy(control);
}

TEST_F(CircularBuffer, FailedAllocationGivesNullAndCodeOne)
{
    int something = 0;
    cb_control* control = reinterpret_cast<cb_control*>(&something);
    EXPECT_EQ(cb_initialize(&control, 1, 100, failingMalloc, recordingFree), 1u);
    EXPECT_EQ(control, nullptr);
    EXPECT_EQ(gAskedSizes.size(), 1u);
    EXPECT_EQ(gFreeCalls, 0);
}

TEST_F(CircularBuffer, NullAllocatorCountsAsFailedAllocation)
{
    int something = 0;
    cb_control* control = reinterpret_cast<cb_control*>(&something);
    EXPECT_EQ(cb_initialize(&control, 1, 100, nullptr, recordingFree), 1u);
    EXPECT_EQ(control, nullptr);
}

TEST_F(CircularBuffer, LargestSizeOfASignedIntIsStillAskedFor)
{
    cb_control* control = nullptr;
    const unsigned int numElem = static_cast<unsigned int>(INT_MAX) - kHeader - 1;
    EXPECT_EQ(cb_initialize(&control, 1, numElem, failingMalloc, recordingFree), 1u);
    EXPECT_EQ(gAskedSizes, std::vector<int> { INT_MAX });
}

TEST_F(CircularBuffer, SizeBeyondASignedIntIsRefusedWithoutAsking)
{
    int something = 0;
    cb_control* control = reinterpret_cast<cb_control*>(&something);
    const unsigned int numElem = static_cast<unsigned int>(INT_MAX) - kHeader;
    EXPECT_EQ(cb_initialize(&control, 1, numElem, recordingMalloc, recordingFree), 1u);
    EXPECT_EQ(control, nullptr);
    EXPECT_TRUE(gAskedSizes.empty());
}

TEST_F(CircularBuffer, SizeThatWrapsIsRefusedWithoutAsking)
{
    const unsigned int sizes[][2] = { { 0x10000, 0xFFFF }, { 1, 0xFFFFFFFFu }, { 5, 0xFFFFFFFFu },
                                      { 3, 0x55555555 },   { 0xFFFFFFFFu, 2 }, { 0x80000000u, 1 } };
    for (const auto& size : sizes) {
        cb_control* control = nullptr;
        EXPECT_EQ(cb_initialize(&control, size[0], size[1], recordingMalloc, recordingFree), 1u)
            << size[0] << " x " << size[1];
        EXPECT_EQ(control, nullptr);
    }
    EXPECT_TRUE(gAskedSizes.empty());
}

TEST_F(CircularBuffer, RingOfElementsWithoutBytesIsItsHeaderHoweverManyThereAre)
{
    cb_control* control = nullptr;
    EXPECT_EQ(cb_initialize(&control, 0, 0xFFFFFFFFu, recordingMalloc, recordingFree), 0u);
    ASSERT_NE(control, nullptr);
    EXPECT_EQ(gAskedSizes, std::vector<int> { static_cast<int>(kHeader) });
    EXPECT_EQ(cb_get_num_elem_used(control), 0u);
    cb_destroy(control);
}

TEST_F(CircularBuffer, InitializeWithoutAPlaceForTheResultIsRefused)
{
    EXPECT_EQ(cb_initialize(nullptr, 1, 100, recordingMalloc, recordingFree), 4u);
    EXPECT_TRUE(gAskedSizes.empty());
}

TEST_F(CircularBuffer, CallersMemoryIsZeroedAndNotOwned)
{
    std::vector<unsigned char> memory(cb_calc_buffer_size(3, 5), 0xFF);
    cb_control* control = reinterpret_cast<cb_control*>(memory.data());
    EXPECT_EQ(cb_initialize_with_buffer(control, 3, 5), 0u);
    cb_control expected = {};
    expected.elem_size = 3;
    expected.num_elem = 5;
    expected.start_offset = kHeader;
    expected.end_offset = kHeader + 15;
    expected.read_offset = kHeader;
    expected.write_offset = kHeader;
    EXPECT_EQ(std::memcmp(control, &expected, sizeof expected), 0);
    EXPECT_EQ(memory[kHeader], 0xFF);
    EXPECT_EQ(memory.back(), 0xFF);
}

TEST_F(CircularBuffer, RingWithoutCapacityTakesNothing)
{
    Ring ring(1, 0);
    EXPECT_EQ(cb_is_full(ring.control()), 1);
    EXPECT_EQ(ring.used(), 0u);
    EXPECT_EQ(ring.write("A"), (Outcome { 2, 0, "" }));
    EXPECT_EQ(ring.read(1), (Outcome { 2, 0, "" }));
}

TEST_F(CircularBuffer, DestroyReleasesAnOwnedBlockWithItsSize)
{
    cb_control* control = nullptr;
    cb_initialize(&control, 12, 10, recordingMalloc, recordingFree);
    EXPECT_EQ(cb_destroy(control), 0u);
    EXPECT_EQ(gFreeCalls, 1);
    EXPECT_EQ(gFreedBlock, control);
    EXPECT_EQ(gFreedSize, static_cast<int>(11 * 12 + kHeader));
}

TEST_F(CircularBuffer, DestroyZeroesTheControlBlockBeforeItReleasesIt)
{
    cb_control* control = nullptr;
    cb_initialize(&control, 1, 10, recordingMalloc, recordingFree);
    cb_destroy(control);
    EXPECT_TRUE(gFreedControlWasZero);
}

TEST_F(CircularBuffer, DestroyOfCallersMemoryZeroesItAndReleasesNothing)
{
    Ring ring(1, 10, CCircularBuffer::CopyFunc);
    ring.write("ABC");
    ring->free_func = recordingFree;
    EXPECT_EQ(cb_destroy(ring.control()), 0u);
    EXPECT_EQ(gFreeCalls, 0);
    EXPECT_EQ(ring.bytesAt(0, sizeof(cb_control)), std::string(sizeof(cb_control), '\0'));
    EXPECT_EQ(ring.bytesAt(kHeader, 3), "ABC");
}

TEST_F(CircularBuffer, StalePointerReadsAsAnEmptyRingOfElementSizeZero)
{
    Ring ring(1, 10);
    ring.write("ABC");
    cb_destroy(ring.control());
    EXPECT_EQ(ring->elem_size, 0u);
    EXPECT_EQ(ring.used(), 0u);
    int count = 5;
    char room[5];
    EXPECT_EQ(cb_read(ring.control(), room, &count), 0u);
    EXPECT_EQ(count, 0);
}

TEST_F(CircularBuffer, BlockDisownedByItsFlagIsNotReleased)
{
    cb_control* control = nullptr;
    cb_initialize(&control, 1, 10, recordingMalloc, recordingFree);
    ASSERT_NE(control, nullptr);
    cb_clear_flags(control, CB_FLAG_OWNS_MEMORY);
    EXPECT_EQ(cb_destroy(control), 0u);
    EXPECT_EQ(gFreeCalls, 0);
    std::free(control);
}

TEST_F(CircularBuffer, OwnedBlockWithoutAReleaserIsOnlyZeroed)
{
    cb_control* control = nullptr;
    cb_initialize(&control, 1, 10, recordingMalloc, nullptr);
    ASSERT_NE(control, nullptr);
    EXPECT_EQ(cb_destroy(control), 0u);
    EXPECT_EQ(control->num_elem, 0u);
    std::free(control);
}

TEST_F(CircularBuffer, IsUsableFromC)
{
    const std::string text = "a text of more than thirty-two bytes, for the copy function";
    char result[101] = {};
    EXPECT_EQ(passTextThroughARing(text.c_str(), result), static_cast<int>(text.size()));
    EXPECT_EQ(std::string(result), text);
}
