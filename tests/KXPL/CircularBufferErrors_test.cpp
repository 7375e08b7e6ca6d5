// Flags, sticky errors, fill level, and what every function answers without a control block.
#include "CircularBuffer.h"

#include "Ring.h"

#include <gtest/gtest.h>

TEST(CircularBufferFlags, SettingAddsBits)
{
    Ring ring(1, 4);
    EXPECT_EQ(cb_set_flags(ring.control(), 0x82), 0u);
    EXPECT_EQ(cb_set_flags(ring.control(), 0x10), 0u);
    EXPECT_EQ(cb_get_flags(ring.control()), 0x92u);
}

TEST(CircularBufferFlags, ClearingTakesBitsAway)
{
    Ring ring(1, 4);
    cb_set_flags(ring.control(), 0x93);
    EXPECT_EQ(cb_clear_flags(ring.control(), 0x12), 0u);
    EXPECT_EQ(cb_get_flags(ring.control()), 0x81u);
}

TEST(CircularBufferFlags, CopyFunctionMayBeTakenAway)
{
    Ring ring(1, 4);
    EXPECT_EQ(cb_set_copy_func(ring.control(), CCircularBuffer::CopyFunc), 0u);
    EXPECT_EQ(ring->copy_func, CCircularBuffer::CopyFunc);
    EXPECT_EQ(cb_set_copy_func(ring.control(), nullptr), 0u);
    EXPECT_EQ(ring->copy_func, nullptr);
}

TEST(CircularBufferErrors, SecondWriteStillReturnsTheEarlierError)
{
    Ring ring(1, 3);
    ring.write("ABCD");
    ring.read(3);
    EXPECT_EQ(ring.write("E"), (Outcome { 2, 1, "" }));
    EXPECT_EQ(cb_clear_errors(ring.control()), 2u);
    EXPECT_EQ(ring.write("F"), (Outcome { 0, 1, "" }));
}

TEST(CircularBufferErrors, EveryOperationReturnsTheStickyError)
{
    Ring ring(1, 3);
    ring.write("ABCD");
    EXPECT_EQ(ring.peek(0, 1), (Outcome { 2, 1, "A" }));
    EXPECT_EQ(ring.read(1), (Outcome { 2, 1, "A" }));
    EXPECT_EQ(ring.remove(1), (Outcome { 2, 1, "" }));
    EXPECT_EQ(ring.read(1), (Outcome { 2, 1, "C" }));
    EXPECT_EQ(ring.read(1), (Outcome { 2, 0, "" }));
    EXPECT_EQ(ring.remove(1), (Outcome { 2, 0, "" }));
    EXPECT_EQ(ring.write("", 0), (Outcome { 2, 0, "" }));
}

TEST(CircularBufferErrors, FirstErrorStaysAndLastErrorMoves)
{
    Ring ring(1, 3);
    ring.write("ABCD");
    EXPECT_EQ(ring.peek(4, 1).code, 3u);
    EXPECT_EQ(ring->first_error, 2);
    EXPECT_EQ(ring->last_error, 3);
    EXPECT_EQ(ring.read(1).code, 3u);
}

TEST(CircularBufferErrors, ClearReturnsTheFirstErrorAndForgetsBoth)
{
    Ring ring(1, 3);
    ring.write("ABC");
    ring.peek(4, 1);
    ring.write("D");
    EXPECT_EQ(ring->last_error, 2);
    EXPECT_EQ(cb_clear_errors(ring.control()), 3u);
    EXPECT_EQ(ring->first_error, 0);
    EXPECT_EQ(ring->last_error, 0);
    EXPECT_EQ(cb_clear_errors(ring.control()), 0u);
}

TEST(CircularBufferErrors, SuppressedOverflowRecordsNothing)
{
    Ring ring(1, 3);
    cb_set_flags(ring.control(), CB_FLAG_NO_OVERFLOW_ERROR);
    EXPECT_EQ(ring.write("ABCD"), (Outcome { 0, 3, "" }));
    EXPECT_EQ(ring.write("E"), (Outcome { 0, 0, "" }));
    EXPECT_EQ(ring->first_error, 0);
}

