// Reads from an index whose position passes the end of the ring: the position is reflected at the end, not
// taken modulo the ring, so the read begins inside the control block.
#include "CircularBuffer.h"

#include "Ring.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstring>
#include <string>

namespace {

constexpr unsigned int kHeader = sizeof(void*) == 8 ? 64 : 48;

// Slots 6, 7, 8, 0, 1, 2 of nine hold "ABCDEF".
void fillAcrossTheEnd(Ring& ring)
{
    ring.advance(6);
    ring.write("ABCDEF");
}

} // namespace

TEST(CircularBufferReflectedRead, LastSlotIsNotReflected)
{
    Ring ring(1, 8);
    fillAcrossTheEnd(ring);
    EXPECT_EQ(ring.peek(2, 4), (Outcome { 0, 4, "CDEF" }));
}

TEST(CircularBufferReflectedRead, BeginsOneByteBeforeTheFirstSlotForOneByteTooMany)
{
    Ring ring(1, 8);
    fillAcrossTheEnd(ring);
    const std::string headerEnd = ring.bytesAt(kHeader - 1, 1);
    EXPECT_EQ(ring.peek(3, 1), (Outcome { 0, 1, headerEnd }));
}

TEST(CircularBufferReflectedRead, FurtherIndexBeginsFurtherBefore)
{
    Ring ring(1, 8);
    fillAcrossTheEnd(ring);
    const std::string headerEnd = ring.bytesAt(kHeader - 3, 3);
    EXPECT_EQ(ring.peek(5, 3), (Outcome { 0, 3, headerEnd }));
}

TEST(CircularBufferReflectedRead, RunsOnIntoTheDataUpToTheWritePosition)
{
    Ring ring(1, 8);
    fillAcrossTheEnd(ring);
    const std::string headerEnd = ring.bytesAt(kHeader - 2, 2);
    EXPECT_EQ(ring.peek(4, 100), (Outcome { 0, 5, headerEnd + "DEF" }));
}

TEST(CircularBufferReflectedRead, GivesTheControlBlocksOwnFields)
{
    Ring ring(4, 20);
    ring.advance(19);
    ring.write(std::string(4 * 18, 'x'));
    const unsigned int slotsBack = (kHeader - offsetof(cb_control, read_offset)) / 4;
    const Outcome outcome = ring.peek(1 + slotsBack, 2);
    EXPECT_EQ(outcome.count, 2);
    unsigned int positions[2];
    ASSERT_EQ(outcome.data.size(), sizeof positions);
    std::memcpy(positions, outcome.data.data(), sizeof positions);
    EXPECT_EQ(positions[0], ring->read_offset);
    EXPECT_EQ(positions[1], ring->write_offset);
}

TEST(CircularBufferReflectedRead, ConsumingMovesTheReadPositionIntoTheHeader)
{
    Ring ring(1, 8);
    fillAcrossTheEnd(ring);
    const std::string headerEnd = ring.bytesAt(kHeader - 3, 3);
    EXPECT_EQ(ring.readEx(5, 1, CB_READ_CONSUME), (Outcome { 0, 1, headerEnd.substr(0, 1) }));
    EXPECT_EQ(ring->read_offset, kHeader - 2);
    EXPECT_EQ(ring.read(100), (Outcome { 0, 5, headerEnd.substr(1) + "DEF" }));
    EXPECT_EQ(ring.used(), 0u);
}

TEST(CircularBufferReflectedRead, ConsumingEverythingEmptiesTheRing)
{
    Ring ring(1, 8);
    fillAcrossTheEnd(ring);
    EXPECT_EQ(ring.readEx(4, 100, CB_READ_CONSUME).count, 5);
    EXPECT_EQ(ring.readSlot(), ring.writeSlot());
}

TEST(CircularBufferReflectedRead, IndexAtTheEndOfTheDataIsReflectedToo)
{
    Ring ring(1, 8);
    fillAcrossTheEnd(ring);
    const std::string headerEnd = ring.bytesAt(kHeader - 4, 4);
    EXPECT_EQ(ring.peek(6, 100), (Outcome { 0, 7, headerEnd + "DEF" }));
}

TEST(CircularBufferReflectedRead, MayBeginAtTheBlocksFirstByte)
{
    Ring ring(1, 200);
    ring.advance(200);
    ring.write(std::string(150, 'x'));
    const std::string block = ring.bytesAt(0, kHeader);
    EXPECT_EQ(ring.peek(kHeader, static_cast<int>(kHeader)), (Outcome { 0, static_cast<int>(kHeader), block }));
}

TEST(CircularBufferReflectedRead, StartBeforeTheBlockCountsAsBeyondTheData)
{
    Ring ring(1, 200);
    ring.advance(200);
    ring.write(std::string(150, 'x'));
    char room[2] = { 'x', 'x' };
    int count = 2;
    EXPECT_EQ(cb_read_ex(ring.control(), kHeader + 1, room, &count, CB_READ_CONSUME), 3u);
    EXPECT_EQ(count, 2);
    EXPECT_EQ(std::string(room, 2), "xx");
    EXPECT_EQ(ring->first_error, 3);
    EXPECT_EQ(ring->last_error, 3);
    EXPECT_EQ(ring.readSlot(), 200);
    EXPECT_EQ(ring.used(), 150u);
}

TEST(CircularBufferReflectedRead, LargeElementsReachBeforeTheBlockAtOnce)
{
    Ring ring(kHeader + 1, 3);
    ring.advance(3);
    ring.write(std::string(3 * (kHeader + 1), 'x'));
    EXPECT_EQ(ring.peek(1, 1).code, 3u);
    Ring exact(kHeader, 3);
    exact.advance(3);
    exact.write(std::string(3 * kHeader, 'x'));
    const std::string block = exact.bytesAt(0, kHeader);
    EXPECT_EQ(exact.peek(1, 1), (Outcome { 0, 1, block }));
}
