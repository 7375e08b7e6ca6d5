// The cursor takes what cb_read would, and lets the ring know later.
#include "ring/CircularBufferCursor.h"

#include "Ring.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <random>
#include <thread>

using KXPL::RingCursor;

namespace {

std::string take(RingCursor& cursor, std::size_t size)
{
    std::string text(size, '?');
    cursor.Read(text.data(), size);
    return text;
}

std::string textAt(const unsigned char* run, std::size_t size)
{
    return std::string(reinterpret_cast<const char*>(run), size);
}

// Slots 6, 7, 8, 0, 1, 2 of nine hold "ABCDEF".
void fillAcrossTheEnd(Ring& ring)
{
    ring.advance(6);
    ring.write("ABCDEF");
}

unsigned char streamByte(std::uint32_t number)
{
    return static_cast<unsigned char>((number * 2654435761u) >> 11);
}

} // namespace

TEST(RingCursor, TakesBytesInTheirOrder)
{
    Ring ring(1, 8);
    ring.write("abcdef");
    RingCursor cursor(ring.control());
    EXPECT_EQ(take(cursor, 2), "ab");
    EXPECT_EQ(take(cursor, 4), "cdef");
}

TEST(RingCursor, TakesBytesAcrossTheEnd)
{
    Ring ring(1, 8);
    fillAcrossTheEnd(ring);
    RingCursor cursor(ring.control());
    EXPECT_EQ(take(cursor, 5), "ABCDE");
    EXPECT_EQ(take(cursor, 1), "F");
}

TEST(RingCursor, MissingBytesAreZeros)
{
    Ring ring(1, 8);
    ring.write("abc");
    RingCursor cursor(ring.control());
    EXPECT_EQ(take(cursor, 5), std::string("abc\0\0", 5));
    EXPECT_EQ(take(cursor, 2), std::string(2, '\0'));
}

TEST(RingCursor, BytesWrittenLaterFollow)
{
    Ring ring(1, 8);
    ring.write("abc");
    RingCursor cursor(ring.control());
    EXPECT_EQ(take(cursor, 4), std::string("abc\0", 4));
    ring.write("de");
    EXPECT_EQ(take(cursor, 2), "de");
}

TEST(RingCursor, RingKnowsNothingBeforePublish)
{
    Ring ring(1, 8);
    ring.write("abcdefgh");
    RingCursor cursor(ring.control());
    take(cursor, 5);
    EXPECT_EQ(ring.used(), 8u);
    EXPECT_EQ(ring.write("i"), (Outcome { CB_ERR_OVERFLOW, 0, "" }));
    cursor.Publish();
    EXPECT_EQ(ring.used(), 3u);
    EXPECT_EQ(ring.read(8).data, "fgh");
}

TEST(RingCursor, PublishBehindTheLastSlotLeavesTheReaderAtTheFirst)
{
    Ring ring(1, 8);
    fillAcrossTheEnd(ring);
    RingCursor cursor(ring.control());
    take(cursor, 3);
    cursor.Publish();
    EXPECT_EQ(ring.readSlot(), 0);
    EXPECT_EQ(take(cursor, 3), "DEF");
    cursor.Publish();
    EXPECT_EQ(ring.readSlot(), 3);
    EXPECT_EQ(ring.used(), 0u);
}

TEST(RingCursor, PublishWhereTheDataEndsWithTheRing)
{
    Ring ring(1, 8);
    ring.advance(6);
    ring.write("ABC");
    RingCursor cursor(ring.control());
    EXPECT_EQ(take(cursor, 3), "ABC");
    cursor.Publish();
    EXPECT_EQ(ring.readSlot(), 0);
    EXPECT_EQ(ring.used(), 0u);
    ring.write("D");
    EXPECT_EQ(take(cursor, 2), std::string("D\0", 2));
}

// Wherever the reader stood before: a pass may end exactly with the ring, and the writer may then use up all
// that the pass gave back.
TEST(RingCursor, RingIsFilledToTheLastElementBehindAPublish)
{
    for (int start = 0; start < 9; ++start) {
        for (int taken = 0; taken <= 8; ++taken) {
            SCOPED_TRACE(start);
            Ring ring(1, 8);
            ring.advance(start);
            ring.write("abcdefgh");
            RingCursor cursor(ring.control());
            take(cursor, static_cast<std::size_t>(taken));
            cursor.Publish();
            EXPECT_EQ(ring.readSlot(), (start + taken) % 9);
            EXPECT_EQ(ring.write("ABCDEFGHI"), (Outcome { CB_ERR_OVERFLOW, taken, "" }));
            EXPECT_EQ(ring.used(), 8u);
            const std::string expected =
                std::string("abcdefghABCDEFGH").substr(static_cast<std::size_t>(taken), 8);
            EXPECT_EQ(take(cursor, 9), expected + std::string(1, '\0'));
            cursor.Publish();
            EXPECT_EQ(ring.used(), 0u);
        }
    }
}

TEST(RingCursor, BytesInOnePieceAreTakenWhereTheyLie)
{
    Ring ring(1, 8);
    ring.write("abcdef");
    RingCursor cursor(ring.control());
    take(cursor, 1);
    const unsigned char* run = cursor.TakeInPlace(3);
    ASSERT_NE(run, nullptr);
    EXPECT_EQ(run, ring.bytes() + ring->start_offset + 1);
    EXPECT_EQ(textAt(run, 3), "bcd");
    EXPECT_EQ(take(cursor, 2), "ef");
}

