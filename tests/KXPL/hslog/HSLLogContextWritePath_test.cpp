// How a log call writes: field by field, without a lock, an allocation or any formatting.
#include "hslog/HSL.h"

#include "Allocations.h"
#include "BareManager.h"
#include "ByteRing.h"
#include "SingleStep.h"

#include <gtest/gtest.h>

#include <cstring>
#include <new>
#include <string>
#include <thread>
#include <vector>

using HSL::CCat;
using HSL::CLogContext;
using HSL::CValue;

namespace {

using Sizes = std::vector<int>;

// Every position that a ring's writer publishes, seen between two instructions.
class Positions {
public:
    explicit Positions(CCircularBuffer* ring)
        : mControl(ring->mControl)
        , mLast(mControl->write_offset)
    {
    }

    // True when the position has moved since the last look.
    bool Look()
    {
        const unsigned int position = *const_cast<volatile unsigned int*>(&mControl->write_offset);
        if (position == mLast) {
            return false;
        }
        mSizes[mCount] = static_cast<int>(position - mLast);
        mCount = mCount < kMost ? mCount + 1 : mCount;
        mLast = position;
        return true;
    }

    Sizes Published() const { return Sizes(mSizes, mSizes + mCount); }

private:
    static constexpr int kMost = 100;

    const cb_control* mControl;
    unsigned int mLast;
    int mSizes[kMost + 1];
    int mCount = 0;
};

class WritePath : public testing::Test {
protected:
    WritePath()
        : mContext("context", 65536, CLogContext::MallocFunc, CLogContext::FreeFunc)
    {
        mManager->SetFilterValue(3, true);
    }

    void SetUp() override
    {
        if (!SingleStep::IsPossible()) {
            GTEST_SKIP();
        }
    }

    template <typename Function> static Sizes SizesOf(CCircularBuffer* ring, const Function& function)
    {
        Positions positions(ring);
        {
            const SingleStep step([&positions] { positions.Look(); });
            function();
        }
        return positions.Published();
    }

    template <typename Function> Sizes SizesOf(const Function& function)
    {
        return SizesOf(mContext.mBuffer, function);
    }

    static Sizes SizesOfValue(const CValue& value)
    {
        ByteRing ring(400000);
        return SizesOf(&ring, [&] { value.Serialize(&ring); });
    }

    // Messages of both rows and all value kinds, a refused one, a dropped record and discarded messages.
    void LogInEveryWay()
    {
        const unsigned short sixteen[] = { 'u', 0 };
        mContext.Log(CCat(3), "%d", CValue(1));
        mContext.Log(CCat(3), mLongFormat.c_str(), CValue(1.0f), CValue("s"), CValue(L"w"), CValue(sixteen),
                     CValue(this), CValue(2l), CValue(0.5), CValue('c'), CValue(3ull),
                     CValue(static_cast<const wchar_t*>(nullptr)));
        mContext.Log(CCat(3), static_cast<short>(1), CValue(1));
        mContext.Log(3, static_cast<short>(1), 1, "s", L"w", 0.5);
        mContext.Log(CCat(4), "refused");
        mContext.mHighWater = 0;
        mContext.Log(CCat(3), "dropped");
        mContext.mLowWater = 0;
        mContext.Log(CCat(3), "discarded");
    }

    BareManager mManager;
    CLogContext mContext;
    const std::string mLongFormat = std::string(2000, 'x');
};

} // namespace

TEST_F(WritePath, EveryFieldOfARecordIsAWriteOfItsOwn)
{
    // Marker, sequence, seconds, microseconds, depth, category count and code, kind, length, text, count of
    // values; then the tag and the payload of each value.
    EXPECT_EQ(SizesOf([&] { mContext.Log(CCat(3), "%d %d", CValue(1), CValue(static_cast<short>(2))); }),
              (Sizes { 1, 4, 4, 4, 1, 1, 1, 1, 2, 5, 1, 1, 4, 1, 2 }));
}

TEST_F(WritePath, EveryFieldOfARecordOfTypedValuesIsAWriteOfItsOwn)
{
    const unsigned short sixteen[] = { 'u', 0 };
    EXPECT_EQ(SizesOf([&] { mContext.Log(3, "%d", 1, "abc", 2.0, L"w", sixteen, "", static_cast<short>(1)); }),
              (Sizes { 1, 4, 4, 4, 1, 1, 1, 1, 2, 2, 1, 1, 4, 1, 2, 3, 1, 8, 1, 2, 4, 1, 2, 2, 1, 2, 1, 2 }));
}

