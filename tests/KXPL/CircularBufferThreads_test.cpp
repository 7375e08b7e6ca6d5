// One writer and one reader at the same time, without a lock.
#include "CircularBuffer.h"

#include "Ring.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <random>
#include <thread>
#include <vector>

namespace {

constexpr std::uint32_t kStreamBytes = 2000000;
constexpr std::uint32_t kStreamElements = 200000;
constexpr int kLargestChunk = 90; // both sides of the copy function's 32 bytes

unsigned char streamByte(std::uint32_t number)
{
    return static_cast<unsigned char>((number * 2654435761u) >> 11);
}

struct Element {
    std::uint32_t mNumber;
    std::uint32_t mCheck;
    std::uint32_t mPad;
};

Element streamElement(std::uint32_t number)
{
    return { number, ~number, number * 3 };
}

// Writes the whole stream in chunks of random size.
template <typename Unit, typename Make> void writeStream(cb_control* ring, std::uint32_t total, Make make)
{
    std::mt19937 random(1);
    std::vector<Unit> chunk;
    std::uint32_t written = 0;
    while (written < total) {
        chunk.clear();
        const std::uint32_t size =
            std::min(1 + static_cast<std::uint32_t>(random() % kLargestChunk), total - written);
        for (std::uint32_t i = 0; i < size; ++i) {
            chunk.push_back(make(written + i));
        }
        int count = static_cast<int>(size);
        cb_write(ring, chunk.data(), &count);
        written += static_cast<std::uint32_t>(count);
        if (count == 0) {
            std::this_thread::yield();
        }
    }
}

// Reads as many units as the stream has, in chunks of random size. Returns how many of them are not those that
// were written in their place.
template <typename Unit, typename Make>
std::uint32_t readStream(cb_control* ring, std::uint32_t total, Make make)
{
    std::mt19937 random(2);
    std::vector<Unit> chunk(kLargestChunk);
    std::uint32_t read = 0;
    std::uint32_t wrong = 0;
    while (read < total) {
        int count = 1 + static_cast<int>(random() % kLargestChunk);
        cb_read(ring, chunk.data(), &count);
        for (int i = 0; i < count; ++i, ++read) {
            const Unit expected = make(read);
            wrong += std::memcmp(&chunk[static_cast<std::size_t>(i)], &expected, sizeof expected) != 0;
        }
        if (count == 0) {
            std::this_thread::yield();
        }
    }
    return wrong;
}

} // namespace

TEST(CircularBufferThreads, ByteStreamArrivesInOrderThroughBothPaths)
{
    Ring ring(1, 256, CCircularBuffer::CopyFunc);
    std::thread writer([&] { writeStream<unsigned char>(ring.control(), kStreamBytes, streamByte); });
    EXPECT_EQ(readStream<unsigned char>(ring.control(), kStreamBytes, streamByte), 0u);
    writer.join();
}

TEST(CircularBufferThreads, LargeElementsArriveWholeThroughTheElementPath)
{
    Ring ring(sizeof(Element), 50);
    std::thread writer([&] { writeStream<Element>(ring.control(), kStreamElements, streamElement); });
    EXPECT_EQ(readStream<Element>(ring.control(), kStreamElements, streamElement), 0u);
    writer.join();
}

TEST(CircularBufferThreads, BothSidesMayRecordErrors)
{
    Ring ring(1, 64);
    std::thread writer([&] { writeStream<unsigned char>(ring.control(), kStreamBytes / 10, streamByte); });
    std::uint32_t read = 0;
    unsigned char room[8];
    while (read < kStreamBytes / 10) {
        int count = 1;
        cb_peek(ring.control(), 65, room, &count);
        count = 8;
        cb_read(ring.control(), room, &count);
        read += static_cast<std::uint32_t>(count);
        if (count == 0) {
            std::this_thread::yield();
        }
    }
    writer.join();
    const unsigned int first = cb_clear_errors(ring.control());
    EXPECT_TRUE(first == CB_ERR_OVERFLOW || first == CB_ERR_NOT_ENOUGH_DATA) << first;
}

TEST(CircularBufferThreads, FillLevelThatTheReaderSeesCanBeRead)
{
    Ring ring(1, 100, CCircularBuffer::CopyFunc);
    std::thread writer([&] { writeStream<unsigned char>(ring.control(), kStreamBytes / 4, streamByte); });
    std::uint32_t read = 0;
    bool exact = true;
    std::vector<unsigned char> room(100);
    while (read < kStreamBytes / 4) {
        const int level = static_cast<int>(cb_get_num_elem_used(ring.control()));
        int count = level;
        cb_read(ring.control(), room.data(), &count);
        exact = exact && level <= 100 && count == level;
        read += static_cast<std::uint32_t>(count);
        if (count == 0) {
            std::this_thread::yield();
        }
    }
    writer.join();
    EXPECT_TRUE(exact);
}
