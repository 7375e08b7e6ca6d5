// What a context does when its ring is nearly full.
#include "hslog/HSLLogContext.h"

#include "BareManager.h"
#include "HandMadeRecord.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>

using HSL::CCat;
using HSL::CLogContext;
using HSL::CValue;

namespace {

constexpr unsigned int kSeconds = 1700000000;
constexpr unsigned int kMicroseconds = 250000;
constexpr unsigned char kRefused = 99;
constexpr unsigned int kHigh = 61440;
constexpr unsigned int kLow = 49152;

HandMadeRecord header(int sequence, unsigned char code = 3, unsigned char depth = 0)
{
    return HandMadeRecord().Header(sequence, kSeconds, kMicroseconds, depth, { code });
}

// A manager that refuses one category and a clock that stands still.
class Dropping : public testing::Test {
protected:
    Dropping()
        : mContext("context", 65536, CLogContext::MallocFunc, CLogContext::FreeFunc)
    {
        for (int code = 0; code < 256; ++code) {
            mManager->SetFilterValue(static_cast<unsigned char>(code), code != kRefused);
        }
        mHooks.gettimeofdayHook = [](struct timeval* now, void*) {
            now->tv_sec = static_cast<std::time_t>(kSeconds);
            now->tv_usec = kMicroseconds;
            return 0;
        };
    }

    // Brings the context into its dropping state, after which the ring holds `used` bytes.
    void StartDropping(unsigned int used)
    {
        SetUsed(*mContext.mBuffer, kHigh);
        mContext.Log(CCat(3), "first that does not fit");
        ASSERT_TRUE(mContext.mDropping);
        SetUsed(*mContext.mBuffer, used);
        mContext.mRecordCount = 0;
    }

    // What a call adds to the ring.
    template <typename... Arguments> std::string Added(const Arguments&... arguments)
    {
        const unsigned int before = UsedIn(*mContext.mBuffer);
        mContext.Log(arguments...);
        return BytesIn(*mContext.mBuffer).substr(before);
    }

    Interposed mHooks;
    BareManager mManager;
    CLogContext mContext;
};

} // namespace

TEST_F(Dropping, MessageIsWrittenBelowTheHighWater)
{
    SetUsed(*mContext.mBuffer, kHigh - 1);
    EXPECT_EQ(Added(CCat(3), "f"), header(1).Inline("f").Count(0).AsString());
    EXPECT_FALSE(mContext.mDropping);
    EXPECT_EQ(mContext.mRecordCount, 1);
}

TEST_F(Dropping, DroppedRecordTakesTheMessagesPlaceAtTheHighWater)
{
    SetUsed(*mContext.mBuffer, kHigh);
    EXPECT_EQ(Added(CCat(3), "f", CValue(1)), header(1).Dropped().AsString());
    EXPECT_TRUE(mContext.mDropping);
    EXPECT_EQ(mContext.mRecordCount, 1);
    EXPECT_EQ(mManager->mSequence, 1);
}

TEST_F(Dropping, DroppedRecordCarriesTheMessagesOwnCategoriesAndTheDepth)
{
    SetUsed(*mContext.mBuffer, kHigh);
    mContext.mDepth = 4;
    CCat cat(8);
    cat.mCount = 2;
    cat.mCodes[1] = 200;
    EXPECT_EQ(Added(cat, "f"),
              HandMadeRecord().Header(1, kSeconds, kMicroseconds, 4, { 8, 200 }).Dropped().AsString());
}

TEST_F(Dropping, DroppedRecordHas32BytesOfText)
{
    SetUsed(*mContext.mBuffer, kHigh);
    const std::string record = Added(CCat(3), "f");
    EXPECT_EQ(record.size(), 16u + 1 + 2 + 32 + 1);
    EXPECT_EQ(record.substr(16), Raw({ 1, 32, 0 }) + "*** HSLOG DROPPED MESSAGE(S) ***" + Raw({ 0 }));
}

TEST_F(Dropping, DroppedRecordOfAMessageWithAnIdIsInlineAllTheSame)
{
    SetUsed(*mContext.mBuffer, kHigh);
    EXPECT_EQ(Added(CCat(3), static_cast<short>(7), CValue(1), CValue(2)), header(1).Dropped().AsString());
}

