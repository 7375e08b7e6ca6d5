// How a log call writes: field by field, without a lock, an allocation or any formatting.
#include "hslog/HSLLogContext.h"

#include "Allocations.h"
#include "BareManager.h"
#include "RecordBytes.h"

#include <gtest/gtest.h>

#include <functional>
#include <new>
#include <string>
#include <thread>
#include <vector>

using HSL::CCat;
using HSL::CLogContext;
using HSL::CValue;

namespace {

// Set while a test watches the writes into rings.
std::function<void(int size)> gOnWrite;

using Sizes = std::vector<int>;

} // namespace

// The linker's --wrap option sends every write into a ring here.
extern "C" {
unsigned int __real_cb_write(cb_control*, const void*, int*);
unsigned int __wrap_cb_write(cb_control*, const void*, int*);

unsigned int __wrap_cb_write(cb_control* control, const void* source, int* count)
{
    if (gOnWrite) {
        gOnWrite(*count);
    }
    return __real_cb_write(control, source, count);
}
}

namespace {

class WritePath : public testing::Test {
protected:
    WritePath()
        : mContext("context", 65536, CLogContext::MallocFunc, CLogContext::FreeFunc)
    {
        mManager->SetFilterValue(3, true);
    }
    ~WritePath() override { gOnWrite = nullptr; }

    template <typename Function> static Sizes SizesOf(const Function& function)
    {
        Sizes sizes;
        gOnWrite = [&sizes](int size) { sizes.push_back(size); };
        function();
        gOnWrite = nullptr;
        return sizes;
    }

    static Sizes SizesOfValue(const CValue& value)
    {
        ByteRing ring(400000);
        return SizesOf([&] { value.Serialize(&ring); });
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

TEST_F(WritePath, EveryFieldOfARecordWithAnIdIsAWriteOfItsOwn)
{
    EXPECT_EQ(SizesOf([&] { mContext.Log(CCat(3), static_cast<short>(7)); }),
              (Sizes { 1, 4, 4, 4, 1, 1, 1, 1, 2, 1 }));
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
    EXPECT_EQ(SizesOf([&] { cat.Serialize(&ring); }), (Sizes { 1, 4 }));
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

// The collector takes no more records than the count shows, so the count must not run ahead of the bytes.
TEST_F(WritePath, RecordIsCountedOnlyBehindItsLastByte)
{
    int writes = 0;
    gOnWrite = [&](int) {
        ++writes;
        EXPECT_EQ(mContext.mRecordCount, 0);
    };
    mContext.Log(CCat(3), "%d", CValue(1));
    EXPECT_EQ(writes, 13);
    EXPECT_EQ(mContext.mRecordCount, 1);
}

TEST_F(WritePath, DroppedRecordIsCountedOnlyBehindItsLastByte)
{
    mContext.mHighWater = 0;
    gOnWrite = [&](int) { EXPECT_EQ(mContext.mRecordCount, 0); };
    mContext.Log(CCat(3), "f");
    EXPECT_EQ(mContext.mRecordCount, 1);
}

TEST_F(WritePath, LogCallsAllocateNothing)
{
    const Allocations::Watch watch;
    LogInEveryWay();
    EXPECT_EQ(watch.Made(), 0);
    EXPECT_EQ(mManager->mSequence, 5);
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
    EXPECT_EQ(mManager->mSequence, 5);
}

TEST_F(WritePath, LogCallsDoNotWaitForTheManagersLock)
{
    mManager->mLock.Lock();
    std::thread logging([&] { LogInEveryWay(); });
    logging.join();
    mManager->mLock.Unlock();
    EXPECT_EQ(mManager->mSequence, 5);
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
    EXPECT_EQ(mManager->mSequence, 5);
}
