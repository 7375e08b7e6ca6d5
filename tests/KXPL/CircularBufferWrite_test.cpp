// What both paths of cb_write share, and the element path.
#include "CircularBuffer.h"

#include "Ring.h"

#include <gtest/gtest.h>

#include <climits>
#include <string>

namespace {

constexpr unsigned int kPage = 0x10000;

} // namespace

TEST(CircularBufferWrite, TakesExactlyItsCapacityAtTheFirstSlot)
{
    Ring ring(1, 5);
    EXPECT_EQ(ring.write("ABCDE"), (Outcome { 0, 5, "" }));
    EXPECT_EQ(ring.write("F"), (Outcome { 2, 0, "" }));
    EXPECT_EQ(ring.read(9), (Outcome { 2, 5, "ABCDE" }));
}

TEST(CircularBufferWrite, TakesExactlyItsCapacityAtEveryOtherSlot)
{
    for (int slot = 1; slot <= 5; ++slot) {
        Ring ring(1, 5);
        ring.advance(slot);
        EXPECT_EQ(ring.write("ABCDE"), (Outcome { 0, 5, "" })) << slot;
        EXPECT_EQ(ring.write("F"), (Outcome { 2, 0, "" })) << slot;
        EXPECT_EQ(ring.read(9), (Outcome { 2, 5, "ABCDE" })) << slot;
    }
}

TEST(CircularBufferWrite, WhatDoesNotFitIsDroppedFromTheEndOfTheOffer)
{
    Ring ring(2, 4);
    ring.write("aabb");
    EXPECT_EQ(ring.write("ccddeeff"), (Outcome { 2, 2, "" }));
    EXPECT_EQ(ring.read(9), (Outcome { 2, 4, "aabbccdd" }));
}

TEST(CircularBufferWrite, ElementOfTheRingsOwnSizeIsStoredWhole)
{
    Ring ring(5, 2);
    ring.write("helloworld");
    EXPECT_EQ(ring.bytesAt(ring->start_offset, 10), "helloworld");
}

TEST(CircularBufferWrite, FullRingStoresNothingAndRecordsOverflow)
{
    Ring ring(1, 3);
    ring.write("ABC");
    EXPECT_EQ(ring.write("D"), (Outcome { 2, 0, "" }));
    EXPECT_EQ(ring->first_error, 2);
    EXPECT_EQ(ring.read(3).data, "ABC");
}

TEST(CircularBufferWrite, FullRingRecordsOverflowOnTheBulkPathToo)
{
    Ring ring(1, 3, CCircularBuffer::CopyFunc);
    ring.write("ABC");
    EXPECT_EQ(ring.write(std::string(40, 'x')), (Outcome { 2, 0, "" }));
    EXPECT_EQ(ring.read(3).data, "ABC");
}

TEST(CircularBufferWrite, FullRingRecordsOverflowWhenOfferedNothing)
{
    Ring ring(1, 3);
    ring.write("ABC");
    EXPECT_EQ(ring.write("", 0), (Outcome { 2, 0, "" }));
}

TEST(CircularBufferWrite, FullRingRecordsOverflowForANegativeCount)
{
    Ring ring(1, 3);
    ring.write("ABC");
    EXPECT_EQ(ring.write("", -1), (Outcome { 2, 0, "" }));
}

TEST(CircularBufferWrite, OfferOfNothingStoresNothing)
{
    Ring ring(1, 3, CCircularBuffer::CopyFunc);
    EXPECT_EQ(ring.write("", 0), (Outcome { 0, 0, "" }));
    EXPECT_EQ(ring.used(), 0u);
}

TEST(CircularBufferWrite, NegativeCountStoresNothing)
{
    for (const int count : { -1, -2, -33, -1000000, INT_MIN }) {
        Ring plain(1, 100);
        EXPECT_EQ(plain.write("", count), (Outcome { 0, 0, "" })) << count;
        EXPECT_EQ(plain.used(), 0u) << count;
        Ring copying(1, 100, CCircularBuffer::CopyFunc);
        EXPECT_EQ(copying.write("", count), (Outcome { 0, 0, "" })) << count;
        EXPECT_EQ(copying.used(), 0u) << count;
    }
}