TEST_F(WritePath, EveryFieldOfARecordWithAnIdIsAWriteOfItsOwn)
{
    EXPECT_EQ(SizesOf([&] { mContext.Log(CCat(3), static_cast<short>(7)); }),
              (Sizes { 1, 4, 4, 4, 1, 1, 1, 1, 2, 1 }));
}

TEST_F(WritePath, EveryFieldOfARecordOfSeveralCategoriesIsAWriteOfItsOwn)
{
    CCat cat(3);
    cat.mCount = 3;
    EXPECT_EQ(SizesOf([&] { mContext.Log(cat, "%d", 1); }), (Sizes { 1, 4, 4, 4, 1, 1, 3, 1, 2, 2, 1, 1, 4 }));
}

TEST_F(WritePath, EveryFieldOfARecordThroughTheFrontDoorIsAWriteOfItsOwn)
{
    mManager->SetEnable(true);
    CCircularBuffer* ring = mManager->GetTLSContext()->mBuffer;
    EXPECT_EQ(SizesOf(ring, [] { HSL::HSLog(CCat(3), "f"); }), (Sizes { 1, 4, 4, 4, 1, 1, 1, 1, 2, 1, 1 }));
    EXPECT_EQ(SizesOf(ring, [] { HSL::HSLog(CCat(3), "%d", 1); }),
              (Sizes { 1, 4, 4, 4, 1, 1, 1, 1, 2, 2, 1, 1, 4 }));
    EXPECT_EQ(SizesOf(ring, [] { HSL::HSLog(CCat(3), "%s", "abc"); }),
              (Sizes { 1, 4, 4, 4, 1, 1, 1, 1, 2, 2, 1, 1, 2, 3 }));
    const CCat cat(3);
    const CCat* volatile someCat = &cat;
    EXPECT_EQ(SizesOf(ring, [&] { HSL::HSLog(*someCat, "%d", 1); }),
              (Sizes { 1, 4, 4, 4, 1, 1, 1, 1, 2, 2, 1, 1, 4 }));
}

TEST_F(WritePath, EveryFieldOfADroppedRecordIsAWriteOfItsOwn)
{
    mContext.mHighWater = 0;
    EXPECT_EQ(SizesOf([&] { mContext.Log(CCat(3), "f"); }), (Sizes { 1, 4, 4, 4, 1, 1, 1, 1, 2, 32, 1 }));
}

TEST_F(WritePath, DiscardedAndRefusedMessagesWriteNothing)
{
    mContext.mDropping = true;
    mContext.mLowWater = 0;
    EXPECT_EQ(SizesOf([&] { mContext.Log(CCat(3), "discarded"); }), Sizes());
    EXPECT_EQ(SizesOf([&] { mContext.Log(CCat(4), "refused"); }), Sizes());
}

TEST_F(WritePath, CategoriesAreWrittenTogether)
{
    CCat cat(3);
    cat.mCount = 4;
    ByteRing ring;
    EXPECT_EQ(SizesOf(&ring, [&] { cat.Serialize(&ring); }), (Sizes { 1, 4 }));
}

TEST_F(WritePath, NumbersAreATagAndAPayload)
{
    EXPECT_EQ(SizesOfValue(static_cast<signed char>(1)), (Sizes { 1, 1 }));
    EXPECT_EQ(SizesOfValue(static_cast<unsigned short>(1)), (Sizes { 1, 2 }));
    EXPECT_EQ(SizesOfValue(1.0f), (Sizes { 1, 4 }));
    EXPECT_EQ(SizesOfValue(1.0), (Sizes { 1, 8 }));
    EXPECT_EQ(SizesOfValue(1l), (Sizes { 1, static_cast<int>(sizeof(long)) }));
    EXPECT_EQ(SizesOfValue(this), (Sizes { 1, static_cast<int>(sizeof(void*)) }));
}

