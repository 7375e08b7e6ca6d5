// One writer and one reader of a ring in every order that the memory model allows.
#include "CircularBuffer.h"
#include "ring/CircularBufferCursor.h"

#include "Explorer.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <string>
#include <vector>

namespace {

using order::Program;
using order::Result;
using order::Weakened;

// A ring that writer and reader share, and what passed through it.
class Shared {
public:
    void Begin(unsigned int size, bool copies)
    {
        mMemory.assign(cb_calc_buffer_size(1, size), 0);
        mRing.mControl = reinterpret_cast<cb_control*>(mMemory.data());
        cb_initialize_with_buffer(mRing.mControl, 1, size);
        cb_set_copy_func(mRing.mControl, copies ? CCircularBuffer::CopyFunc : nullptr);
        // The writer and the reader are past the beginning, so that positions wrap.
        for (unsigned int i = 0; i < size; ++i) {
            int count = 1;
            char byte = 0;
            cb_write(mRing.mControl, &byte, &count);
            cb_read(mRing.mControl, &byte, &count);
        }
        mWritten.clear();
        mRead.clear();
        order::track(mRing.mControl, mMemory.size());
    }

    ~Shared() { mRing.mControl = nullptr; }

    void Write(const std::string& text)
    {
        int count = static_cast<int>(text.size());
        mRing.Write(text.data(), count);
        mWritten += text.substr(0, static_cast<std::size_t>(count));
    }

    void Read(int most)
    {
        char bytes[64];
        int count = most;
        mRing.Read(bytes, count);
        mRead.append(bytes, static_cast<std::size_t>(count));
    }

    void WriteIfThereIsRoom(const char* byte)
    {
        if (cb_is_full(mRing.mControl) == 0) {
            Write(byte);
        }
    }

    // Looks at the oldest byte and discards it.
    void Remove()
    {
        char byte = 0;
        int count = 1;
        mRing.Peek(0, &byte, count);
        int one = 1;
        mRing.Remove(one);
        mRead.append(&byte, static_cast<std::size_t>(count));
    }

    // Takes bytes where they lie and hands each back at once.
    void TakeByCursor(int most)
    {
        KXPL::RingCursor cursor(mRing.mControl);
        for (int i = 0; i < most; ++i) {
            if (const unsigned char* place = cursor.TakeInPlace(1)) {
                mRead += static_cast<char>(*place);
            }
            cursor.Publish();
        }
    }

    void ExpectOrder()
    {
        if (mWritten.compare(0, mRead.size(), mRead) != 0) {
            order::fail("wrote " + mWritten + " and read " + mRead);
        }
        mReadings.push_back(mRead);
    }

    // The same where a removal may take more bytes than it was asked for, as it does past the ring's end.
    void ExpectOrderWithGaps()
    {
        std::size_t from = 0;
        for (const char byte : mRead) {
            from = mWritten.find(byte, from);
            if (from == std::string::npos) {
                return order::fail("wrote " + mWritten + " and read " + mRead);
            }
            ++from;
        }
        mReadings.push_back(mRead);
    }

    // Distinct texts that were read in all executions.
    std::size_t Outcomes()
    {
        std::sort(mReadings.begin(), mReadings.end());
        return static_cast<std::size_t>(std::unique(mReadings.begin(), mReadings.end()) - mReadings.begin());
    }

