// Discarding. Offsets are compared as plain numbers, so the result is exact only for data in one piece.
#include "CircularBuffer.h"

#include "Ring.h"

#include <gtest/gtest.h>

#include <climits>
#include <string>

TEST(CircularBufferRemove, DiscardsTheOldestElements)
{
    Ring ring(2, 8);
    ring.write("aabbccdd");
    EXPECT_EQ(ring.remove(3), (Outcome { 0, 3, "" }));
    EXPECT_EQ(ring.read(8), (Outcome { 0, 1, "dd" }));
}

TEST(CircularBufferRemove, EmptyRingSetsTheCountToZero)
{
    Ring ring(1, 8);
    EXPECT_EQ(ring.remove(3), (Outcome { 0, 0, "" }));
    EXPECT_EQ(ring.remove(-3), (Outcome { 0, 0, "" }));
}

TEST(CircularBufferRemove, MoreThanIsStoredEmptiesTheRingAndKeepsTheCount)
{
    Ring ring(1, 8);
    ring.write("ABC");
    EXPECT_EQ(ring.remove(5), (Outcome { 0, 5, "" }));
    EXPECT_EQ(ring.used(), 0u);
    EXPECT_EQ(ring.readSlot(), 3);
}

TEST(CircularBufferRemove, NegativeCountDiscardsNothing)
{
    for (const int count : { -1, -3, -1000, INT_MIN }) {
        Ring ring(1, 8);
        ring.advance(2);
        ring.write("ABC");
        EXPECT_EQ(ring.remove(count), (Outcome { 0, count, "" }));
        EXPECT_EQ(ring.peek(0, 8), (Outcome { 0, 3, "ABC" })) << count;
    }
}

TEST(CircularBufferRemove, NegativeCountDiscardsNothingOfDataAcrossTheEnd)
{
    Ring ring(1, 8);
    ring.advance(7);
    ring.write("ABCD");
    EXPECT_EQ(ring.remove(-2), (Outcome { 0, -2, "" }));
    EXPECT_EQ(ring.used(), 4u);
}

TEST(CircularBufferRemove, UpToTheLastSlotDoesNotWrap)
{
    Ring ring(1, 8);
    ring.advance(4);
    ring.write("ABCD");
    EXPECT_EQ(ring.remove(4), (Outcome { 0, 4, "" }));
    EXPECT_EQ(ring.readSlot(), 8);
    EXPECT_EQ(ring.used(), 0u);
}

TEST(CircularBufferRemove, WrappingRemovalDiscardsOneMoreThanAsked)
{
    Ring ring(1, 8);
    ring.advance(6);
    ring.write("ABCDEFGH");
    EXPECT_EQ(ring.remove(4), (Outcome { 0, 4, "" }));
    EXPECT_EQ(ring.read(8), (Outcome { 0, 3, "FGH" }));
}

TEST(CircularBufferRemove, RemovalToTheFirstSlotEndsAtTheSecond)
{
    Ring ring(3, 4);
    ring.advance(4);
    ring.write("aaabbbccc");
    ring.remove(1);
    EXPECT_EQ(ring.readSlot(), 1);
    EXPECT_EQ(ring.read(8), (Outcome { 0, 1, "ccc" }));
}

TEST(CircularBufferRemove, WrappingRemovalOfEverythingStopsAtTheWritePosition)
{
    Ring ring(1, 8);
    ring.advance(6);
    ring.write("ABCDE");
    EXPECT_EQ(ring.remove(5), (Outcome { 0, 5, "" }));
    EXPECT_EQ(ring.readSlot(), 2);
    EXPECT_EQ(ring.used(), 0u);
}

TEST(CircularBufferRemove, RemovalThatDoesNotWrapEmptiesARingWhoseDataDo)
{
    Ring ring(1, 8);
    ring.advance(4);
    ring.write("ABCDEFGH");
    EXPECT_EQ(ring.remove(1), (Outcome { 0, 1, "" }));
    EXPECT_EQ(ring.used(), 0u);
    EXPECT_EQ(ring.readSlot(), 3);
}

TEST(CircularBufferRemove, RemovingNoneEmptiesARingWhoseDataWrap)
{
    Ring straight(1, 8);
    straight.write("ABC");
    EXPECT_EQ(straight.remove(0), (Outcome { 0, 0, "" }));
    EXPECT_EQ(straight.used(), 3u);
    Ring wrapped(1, 8);
    wrapped.advance(7);
    wrapped.write("ABC");
    EXPECT_EQ(wrapped.remove(0), (Outcome { 0, 0, "" }));
    EXPECT_EQ(wrapped.used(), 0u);
}

// The data do not reach the end but the removal does: what it wraps to lies before the read position.
TEST(CircularBufferRemove, TooLargeRemovalStepsBehindTheReadPosition)
{
    Ring ring(1, 8);
    ring.write("abcdef");
    ring.read(6);
    ring.write("GH");
    EXPECT_EQ(ring.remove(3), (Outcome { 0, 3, "" }));
    EXPECT_EQ(ring.readSlot(), 1);
    EXPECT_EQ(ring.read(8), (Outcome { 0, 7, "bcdefGH" }));
}

TEST(CircularBufferRemove, HugeRemovalStopsAtTheWritePosition)
{
    Ring bytes(1, 8);
    bytes.advance(5);
    bytes.write("ABCDEF");
    EXPECT_EQ(bytes.remove(INT_MAX), (Outcome { 0, INT_MAX, "" }));
    EXPECT_EQ(bytes.readSlot(), 2);
    // In 32 bits this would be a removal of 16 bytes.
    Ring elements(48, 8);
    elements.write(std::string(48 * 5, 'x'));
    EXPECT_EQ(elements.remove(89478486), (Outcome { 0, 89478486, "" }));
    EXPECT_EQ(elements.used(), 0u);
}