TEST(RingCursor, BytesAcrossTheEndAreNotTakenInPlace)
{
    Ring ring(1, 8);
    fillAcrossTheEnd(ring);
    RingCursor cursor(ring.control());
    EXPECT_EQ(cursor.TakeInPlace(4), nullptr);
    EXPECT_EQ(take(cursor, 3), "ABC");
    const unsigned char* run = cursor.TakeInPlace(3);
    ASSERT_NE(run, nullptr);
    EXPECT_EQ(textAt(run, 3), "DEF");
}

TEST(RingCursor, BytesThatAreMissingAreNotTakenInPlace)
{
    Ring ring(1, 8);
    ring.write("abc");
    RingCursor cursor(ring.control());
    EXPECT_EQ(cursor.TakeInPlace(4), nullptr);
    EXPECT_EQ(take(cursor, 3), "abc");
}

TEST(RingCursor, BytesAreTakenInPlaceOrIntoTheBuffer)
{
    Ring ring(1, 8);
    fillAcrossTheEnd(ring);
    RingCursor cursor(ring.control());
    unsigned char two[2];
    unsigned char three[3];
    EXPECT_EQ(textAt(cursor.Take(two), 2), "AB");
    EXPECT_EQ(textAt(cursor.Take(two), 2), "CD");
    EXPECT_EQ(textAt(cursor.Take(three), 3), std::string("EF\0", 3));
    cursor.Publish();
    EXPECT_EQ(ring.used(), 0u);
}

TEST(RingCursor, NothingCanAlwaysBeTakenInPlaceFromARing)
{
    Ring ring(1, 8);
    RingCursor cursor(ring.control());
    EXPECT_NE(cursor.TakeInPlace(0), nullptr);
}

TEST(RingCursor, OfNoRingReadsAsEmpty)
{
    RingCursor cursor(nullptr);
    EXPECT_EQ(take(cursor, 3), std::string(3, '\0'));
    EXPECT_EQ(take(cursor, 0), "");
    EXPECT_EQ(cursor.TakeInPlace(3), nullptr);
    cursor.Publish();
}

TEST(RingCursor, OfARingOfLargerElementsReadsAsEmpty)
{
    Ring ring(4, 8);
    ring.write("abcdefgh");
    RingCursor cursor(ring.control());
    EXPECT_EQ(take(cursor, 4), std::string(4, '\0'));
    cursor.Publish();
    EXPECT_EQ(ring.used(), 2u);
}

TEST(RingCursor, RingWithoutRoomReadsAsEmpty)
{
    Ring ring(1, 0);
    ring.write("a");
    RingCursor cursor(ring.control());
    EXPECT_EQ(take(cursor, 1), std::string(1, '\0'));
    cursor.Publish();
    EXPECT_EQ(ring.used(), 0u);
}

TEST(RingCursor, RandomOperationsAgreeWithReads)
{
    constexpr unsigned int kSeed = 31;
    std::mt19937 random(kSeed);
    for (int round = 0; round < 300; ++round) {
        const unsigned int size = static_cast<unsigned int>(random() % 100);
        Ring read(1, size);
        Ring walked(1, size);
        const int start = static_cast<int>(random() % (size + 1));
        if (size > 0) {
            read.advance(start);
            walked.advance(start);
        }
        RingCursor cursor(walked.control());
        std::uint32_t written = 0;
        for (int step = 0; step < 500; ++step) {
            const std::size_t count = random() % (size + 8);
            if (random() % 2 == 0) {
                // Both rings are offered only what the one whose reader is behind has room for.
                std::string text;
                for (std::size_t i = 0; i < count && walked.used() + text.size() < size; ++i) {
                    text += static_cast<char>(streamByte(written++));
                }
                ASSERT_EQ(read.write(text).count, walked.write(text).count);
                continue;
            }
            std::string expected = read.read(static_cast<int>(count)).data;
            const unsigned char* run = random() % 3 == 0 ? cursor.TakeInPlace(count) : nullptr;
            if (run != nullptr) {
                ASSERT_EQ(textAt(run, count), expected) << "seed " << kSeed << ", round " << round;
            } else {
                expected.resize(count, '\0');
                ASSERT_EQ(take(cursor, count), expected) << "seed " << kSeed << ", round " << round;
            }
            if (random() % 4 == 0) {
                cursor.Publish();
                ASSERT_EQ(walked.used(), read.used());
                ASSERT_EQ(walked.readSlot(), read.readSlot());
            } else {
                ASSERT_GE(walked.used(), read.used());
            }
        }
    }
}

TEST(RingCursor, KeepsUpWithAWriterOnAnotherThread)
{
    constexpr std::uint32_t kStreamBytes = 2000000;
    Ring ring(1, 1000);
    std::thread writer([&ring] {
        std::mt19937 random(1);
        for (std::uint32_t written = 0; written < kStreamBytes;) {
            unsigned char chunk[90];
            int count = 1 + static_cast<int>(random() % sizeof chunk);
            for (int i = 0; i < count; ++i) {
                chunk[i] = streamByte(written + static_cast<std::uint32_t>(i));
            }
            cb_write(ring.control(), chunk, &count);
            written += static_cast<std::uint32_t>(count);
            if (count == 0) {
                std::this_thread::yield();
            }
        }
    });
    RingCursor cursor(ring.control());
    std::uint32_t wrong = 0;
    for (std::uint32_t read = 0; read < kStreamBytes;) {
        const unsigned char* run = cursor.TakeInPlace(1 + read % 3);
        if (run != nullptr) {
            for (std::uint32_t i = 0, size = 1 + read % 3; i < size; ++i, ++read) {
                wrong += run[i] != streamByte(read);
            }
            cursor.Publish();
        } else if ((run = cursor.TakeInPlace(1)) != nullptr) {
            wrong += *run != streamByte(read++);
        } else {
            cursor.Publish();
            std::this_thread::yield();
        }
    }
    writer.join();
    EXPECT_EQ(wrong, 0u);
}