    CCircularBuffer mRing;

private:
    std::vector<char> mMemory;
    std::string mWritten;
    std::string mRead;
    std::vector<std::string> mReadings;
};

// Single bytes across the end of a ring of two.
Program singleBytes(Shared& shared)
{
    return { [&shared] { shared.Begin(2, false); },
             { [&shared] {
                  shared.Write("a");
                  shared.Write("b");
              },
               [&shared] {
                   shared.Read(1);
                   shared.Read(1);
               } },
             [&shared] { shared.ExpectOrder(); } };
}

// More at once than the ring holds: each side looks at the other's position again for each byte.
Program severalBytes(Shared& shared)
{
    return { [&shared] { shared.Begin(2, false); },
             { [&shared] { shared.Write("abc"); }, [&shared] { shared.Read(3); } },
             [&shared] { shared.ExpectOrder(); } };
}

// A text for the copy function, across the ring's end.
Program longText(Shared& shared)
{
    return { [&shared] { shared.Begin(34, true); },
             { [&shared] {
                  shared.Write(std::string(33, 'a'));
                  shared.Write("b");
              },
               [&shared] {
                   shared.Read(1);
                   shared.Read(1);
               } },
             [&shared] { shared.ExpectOrder(); } };
}

// The writer asks for the fill level, as a log call does, and writes only where that leaves room: the second
// byte only into the slot that the reader gave back.
Program fillLevel(Shared& shared)
{
    return { [&shared] { shared.Begin(1, false); },
             { [&shared] {
                  for (const char* text : { "a", "b" }) {
                      if (cb_get_num_elem_used(shared.mRing.mControl) == 0) {
                          shared.Write(text);
                      }
                  }
                  if (shared.mRing.GetFirstError() != 0) {
                      order::fail("there was no room where the fill level told of room");
                  }
              },
               [&shared] {
                   shared.Read(1);
                   shared.Read(1);
               } },
             [&shared] { shared.ExpectOrder(); } };
}

// A full ring: what the writer stores lies where the reader has just looked.
Program spaceThatTheCursorHandedBack(Shared& shared)
{
    return { [&shared] {
                shared.Begin(2, false);
                shared.Write("ab");
            },
             { [&shared] {
                  shared.WriteIfThereIsRoom("c");
                  shared.WriteIfThereIsRoom("d");
              },
               [&shared] { shared.TakeByCursor(3); } },
             [&shared] { shared.ExpectOrder(); } };
}

Program spaceThatAReadHandedBack(Shared& shared)
{
    return { [&shared] {
                shared.Begin(2, false);
                shared.Write("ab");
            },
             { [&shared] {
                  shared.WriteIfThereIsRoom("c");
                  shared.WriteIfThereIsRoom("d");
              },
               [&shared] {
                   shared.Read(1);
                   shared.Read(2);
               } },
             [&shared] { shared.ExpectOrder(); } };
}

Program spaceThatWasRemoved(Shared& shared)
{
    return { [&shared] {
                shared.Begin(2, false);
                shared.Write("ab");
            },
             { [&shared] {
                  shared.WriteIfThereIsRoom("c");
                  shared.WriteIfThereIsRoom("d");
              },
               [&shared] {
                   shared.Remove();
                   shared.Read(1);
               } },
             [&shared] { shared.ExpectOrderWithGaps(); } };
}

Program longTextIntoFreedSpace(Shared& shared)
{
    return { [&shared] {
                shared.Begin(40, true);
                shared.Write(std::string(40, 'a'));
            },
             { [&shared] {
                  if (cb_get_num_elem_used(shared.mRing.mControl) == 0) {
                      shared.Write(std::string(33, 'b'));
                  }
              },
               [&shared] {
                   shared.Read(20);
                   shared.Read(20);
               } },
             [&shared] { shared.ExpectOrder(); } };
}

void expectProven(Program (*make)(Shared&), std::size_t outcomes)
{
    Shared shared;
    const Result result = order::explore(make(shared));
    EXPECT_EQ(result.failure, "");
    EXPECT_TRUE(result.complete);
    // Else the threads hardly met.
    EXPECT_GE(shared.Outcomes(), outcomes);

    std::printf("%lld executions\n", result.executions);
}

void expectFailure(Program (*make)(Shared&), Weakened::Kind weakened)
{
    Shared shared;
    EXPECT_NE(order::explore(make(shared), weakened).failure, "");
}

// Without that one order something must go wrong, or nothing here would tell if the code were without it.
void expectEachOrderNeeded(Program (*make)(Shared&))
{
    for (const Weakened::Kind kind : { Weakened::Releases, Weakened::Acquires }) {
        for (unsigned int cb_control::*position : { &cb_control::write_offset, &cb_control::read_offset }) {
            Shared shared;
            const auto location = [&]() -> const void* { return &(shared.mRing.mControl->*position); };
            EXPECT_NE(order::explore(make(shared), Weakened(kind, location)).failure, "")
                << (kind == Weakened::Releases ? "releases" : "acquires") << " of the "
                << (position == &cb_control::write_offset ? "writer's" : "reader's") << " position";
        }
    }
}

} // namespace

TEST(CircularBufferOrder, SingleBytesArriveInOrder)
{
    expectProven(singleBytes, 3);
}

TEST(CircularBufferOrder, SeveralBytesArriveInOrder)
{
    expectProven(severalBytes, 2);
}

TEST(CircularBufferOrder, LongTextArrivesInOrder)
{
    expectProven(longText, 3);
}

TEST(CircularBufferOrder, FillLevelNeverTellsOfRoomThatIsNotThere)
{
    expectProven(fillLevel, 3);
}

TEST(CircularBufferOrder, WithoutReleasesTheExplorerFindsARace)
{
    expectFailure(singleBytes, Weakened::Releases);
    expectFailure(severalBytes, Weakened::Releases);
    expectFailure(longText, Weakened::Releases);
}

TEST(CircularBufferOrder, WithoutAcquiresTheExplorerFindsARace)
{
    expectFailure(singleBytes, Weakened::Acquires);
    expectFailure(severalBytes, Weakened::Acquires);
    expectFailure(longText, Weakened::Acquires);
}

TEST(CircularBufferOrder, WriterReusesWhatTheCursorHandsBack)
{
    expectProven(spaceThatTheCursorHandedBack, 3);
}

TEST(CircularBufferOrder, WriterReusesWhatAReadHandsBack)
{
    expectProven(spaceThatAReadHandedBack, 2);
}

TEST(CircularBufferOrder, WriterReusesWhatWasRemoved)
{
    expectProven(spaceThatWasRemoved, 1);
}

TEST(CircularBufferOrder, LongTextGoesWhereOneWasRead)
{
    expectProven(longTextIntoFreedSpace, 1);
}

TEST(CircularBufferOrder, EachOrderIsNeededForASingleByte)
{
    expectEachOrderNeeded(spaceThatAReadHandedBack);
}

TEST(CircularBufferOrder, EachOrderIsNeededForTheCursor)
{
    expectEachOrderNeeded(spaceThatTheCursorHandedBack);
}

TEST(CircularBufferOrder, EachOrderIsNeededForARemoval)
{
    expectEachOrderNeeded(spaceThatWasRemoved);
}

TEST(CircularBufferOrder, EachOrderOfTheReadersPositionIsNeededForALongText)
{
    for (const Weakened::Kind kind : { Weakened::Releases, Weakened::Acquires }) {
        Shared shared;
        const auto location = [&]() -> const void* { return &shared.mRing.mControl->read_offset; };
        EXPECT_NE(order::explore(longTextIntoFreedSpace(shared), Weakened(kind, location)).failure, "");
    }
}
