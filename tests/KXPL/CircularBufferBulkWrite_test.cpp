// The path of cb_write that uses the copy function.
#include "CircularBuffer.h"

#include "Ring.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

namespace {

using Copies = std::vector<Copied>;

// A text whose bytes differ from their neighbours.
std::string text(std::size_t size)
{
    std::string result;
    for (std::size_t i = 0; i < size; ++i) {
        result += static_cast<char>('!' + i % 90);
    }
    return result;
}

Ring* gWatchedRing;
std::vector<unsigned int> gWritePositions;

void* watchingCopy(void* destination, const void* source, unsigned long size)
{
    gWritePositions.push_back((*gWatchedRing)->write_offset);
    return std::memcpy(destination, source, size);
}

void* drainingCopy(void* destination, const void* source, unsigned long size)
{
    gWatchedRing->read(20);
    return std::memcpy(destination, source, size);
}

} // namespace

TEST(CircularBufferBulkWrite, OfferTooLargeForAnEmptyRingAtTheFirstSlotIsCutSilently)
{
    Ring ring(1, 40, CCircularBuffer::CopyFunc);
    EXPECT_EQ(ring.write(text(41)), (Outcome { 0, 40, "" }));
    EXPECT_EQ(ring->first_error, 0);
    EXPECT_EQ(ring.read(50), (Outcome { 0, 40, text(40) }));
}

TEST(CircularBufferBulkWrite, OfferTooLargeBehindStoredDataAtTheFirstSlotIsCutSilently)
{
    Ring ring(1, 60, CCircularBuffer::CopyFunc);
    ring.write(text(10));
    EXPECT_EQ(ring.write(text(200)), (Outcome { 0, 50, "" }));
    EXPECT_EQ(cb_is_full(ring.control()), 1);
}

TEST(CircularBufferBulkWrite, SilentCutReturnsAnEarlierErrorUnchanged)
{
    Ring ring(1, 40, CCircularBuffer::CopyFunc);
    ring.write("A");
    ring.peek(2, 1);
    EXPECT_EQ(ring.write(text(41)), (Outcome { 3, 39, "" }));
}

TEST(CircularBufferBulkWrite, SameOfferOfThirtyTwoBytesRecordsOverflow)
{
    Ring ring(1, 31, CCircularBuffer::CopyFunc);
    EXPECT_EQ(ring.write(text(32)), (Outcome { 2, 31, "" }));
}

TEST(CircularBufferBulkWrite, SameOfferWithoutACopyFunctionRecordsOverflow)
{
    Ring ring(1, 40);
    EXPECT_EQ(ring.write(text(41)), (Outcome { 2, 40, "" }));
}

TEST(CircularBufferBulkWrite, CutBehindTheReaderRecordsOverflow)
{
    Ring ring(1, 40, CCircularBuffer::CopyFunc);
    ring.advance(5);
    EXPECT_EQ(ring.write(text(41)), (Outcome { 2, 40, "" }));
    EXPECT_EQ(ring.read(50), (Outcome { 2, 40, text(40) }));
}

TEST(CircularBufferBulkWrite, CutBehindTheReaderRecordsNothingWhenSuppressed)
{
    Ring ring(1, 40, CCircularBuffer::CopyFunc);
    cb_set_flags(ring.control(), CB_FLAG_NO_OVERFLOW_ERROR);
    ring.advance(5);
    EXPECT_EQ(ring.write(text(41)), (Outcome { 0, 40, "" }));
}

TEST(CircularBufferBulkWrite, OfferThatFitsIsOnePiece)
{
    CopySpy spy;
    Ring ring(1, 50, CopySpy::copy);
    EXPECT_EQ(spy.write(ring, text(50)), (Copies { { 0, 0, 50 } }));
}

TEST(CircularBufferBulkWrite, OfferPastTheEndIsTwoPieces)
{
    CopySpy spy;
    Ring ring(1, 50, CopySpy::copy);
    ring.advance(41);
    EXPECT_EQ(spy.write(ring, text(40)), (Copies { { 41, 0, 10 }, { 0, 10, 30 } }));
    EXPECT_EQ(ring.read(50).data, text(40));
}

