// Random operations on a ring and on a model of it, compared after each.
#include "CircularBuffer.h"

#include "RingModel.h"

#include <gtest/gtest.h>

#include <cstring>
#include <random>
#include <string>
#include <vector>

namespace {

constexpr int kOperations = 130000;
constexpr int kLargestRing = 150;

class Comparison {
public:
    Comparison(int elemSize, unsigned int seed)
        : mElemSize(elemSize)
        , mSeed(seed)
        , mRandom(seed)
        , mModel(0, 1, 0)
    {
        for (int i = 0; i < 64 * 1024; ++i) {
            mNoise += static_cast<char>(mRandom());
        }
        begin();
    }

    void run()
    {
        for (mStep = 0; mStep < kOperations; ++mStep) {
            // A ring whose read position has been moved into the header does not come back by itself.
            if (pick(300) == 0) {
                begin();
            }
            operate();
            ASSERT_EQ(cb_is_full(control()), mModel.isFull() ? 1 : 0) << where();
            ASSERT_EQ(cb_get_num_elem_used(control()), static_cast<unsigned int>(mModel.used())) << where();
            expectSameBlock();
            if (testing::Test::HasFatalFailure()) {
                return;
            }
        }
    }

    bool reflectedReads() const { return mReflectedReads > 0; }
    bool refusedReflections() const { return mRefusedReflections > 0; }

private:
    int pick(int below) { return static_cast<int>(mRandom() % static_cast<unsigned int>(below)); }
    cb_control* control() { return reinterpret_cast<cb_control*>(mMemory.data()); }

    std::string where() const
    {
        return "seed " + std::to_string(mSeed) + ", step " + std::to_string(mStep) + ": " + mOperation;
    }

    void begin()
    {
        mNumElem = pick(2) == 0 ? pick(12) : pick(kLargestRing);
        const unsigned int elemSize = static_cast<unsigned int>(mElemSize);
        const unsigned int numElem = static_cast<unsigned int>(mNumElem);
        mMemory.assign(cb_calc_buffer_size(elemSize, numElem), 0);
        cb_initialize_with_buffer(control(), elemSize, numElem);
        mModel = RingModel(static_cast<int>(control()->start_offset), mElemSize, mNumElem);
        mOperation = "initialize for " + std::to_string(mNumElem);
    }

    // The header as the model has it; its end is padding, which nothing touches.
    std::string modelHeader() const
    {
        cb_control expected = {};
        const int start = mModel.mHeader;
        expected.elem_size = static_cast<unsigned int>(mElemSize);
        expected.num_elem = static_cast<unsigned int>(mNumElem);
        expected.start_offset = static_cast<unsigned int>(start);
        expected.end_offset = static_cast<unsigned int>(start + mNumElem * mElemSize);
        expected.read_offset = static_cast<unsigned int>(start + mModel.mRead * mElemSize);
        expected.write_offset = static_cast<unsigned int>(start + mModel.mWrite * mElemSize);
        expected.copy_func = mModel.mCopies ? CCircularBuffer::CopyFunc : nullptr;
        expected.flags = mModel.mSuppressed ? CB_FLAG_NO_OVERFLOW_ERROR : 0;
        expected.first_error = static_cast<unsigned char>(mModel.mFirstError);
        expected.last_error = static_cast<unsigned char>(mModel.mLastError);
        std::string header(static_cast<std::size_t>(start), '\0');
        std::memcpy(header.data(), &expected, sizeof expected);
        return header;
    }

    void expectSameBlock()
    {
        const cb_control& real = *control();
        const int start = mModel.mHeader;
        ASSERT_EQ(static_cast<int>(real.read_offset), start + mModel.mRead * mElemSize) << where();
        ASSERT_EQ(static_cast<int>(real.write_offset), start + mModel.mWrite * mElemSize) << where();
        ASSERT_EQ(real.first_error, mModel.mFirstError) << where();
        ASSERT_EQ(real.last_error, mModel.mLastError) << where();
        const std::size_t headerSize = static_cast<std::size_t>(start);
        ASSERT_EQ(std::memcmp(mMemory.data(), modelHeader().data(), headerSize), 0) << where();
        ASSERT_EQ(mMemory.size(), headerSize + mModel.mSlots.size());
        ASSERT_EQ(std::memcmp(mMemory.data() + start, mModel.mSlots.data(), mModel.mSlots.size()), 0)
            << where();
    }

    void expectSame(unsigned int code, int count, const RingModel::Result& expected)
    {
        ASSERT_EQ(code, expected.code) << where();
        ASSERT_EQ(count, expected.count) << where();
    }

    // Mostly few, now and then about as many as the ring holds, rarely none or a negative number.
    int pickCount()
    {
        const int kind = pick(20);
        if (kind == 0) {
            return -pick(3);
        }
        return kind < 14 ? pick(6) : pick(mNumElem + 4);
    }