TEST_F(Dropping, OnlyOneDroppedRecordIsWrittenPerEpisode)
{
    SetUsed(*mContext.mBuffer, kHigh);
    mContext.Log(CCat(3), "a");
    const std::string before = BytesIn(*mContext.mBuffer);
    for (int i = 0; i < 50; ++i) {
        mContext.Log(CCat(3), "b");
    }
    EXPECT_EQ(BytesIn(*mContext.mBuffer), before);
    EXPECT_EQ(mContext.mRecordCount, 1);
}

TEST_F(Dropping, MessageIsDiscardedAtTheLowWater)
{
    StartDropping(kLow);
    EXPECT_EQ(Added(CCat(3), "f"), "");
    EXPECT_TRUE(mContext.mDropping);
    EXPECT_EQ(mContext.mRecordCount, 0);
}

TEST_F(Dropping, MessageIsWrittenBelowTheLowWater)
{
    StartDropping(kLow - 1);
    EXPECT_EQ(Added(CCat(3), "f"), header(2).Inline("f").Count(0).AsString());
    EXPECT_FALSE(mContext.mDropping);
    EXPECT_EQ(mContext.mRecordCount, 1);
}

TEST_F(Dropping, LowWaterDoesNotHoldBackAContextThatIsWriting)
{
    SetUsed(*mContext.mBuffer, kLow + 1);
    EXPECT_EQ(Added(CCat(3), "f"), header(1).Inline("f").Count(0).AsString());
}

TEST_F(Dropping, EveryEpisodeWritesItsOwnDroppedRecord)
{
    StartDropping(kLow - 1);
    mContext.Log(CCat(3), "written");
    SetUsed(*mContext.mBuffer, kHigh);
    EXPECT_EQ(Added(CCat(5), "f"), header(3, 5).Dropped().AsString());
    EXPECT_TRUE(mContext.mDropping);
}

TEST_F(Dropping, DiscardedMessageTakesANumberThatNoRecordShows)
{
    StartDropping(kLow);
    ASSERT_EQ(mManager->mSequence, 1);
    mContext.Log(CCat(3), "discarded");
    mContext.Log(CCat(3), static_cast<short>(7));
    EXPECT_EQ(mManager->mSequence, 3);
    SetUsed(*mContext.mBuffer, 0);
    EXPECT_EQ(Added(CCat(3), "f"), header(4).Inline("f").Count(0).AsString());
}

TEST_F(Dropping, GapShowsInOtherContextsToo)
{
    StartDropping(kLow);
    CLogContext other("other", 8192, CLogContext::MallocFunc, CLogContext::FreeFunc);
    mContext.Log(CCat(3), "discarded");
    other.Log(CCat(3), "f");
    EXPECT_EQ(BytesIn(*other.mBuffer), header(3).Inline("f").Count(0).AsString());
}

TEST_F(Dropping, RefusedMessageTakesNoNumber)
{
    EXPECT_EQ(Added(CCat(kRefused), "f"), "");
    EXPECT_EQ(Added(CCat(kRefused), static_cast<short>(1), CValue(1)), "");
    EXPECT_EQ(mManager->mSequence, 0);
    EXPECT_EQ(mContext.mRecordCount, 0);
}

TEST_F(Dropping, RefusedMessageTakesNoNumberWhileDropping)
{
    StartDropping(kLow);
    EXPECT_EQ(Added(CCat(kRefused), "f"), "");
    EXPECT_EQ(mManager->mSequence, 1);
    EXPECT_TRUE(mContext.mDropping);
}

TEST_F(Dropping, RefusedMessageDoesNotEndDropping)
{
    StartDropping(0);
    mContext.Log(CCat(kRefused), "f");
    EXPECT_TRUE(mContext.mDropping);
}

TEST_F(Dropping, RefusedMessageDoesNotStartDropping)
{
    SetUsed(*mContext.mBuffer, kHigh);
    EXPECT_EQ(Added(CCat(kRefused), "f"), "");
    EXPECT_FALSE(mContext.mDropping);
}

TEST_F(Dropping, RingOfLessThanTheReserveAlternatesDroppedRecordsAndMessages)
{
    CLogContext context("context", 4095, CLogContext::MallocFunc, CLogContext::FreeFunc);
    HandMadeRecord expected;
    for (int sequence = 1; sequence <= 20; sequence += 2) {
        context.Log(CCat(3), "lost");
        context.Log(CCat(3), "kept");
        expected.Bytes(header(sequence).Dropped().AsString());
        expected.Bytes(header(sequence + 1).Inline("kept").Count(0).AsString());
    }
    EXPECT_EQ(BytesIn(*context.mBuffer), expected.AsString());
    EXPECT_EQ(context.mRecordCount, 20);
}