TEST(CircularBufferErrors, SuppressedOverflowStillReturnsAnEarlierError)
{
    Ring ring(1, 3);
    ring.write("ABC");
    ring.peek(4, 1);
    cb_set_flags(ring.control(), CB_FLAG_NO_OVERFLOW_ERROR);
    EXPECT_EQ(ring.write("D"), (Outcome { 3, 0, "" }));
}

TEST(CircularBufferErrors, SuppressionDoesNotTouchOtherErrors)
{
    Ring ring(1, 3);
    cb_set_flags(ring.control(), CB_FLAG_NO_OVERFLOW_ERROR);
    ring.write("A");
    EXPECT_EQ(ring.peek(2, 1).code, 3u);
    EXPECT_EQ(ring->first_error, 3);
}

TEST(CircularBufferErrors, RecordedErrorsSurviveChangesOfFlags)
{
    Ring ring(1, 3);
    ring.write("ABCD");
    cb_set_flags(ring.control(), CB_FLAG_NO_OVERFLOW_ERROR);
    cb_clear_flags(ring.control(), CB_FLAG_NO_OVERFLOW_ERROR);
    EXPECT_EQ(ring->first_error, 2);
    EXPECT_EQ(ring->last_error, 2);
}

TEST(CircularBufferLevel, IsFullWithTheReaderAtTheFirstSlot)
{
    Ring ring(2, 3);
    ring.write("aabb");
    EXPECT_EQ(cb_is_full(ring.control()), 0);
    ring.write("cc");
    EXPECT_EQ(cb_is_full(ring.control()), 1);
    EXPECT_EQ(ring->write_offset, ring->end_offset);
}

TEST(CircularBufferLevel, IsFullWithTheWriterRightBehindTheReader)
{
    Ring ring(2, 3);
    ring.advance(2);
    ring.write("aabb");
    EXPECT_EQ(cb_is_full(ring.control()), 0);
    ring.write("cc");
    EXPECT_EQ(cb_is_full(ring.control()), 1);
    EXPECT_EQ(ring->write_offset, ring->read_offset - 2);
}

TEST(CircularBufferLevel, CountsStoredElementsAtEveryPosition)
{
    for (int slot = 0; slot < 9; ++slot) {
        Ring ring(3, 8);
        ring.advance(slot);
        for (unsigned int stored = 0; stored <= 8; ++stored) {
            EXPECT_EQ(ring.used(), stored) << "read position at slot " << slot;
            ring.write("xyz");
        }
    }
}

TEST(CircularBufferNull, EveryFunctionAnswersFour)
{
    char room[4] = {};
    int count = 2;
    EXPECT_EQ(cb_initialize_with_buffer(nullptr, 1, 4), 4u);
    EXPECT_EQ(cb_destroy(nullptr), 4u);
    EXPECT_EQ(cb_set_copy_func(nullptr, CCircularBuffer::CopyFunc), 4u);
    EXPECT_EQ(cb_set_flags(nullptr, 1), 4u);
    EXPECT_EQ(cb_clear_flags(nullptr, 1), 4u);
    EXPECT_EQ(cb_get_flags(nullptr), 4u);
    EXPECT_EQ(cb_clear_errors(nullptr), 4u);
    EXPECT_EQ(cb_get_num_elem_used(nullptr), 4u);
    EXPECT_EQ(cb_write(nullptr, room, &count), 4u);
    EXPECT_EQ(cb_read_ex(nullptr, 1, room, &count, CB_READ_CONSUME), 4u);
    EXPECT_EQ(cb_read(nullptr, room, &count), 4u);
    EXPECT_EQ(cb_peek(nullptr, 0, room, &count), 4u);
    EXPECT_EQ(cb_remove(nullptr, &count), 4u);
    EXPECT_EQ(count, 2);
}

TEST(CircularBufferNull, IsNeverFull)
{
    EXPECT_EQ(cb_is_full(nullptr), 0);
}

TEST(CircularBufferNull, FourMayAlsoBeARealValue)
{
    Ring ring(1, 5);
    ring.write("ABCD");
    cb_set_flags(ring.control(), 4);
    EXPECT_EQ(cb_get_flags(ring.control()), 4u);
    EXPECT_EQ(ring.used(), 4u);
}