    void operate()
    {
        const int kind = pick(100);
        if (kind < 42) {
            write();
        } else if (kind < 70) {
            read(0, true);
        } else if (kind < 78) {
            read(0, false);
        } else if (kind < 86) {
            read(pick(mModel.used() + 3), false);
        } else if (kind < 89) {
            read(pick(mModel.used() + 3), true);
        } else if (kind < 94) {
            remove();
        } else {
            change();
        }
    }

    void write()
    {
        int count = pickCount();
        mOperation = "write " + std::to_string(count);
        const std::size_t size = count > 0 ? static_cast<std::size_t>(count * mElemSize) : 0;
        // A block of its own, so that AddressSanitizer sees a read past the offer.
        const std::string data = mNoise.substr(static_cast<std::size_t>(pick(40000)), size);
        const RingModel::Result expected = mModel.write(data, count);
        // The class has ways of its own through the commonest cases.
        mRing.mControl = control();
        const unsigned int code =
            pick(2) == 0 ? cb_write(control(), data.data(), &count) : mRing.Write(data.data(), count);
        mRing.mControl = nullptr;
        expectSame(code, count, expected);
    }

    void read(int index, bool consume)
    {
        int count = pickCount();
        mOperation =
            std::string(consume ? "read " : "peek ") + std::to_string(count) + " from " + std::to_string(index);
        mModel.mHeaderBytes = modelHeader();
        if (mModel.mRead != mModel.mWrite && index <= mModel.used() && mModel.mRead + index > mNumElem) {
            ++(mModel.mHeader < (mModel.mRead + index - mNumElem) * mElemSize ? mRefusedReflections
                                                                              : mReflectedReads);
        }
        const RingModel::Result expected = mModel.read(index, count, consume);
        std::string room(expected.data.size() + 1, '#');
        mRing.mControl = control();
        const unsigned int code = consume && index == 0 && pick(2) == 0
            ? mRing.Read(room.data(), count)
            : cb_read_ex(control(), static_cast<unsigned int>(index), room.data(), &count,
                         consume ? CB_READ_CONSUME : 0);
        mRing.mControl = nullptr;
        expectSame(code, count, expected);
        ASSERT_EQ(room, expected.data + '#') << where();
    }

    void remove()
    {
        int count = pickCount();
        mOperation = "remove " + std::to_string(count);
        const RingModel::Result expected = mModel.remove(count);
        const unsigned int code = cb_remove(control(), &count);
        expectSame(code, count, expected);
    }

    void change()
    {
        switch (pick(4)) {
        case 0:
            mOperation = "clear errors";
            ASSERT_EQ(cb_clear_errors(control()), mModel.clearErrors()) << where();
            break;
        case 1:
            mOperation = "suppress overflow";
            mModel.mSuppressed = true;
            cb_set_flags(control(), CB_FLAG_NO_OVERFLOW_ERROR);
            break;
        case 2:
            mOperation = "record overflow";
            mModel.mSuppressed = false;
            cb_clear_flags(control(), CB_FLAG_NO_OVERFLOW_ERROR);
            break;
        default:
            mOperation = "toggle the copy function";
            mModel.mCopies = !mModel.mCopies;
            cb_set_copy_func(control(), mModel.mCopies ? CCircularBuffer::CopyFunc : nullptr);
        }
    }

    int mElemSize;
    unsigned int mSeed;
    std::mt19937 mRandom;
    RingModel mModel;
    std::string mNoise;
    std::vector<unsigned char> mMemory;
    CCircularBuffer mRing; // lent the block for a call
    int mNumElem = 0;
    int mStep = -1;
    int mReflectedReads = 0;
    int mRefusedReflections = 0;
    std::string mOperation;
};

class CircularBufferModel : public testing::TestWithParam<int> { };

std::string nameOf(const testing::TestParamInfo<int>& info)
{
    return "ElementsOf" + std::to_string(info.param);
}

} // namespace

TEST_P(CircularBufferModel, RandomOperationsAgree)
{
    Comparison comparison(GetParam(), 20240611u + static_cast<unsigned int>(GetParam()));
    comparison.run();
    // Else the odd starts were not among what was compared. An element larger than the header leaves no start
    // inside it.
    EXPECT_EQ(comparison.reflectedReads(), static_cast<unsigned int>(GetParam()) <= cb_calc_buffer_size(0, 0));
    EXPECT_TRUE(comparison.refusedReflections());
}

INSTANTIATE_TEST_SUITE_P(Sizes, CircularBufferModel, testing::Values(1, 2, 3, 4, 8, 16, 31, 33, 48, 100),
                         nameOf);