TEST_F(Dropping, RingOfTheReserveAlternatesToo)
{
    CLogContext context("context", 4096, CLogContext::MallocFunc, CLogContext::FreeFunc);
    context.Log(CCat(3), "lost");
    EXPECT_EQ(BytesIn(*context.mBuffer), header(1).Dropped().AsString());
}

TEST_F(Dropping, RingOfOneByteMoreWritesItsFirstMessage)
{
    CLogContext context("context", 4097, CLogContext::MallocFunc, CLogContext::FreeFunc);
    context.Log(CCat(3), "kept");
    context.Log(CCat(3), "lost");
    EXPECT_EQ(BytesIn(*context.mBuffer),
              header(1).Inline("kept").Count(0).AsString() + header(2).Dropped().AsString());
}

TEST_F(Dropping, MessageThatEndsDroppingIsWrittenThoughTheHighWaterIsReached)
{
    CLogContext context("context", 8192, CLogContext::MallocFunc, CLogContext::FreeFunc);
    ASSERT_LT(context.mHighWater, context.mLowWater);
    context.mDropping = true;
    SetUsed(*context.mBuffer, 6143);
    context.Log(CCat(3), "f");
    EXPECT_FALSE(context.mDropping);
    EXPECT_EQ(UsedIn(*context.mBuffer), 6143u + header(1).Inline("f").Count(0).AsString().size());
}

namespace {

// The two states, told again in the plainest way.
struct ContextModel {
    explicit ContextModel(int ringSize)
        : capacity(static_cast<std::size_t>(ringSize))
        , high(ringSize - 4096)
        , low(ringSize * 3 / 4)
    {
    }

    void Log(int code, const std::string& format)
    {
        const int used = static_cast<int>(ring.size());
        if (code == kRefused) {
            return;
        }
        ++sequence;
        if (dropping && used >= low) {
            return;
        }
        if (!dropping && used >= high) {
            dropping = true;
            Append(header(sequence, static_cast<unsigned char>(code)).Dropped().AsString());
            return;
        }
        dropping = false;
        Append(header(sequence, static_cast<unsigned char>(code)).Inline(format).Count(0).AsString());
    }

    void Append(const std::string& record)
    {
        ring += record.substr(0, capacity - ring.size());
        ++records;
    }

    std::size_t capacity;
    int high;
    int low;
    std::string ring;
    int sequence = 0;
    int records = 0;
    bool dropping = false;
};

void compareWithModel(HSL::CLogManager& manager, int ringSize)
{
    std::mt19937 random(static_cast<unsigned int>(ringSize));
    CLogContext context("context", ringSize, CLogContext::MallocFunc, CLogContext::FreeFunc);
    ContextModel model(ringSize);
    manager.mSequence = 0;
    for (int step = 0; step < 3000; ++step) {
        if (random() % 20 == 0) {
            const unsigned int taken =
                std::min(static_cast<unsigned int>(random() % model.capacity), UsedIn(*context.mBuffer));
            ASSERT_EQ(TakeFrom(*context.mBuffer, taken), model.ring.substr(0, taken));
            model.ring.erase(0, taken);
        }
        const int code = random() % 10 == 0 ? kRefused : static_cast<int>(random() % 7);
        const std::string format(random() % 400, static_cast<char>('a' + step % 26));
        context.Log(CCat(static_cast<unsigned char>(code)), format.c_str());
        model.Log(code, format);
        ASSERT_EQ(BytesIn(*context.mBuffer), model.ring) << "step " << step;
        ASSERT_EQ(manager.mSequence, model.sequence);
        ASSERT_EQ(context.mRecordCount, model.records);
        ASSERT_EQ(context.mDropping, model.dropping);
    }
}

} // namespace

TEST_F(Dropping, RandomCallsFollowTheModel)
{
    for (const int ringSize : { 100, 1000, 4096, 5000, 10000, 16384, 20000, 65536 }) {
        compareWithModel(*mManager, ringSize);
    }
}