TEST(CircularBufferBulkWrite, OfferUpToTheLastSlotIsOnePieceAndGoesBackToTheFirst)
{
    CopySpy spy;
    Ring ring(1, 50, CopySpy::copy);
    ring.advance(11);
    EXPECT_EQ(spy.write(ring, text(40)), (Copies { { 11, 0, 40 } }));
    EXPECT_EQ(ring.writeSlot(), 0);
}

TEST(CircularBufferBulkWrite, WriterBehindTheReaderNeedsOnePiece)
{
    CopySpy spy;
    Ring ring(1, 50, CopySpy::copy);
    ring.advance(45);
    ring.write("0123456789");
    EXPECT_EQ(ring.writeSlot(), 4);
    EXPECT_EQ(spy.write(ring, text(35)), (Copies { { 4, 0, 35 } }));
}

TEST(CircularBufferBulkWrite, WriterBehindTheReaderStopsOneSlotBeforeIt)
{
    CopySpy spy;
    Ring ring(1, 50, CopySpy::copy);
    ring.advance(45);
    ring.write("0123456789");
    EXPECT_EQ(spy.write(ring, text(60)), (Copies { { 4, 0, 40 } }));
    EXPECT_EQ(ring.writeSlot(), 44);
    EXPECT_EQ(ring->last_error, 2);
}

TEST(CircularBufferBulkWrite, SecondPieceMayBeEmpty)
{
    CopySpy spy;
    Ring ring(1, 50, CopySpy::copy);
    ring.advance(1);
    EXPECT_EQ(spy.write(ring, text(51)), (Copies { { 1, 0, 50 }, { 0, 50, 0 } }));
    EXPECT_EQ(ring->last_error, 2);
}

TEST(CircularBufferBulkWrite, LastSlotStaysFreeWhileTheReaderStandsAtTheFirst)
{
    CopySpy spy;
    Ring ring(1, 50, CopySpy::copy);
    ring.write(text(10));
    EXPECT_EQ(spy.write(ring, text(60)), (Copies { { 10, 0, 40 } }));
    EXPECT_EQ(ring->write_offset, ring->end_offset);
}

TEST(CircularBufferBulkWrite, PiecesAreWholeElements)
{
    CopySpy spy;
    Ring ring(12, 5, CopySpy::copy);
    ring.advance(4);
    EXPECT_EQ(spy.write(ring, text(60)), (Copies { { 4, 0, 24 }, { 0, 24, 36 } }));
    EXPECT_EQ(ring.read(5).data, text(60));
}

TEST(CircularBufferBulkWrite, CountTellsElementsNotBytes)
{
    Ring ring(12, 5, CCircularBuffer::CopyFunc);
    ring.advance(3);
    EXPECT_EQ(ring.write(text(72)), (Outcome { 2, 5, "" }));
}

TEST(CircularBufferBulkWrite, PositionIsPublishedOnceAfterAllPieces)
{
    Ring ring(1, 50, watchingCopy);
    gWatchedRing = &ring;
    gWritePositions.clear();
    ring.advance(41);
    const unsigned int before = ring->write_offset;
    ring.write(text(40));
    EXPECT_EQ(gWritePositions, (std::vector<unsigned int> { before, before }));
    EXPECT_EQ(ring.writeSlot(), 30);
}

// Room that a reader makes while the pieces are copied counts for the next call only.
TEST(CircularBufferBulkWrite, LooksAtTheReaderOnlyOnce)
{
    Ring ring(1, 50, CCircularBuffer::CopyFunc);
    ring.advance(10);
    ring.write(text(20));
    gWatchedRing = &ring;
    cb_set_copy_func(ring.control(), drainingCopy);
    EXPECT_EQ(ring.write(text(40)), (Outcome { 2, 30, "" }));
    EXPECT_EQ(ring.readSlot(), 30);
}