TEST(CircularBufferWrite, PositionPastTheLastSlotGoesBackToTheFirst)
{
    Ring ring(4, 3);
    ring.advance(3);
    EXPECT_EQ(ring.writeSlot(), 3);
    ring.write("aaaa");
    EXPECT_EQ(ring.writeSlot(), 0);
    EXPECT_EQ(ring->write_offset, ring->start_offset);
}

TEST(CircularBufferWrite, NothingOutsideTheSlotsIsTouched)
{
    Ring ring(1, 8);
    ring.advance(6);
    const std::string before = ring.bytesAt(ring->start_offset, 9);
    ring.write("ABCD");
    std::string expected = before;
    expected.replace(6, 3, "ABC").replace(0, 1, "D");
    EXPECT_EQ(ring.bytesAt(ring->start_offset, 9), expected);
}

TEST(CircularBufferWrite, ElementPathRecordsOverflowWhenTheOfferDoesNotFit)
{
    Ring ring(1, 50);
    EXPECT_EQ(ring.write(std::string(51, 'x')), (Outcome { 2, 50, "" }));
}

TEST(CircularBufferWrite, ThirtyTwoBytesTakeTheElementPath)
{
    CopySpy spy;
    Ring bytes(1, 100, CopySpy::copy);
    EXPECT_TRUE(spy.write(bytes, std::string(32, 'x')).empty());
    EXPECT_EQ(bytes.used(), 32u);
    Ring elements(16, 100, CopySpy::copy);
    EXPECT_TRUE(spy.write(elements, std::string(32, 'x')).empty());
    EXPECT_EQ(elements.used(), 2u);
}

TEST(CircularBufferWrite, ThirtyThreeBytesTakeTheCopyFunction)
{
    CopySpy spy;
    Ring bytes(1, 100, CopySpy::copy);
    EXPECT_EQ(spy.write(bytes, std::string(33, 'x')), (std::vector<Copied> { { 0, 0, 33 } }));
    Ring element(33, 100, CopySpy::copy);
    EXPECT_EQ(spy.write(element, std::string(33, 'x')), (std::vector<Copied> { { 0, 0, 33 } }));
}

TEST(CircularBufferWrite, WhatIsOfferedDecidesThePathNotWhatFits)
{
    CopySpy spy;
    Ring ring(1, 10, CopySpy::copy);
    EXPECT_EQ(spy.write(ring, std::string(40, 'x')), (std::vector<Copied> { { 0, 0, 10 } }));
}

TEST(CircularBufferWrite, LargeOfferWithoutACopyFunctionTakesTheElementPath)
{
    Ring ring(16, 20);
    const std::string text = std::string(16, 'a') + std::string(16, 'b') + std::string(16, 'c');
    EXPECT_EQ(ring.write(text), (Outcome { 0, 3, "" }));
    EXPECT_EQ(ring.read(3).data, text);
}

// 65,536 elements of 65,536 bytes come to 0 bytes in 32 bits.
TEST(CircularBufferWrite, OfferWhoseBytesWrapToLittleTakesTheElementPath)
{
    CopySpy spy;
    Ring ring(kPage, 3, CopySpy::copy);
    const std::string text = std::string(kPage, 'a') + std::string(kPage, 'b') + std::string(kPage, 'c');
    EXPECT_EQ(ring.write(text, 0x10000), (Outcome { 2, 3, "" }));
    EXPECT_EQ(CopySpy::calls(), 0u);
    EXPECT_EQ(ring.read(3).data, text);
}

TEST(CircularBufferWrite, OfferWhoseBytesWrapToMoreIsCutByTheBulkPath)
{
    Ring ring(kPage, 3, CCircularBuffer::CopyFunc);
    const std::string text(kPage, 'a');
    EXPECT_EQ(ring.write(text, 0x10001), (Outcome { 0, 1, "" }));
    EXPECT_EQ(ring.read(3).data, text);
}

// 89,478,487 elements of 48 bytes come to 80 bytes in 32 bits.
TEST(CircularBufferWrite, WrappedOfferStoresWholeElementsOnly)
{
    Ring ring(48, 3, CCircularBuffer::CopyFunc);
    const std::string text(80, 'a');
    EXPECT_EQ(ring.write(text, 89478487), (Outcome { 0, 1, "" }));
    EXPECT_EQ(ring->write_offset, ring->start_offset + 48);
    EXPECT_EQ(ring.read(3).data, text.substr(0, 48));
}
