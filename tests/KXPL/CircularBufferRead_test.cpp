// Reading and peeking.
#include "CircularBuffer.h"

#include "Ring.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

TEST(CircularBufferRead, GivesElementsInTheOrderOfWriting)
{
    Ring ring(2, 6);
    ring.write("aabb");
    ring.write("cc");
    EXPECT_EQ(ring.read(2), (Outcome { 0, 2, "aabb" }));
    EXPECT_EQ(ring.read(2), (Outcome { 0, 1, "cc" }));
}

TEST(CircularBufferRead, GoesOnFromTheFirstSlotAfterTheLast)
{
    Ring ring(3, 4);
    ring.advance(3);
    ring.write("abcdefghijkl");
    EXPECT_EQ(ring.read(4), (Outcome { 0, 4, "abcdefghijkl" }));
    EXPECT_EQ(ring.readSlot(), 2);
}

TEST(CircularBufferRead, PositionPastTheLastSlotGoesBackToTheFirst)
{
    Ring ring(3, 4);
    ring.advance(4);
    ring.write("abc");
    ring.read(1);
    EXPECT_EQ(ring->read_offset, ring->start_offset);
}

TEST(CircularBufferRead, EmptyRingGivesNoneAndNoErrorOfItsOwn)
{
    Ring ring(1, 4);
    EXPECT_EQ(ring.read(3), (Outcome { 0, 0, "" }));
    EXPECT_EQ(ring->last_error, 0);
}

TEST(CircularBufferRead, EmptyRingDoesNotLookAtTheIndex)
{
    Ring ring(1, 4);
    EXPECT_EQ(ring.peek(5, 3), (Outcome { 0, 0, "" }));
    EXPECT_EQ(ring.readEx(0xFFFFFFFFu, 3, CB_READ_CONSUME), (Outcome { 0, 0, "" }));
    EXPECT_EQ(ring->first_error, 0);
}

TEST(CircularBufferRead, NothingIsWrittenBehindWhatWasCopied)
{
    Ring ring(1, 4);
    ring.write("AB");
    char room[4] = { 'x', 'x', 'x', 'x' };
    int count = 4;
    cb_read(ring.control(), room, &count);
    EXPECT_EQ(count, 2);
    EXPECT_EQ(std::string(room, 4), "ABxx");
}

TEST(CircularBufferRead, RoomForNoneCopiesNothing)
{
    Ring ring(1, 4);
    ring.write("AB");
    EXPECT_EQ(ring.read(0), (Outcome { 0, 0, "" }));
    EXPECT_EQ(ring.used(), 2u);
}

TEST(CircularBufferRead, NegativeRoomCopiesNothing)
{
    Ring ring(1, 4);
    ring.write("AB");
    EXPECT_EQ(ring.read(-1), (Outcome { 0, 0, "" }));
    EXPECT_EQ(ring.peek(1, -1000), (Outcome { 0, 0, "" }));
    EXPECT_EQ(ring.used(), 2u);
}

TEST(CircularBufferRead, NeverUsesTheCopyFunction)
{
    Ring ring(1, 100, CCircularBuffer::CopyFunc);
    ring.write(std::string(80, 'x'));
    CopySpy spy;
    cb_set_copy_func(ring.control(), CopySpy::copy);
    EXPECT_EQ(ring.peek(0, 80).count, 80);
    EXPECT_EQ(ring.read(80).count, 80);
    EXPECT_EQ(CopySpy::calls(), 0u);
}

TEST(CircularBufferRead, PeekLeavesEverythingInPlace)
{
    Ring ring(1, 8);
    ring.write("ABCDE");
    EXPECT_EQ(ring.peek(1, 3), (Outcome { 0, 3, "BCD" }));
    EXPECT_EQ(ring.peek(1, 3), (Outcome { 0, 3, "BCD" }));
    EXPECT_EQ(ring.used(), 5u);
}

TEST(CircularBufferRead, IndexBeyondTheDataRecordsAndReturnsThree)
{
    Ring ring(1, 8);
    ring.write("ABC");
    char room[5] = { 'x', 'x', 'x', 'x', 'x' };
    int count = 5;
    EXPECT_EQ(cb_peek(ring.control(), 5, room, &count), 3u);
    EXPECT_EQ(count, 5);
    EXPECT_EQ(std::string(room, 5), "xxxxx");
    EXPECT_EQ(ring->first_error, 3);
    EXPECT_EQ(ring->last_error, 3);
    EXPECT_EQ(ring.used(), 3u);
}

TEST(CircularBufferRead, IndexBeyondTheDataConsumesNothing)
{
    Ring ring(1, 8);
    ring.write("ABC");
    EXPECT_EQ(ring.readEx(4, 1, CB_READ_CONSUME).code, 3u);
    EXPECT_EQ(ring.readSlot(), 0);
}

TEST(CircularBufferRead, IndexAtTheEndOfTheDataCopiesNothingAndIsNoError)
{
    Ring ring(1, 8);
    ring.write("ABC");
    EXPECT_EQ(ring.peek(3, 5), (Outcome { 0, 0, "" }));
    EXPECT_EQ(ring->last_error, 0);
}

TEST(CircularBufferRead, IndexAtTheEndOfTheDataReturnsTheStickyError)
{
    Ring ring(1, 3);
    ring.write("ABCD");
    EXPECT_EQ(ring.peek(3, 5), (Outcome { 2, 0, "" }));
}

TEST(CircularBufferRead, ConsumingFromAnIndexSkipsWhatLiesBefore)
{
    Ring ring(1, 8);
    ring.write("ABCDE");
    EXPECT_EQ(ring.readEx(2, 2, CB_READ_CONSUME), (Outcome { 0, 2, "CD" }));
    EXPECT_EQ(ring.read(8), (Outcome { 0, 1, "E" }));
}

TEST(CircularBufferRead, ConsumingWithoutRoomStillSkips)
{
    Ring ring(1, 8);
    ring.write("ABCDE");
    EXPECT_EQ(ring.readEx(2, 0, CB_READ_CONSUME), (Outcome { 0, 0, "" }));
    EXPECT_EQ(ring.read(8), (Outcome { 0, 3, "CDE" }));
}

TEST(CircularBufferRead, ConsumingFromTheEndOfTheDataEmptiesTheRing)
{
    Ring ring(1, 8);
    ring.write("ABC");
    EXPECT_EQ(ring.readEx(3, 5, CB_READ_CONSUME), (Outcome { 0, 0, "" }));
    EXPECT_EQ(ring.used(), 0u);
}

TEST(CircularBufferRead, OnlyTheLowestOptionBitConsumes)
{
    Ring ring(1, 8);
    ring.write("ABC");
    EXPECT_EQ(ring.readEx(0, 1, ~CB_READ_CONSUME).data, "A");
    EXPECT_EQ(ring.readEx(0, 1, 3).data, "A");
    EXPECT_EQ(ring.readEx(0, 1, CB_READ_CONSUME).data, "B");
}

TEST(CircularBufferRead, PlainReadConsumesAndPlainPeekDoesNot)
{
    Ring ring(1, 8);
    ring.write("ABC");
    char byte = 0;
    int count = 1;
    EXPECT_EQ(cb_peek(ring.control(), 1, &byte, &count), 0u);
    EXPECT_EQ(byte, 'B');
    EXPECT_EQ(cb_read(ring.control(), &byte, &count), 0u);
    EXPECT_EQ(byte, 'A');
    EXPECT_EQ(ring.used(), 2u);
}