TEST_F(WritePath, StringsAreATagALengthAndAText)
{
    const unsigned short sixteen[] = { 'u', 'v', 0 };
    EXPECT_EQ(SizesOfValue("abc"), (Sizes { 1, 2, 3 }));
    EXPECT_EQ(SizesOfValue(L"abc"), (Sizes { 1, 2, 12 }));
    EXPECT_EQ(SizesOfValue(sixteen), (Sizes { 1, 2, 4 }));
}

TEST_F(WritePath, NullStringsAreATagALengthAndTheTextNull)
{
    EXPECT_EQ(SizesOfValue(static_cast<const char*>(nullptr)), (Sizes { 1, 2, 6 }));
    EXPECT_EQ(SizesOfValue(static_cast<const wchar_t*>(nullptr)), (Sizes { 1, 2, 24 }));
    EXPECT_EQ(SizesOfValue(static_cast<const unsigned short*>(nullptr)), (Sizes { 1, 2 }));
}

TEST_F(WritePath, ReservedTagsAreOneWrite)
{
    CValue value(1);
    value.mType = 19;
    EXPECT_EQ(SizesOfValue(value), (Sizes { 1 }));
}

// A record that meets the ring's end goes another way through the code, field by field all the same. The three
// bytes in front of the end take the marker and two bytes of the sequence number.
TEST_F(WritePath, EveryFieldOfARecordThatWrapsIsAWriteOfItsOwn)
{
    const std::string filling(30000, 'x');
    int size = 30000;
    mContext.mBuffer->Write(filling.data(), size);
    size = 30000;
    mContext.mBuffer->Write(filling.data(), size);
    size = 60000;
    std::string taken(60000, 0);
    mContext.mBuffer->Read(&taken[0], size);
    size = static_cast<int>(mContext.mBuffer->mControl->end_offset + 1
                            - mContext.mBuffer->mControl->write_offset - 3);
    mContext.mBuffer->Write(filling.data(), size);
    mContext.mRecordCount = 0;

    const int slots = static_cast<int>(mContext.mBuffer->mControl->num_elem) + 1;
    EXPECT_EQ(SizesOf([&] { mContext.Log(CCat(3), "%d", CValue(1)); }),
              (Sizes { 1, 4 - slots, 4, 4, 1, 1, 1, 1, 2, 2, 1, 1, 4 }));
}

// A value whose type the compiler cannot see takes another way through the code.
TEST_F(WritePath, EveryFieldOfAValueOfAnyTypeIsAWriteOfItsOwn)
{
    const CValue values[] = { CValue(1), CValue("abc"), CValue(2.0), CValue(L"w"), CValue("") };
    const CValue* volatile some = values;
    EXPECT_EQ(SizesOf([&] {
                  mContext.Log(CCat(3), static_cast<short>(7), some[0], some[1], some[2], some[3], some[4]);
              }),
              (Sizes { 1, 4, 4, 4, 1, 1, 1, 1, 2, 1, 1, 4, 1, 2, 3, 1, 8, 1, 2, 4, 1, 2 }));
}

TEST_F(WritePath, LongTextsGoThroughTheRingsCopyFunction)
{
    static int copied;
    copied = 0;
    mContext.mBuffer->SetCopyFunc([](void* to, const void* from, unsigned long size) {
        copied += static_cast<int>(size);
        return std::memcpy(to, from, size);
    });
    const std::string longest(32, 's');
    const std::string longer(33, 'l');
    mContext.Log(CCat(3), longest.c_str(), CValue(longest.c_str()));
    EXPECT_EQ(copied, 0);
    mContext.Log(CCat(3), longer.c_str(), CValue(longer.c_str()));
    EXPECT_EQ(copied, 66);
    // So do those whose length the compiler knows.
    mContext.Log(CCat(3), "a literal of exactly 32 bytes...", CValue("and another of so many, no more."));
    EXPECT_EQ(copied, 66);
    mContext.Log(CCat(3), "a literal of exactly 33 bytes....", CValue("and another of so many, no more.."));
    EXPECT_EQ(copied, 132);
}

// The time is that at which the record was begun, however long the copying takes. A record that fits in one
// piece and one that meets the ring's end go different ways through the code, and so do values whose types the call
// tells.
TEST_F(WritePath, RecordIsDatedBetweenItsNumberAndItsFirstCopy)
{
    static std::string calls;
    Interposed hooks;
    hooks.gettimeofdayHook = [&](struct timeval* time, void* zone) {
        calls += "clock " + std::to_string(mManager->mSequence) + ", ";
        return __real_gettimeofday(time, zone);
    };
    mContext.mBuffer->SetCopyFunc([](void* to, const void* from, unsigned long size) {
        calls += "copy, ";
        return std::memcpy(to, from, size);
    });
    const std::string text(33, 'x');
    const cb_control* control = mContext.mBuffer->mControl;
    int wraps = 0;
    for (int call = 0; wraps < 4; ++call) {
        const unsigned int before = control->write_offset;
        calls.clear();
        if (call % 2 == 0) {
            mContext.Log(CCat(3), text.c_str(), CValue(text.c_str()));
        } else {
            mContext.Log(CCat(3), text.c_str(), text.c_str());
        }
        const bool wrapped = control->write_offset < before;
        const bool inTwoPieces = calls.size() > std::strlen("clock 1000, copy, copy, ");
        EXPECT_EQ(calls.substr(0, calls.find("copy")), "clock " + std::to_string(mManager->mSequence) + ", ");
        EXPECT_TRUE(wrapped || !inTwoPieces);
        wraps += wrapped ? 1 : 0;
        std::string taken(200, 0);
        int size = 200;
        mContext.mBuffer->Read(&taken[0], size);
        mContext.mRecordCount = 0;
    }
}

// The collector takes no more records than the count shows, so the count must not run ahead of the bytes.
TEST_F(WritePath, RecordIsCountedOnlyBehindItsLastByte)
{
    Positions positions(mContext.mBuffer);
    bool early = false;
    {
        const SingleStep step([&] { early = early || (positions.Look() && mContext.mRecordCount != 0); });
        mContext.Log(CCat(3), "%d", CValue(1));
    }
    EXPECT_EQ(positions.Published().size(), 13u);
    EXPECT_FALSE(early);
    EXPECT_EQ(mContext.mRecordCount, 1);
}

TEST_F(WritePath, DroppedRecordIsCountedOnlyBehindItsLastByte)
{
    mContext.mHighWater = 0;
    Positions positions(mContext.mBuffer);
    bool early = false;
    {
        const SingleStep step([&] { early = early || (positions.Look() && mContext.mRecordCount != 0); });
        mContext.Log(CCat(3), "f");
    }
    EXPECT_EQ(positions.Published().size(), 11u);
    EXPECT_FALSE(early);
    EXPECT_EQ(mContext.mRecordCount, 1);
}

TEST_F(WritePath, LogCallsAllocateNothing)
{
    const Allocations::Watch watch;
    LogInEveryWay();
    EXPECT_EQ(watch.Made(), 0);
    EXPECT_EQ(mManager->mSequence, 6);
}

TEST_F(WritePath, WatchSeesAllocations)
{
    const Allocations::Watch watch;
    ::operator delete(::operator new(10));
    EXPECT_EQ(watch.Made(), 1);
    CLogContext::FreeFunc(CLogContext::MallocFunc(10), 10);
    EXPECT_EQ(watch.Made(), 2);
}

TEST_F(WritePath, LogCallsTakeNoLock)
{
    int locks = 0;
    Interposed hooks;
    hooks.mutexLock = [&](pthread_mutex_t* mutex) {
        ++locks;
        return __real_pthread_mutex_lock(mutex);
    };
    hooks.mutexTrylock = [&](pthread_mutex_t* mutex) {
        ++locks;
        return __real_pthread_mutex_trylock(mutex);
    };
    LogInEveryWay();
    EXPECT_EQ(locks, 0);
    EXPECT_EQ(mManager->mSequence, 6);
}

TEST_F(WritePath, LogCallsDoNotWaitForTheManagersLock)
{
    mManager->mLock.Lock();
    std::thread logging([&] { LogInEveryWay(); });
    logging.join();
    mManager->mLock.Unlock();
    EXPECT_EQ(mManager->mSequence, 6);
}

TEST_F(WritePath, LogCallsFormatNothing)
{
    int formatted = 0;
    Interposed hooks;
    hooks.vsnprintfHook = [&](char* buffer, std::size_t size, const char* format, va_list arguments) {
        ++formatted;
        return __real_vsnprintf(buffer, size, format, arguments);
    };
    LogInEveryWay();
    EXPECT_EQ(formatted, 0);
    EXPECT_EQ(mManager->mSequence, 6);
}
