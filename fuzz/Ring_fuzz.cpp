// Operations on a ring and on a model of it, compared after each.
//
// Input: element size, capacity (2 bytes), then operations: a kind, a count and, where there is one, an index.
#include "CircularBuffer.h"

#include "FuzzTarget.h"
#include "RingModel.h"

#include <cstring>
#include <vector>

namespace {

constexpr unsigned int kLargestElement = 70;
constexpr unsigned int kLargestCapacity = 400;
constexpr int kMostOperations = 400;

class Comparison {
public:
    Comparison(unsigned int elemSize, unsigned int numElem)
        : mElemSize(static_cast<int>(elemSize))
        , mMemory(cb_calc_buffer_size(elemSize, numElem), 0)
        , mModel(0, 1, 0)
    {
        fuzzRequire(cb_initialize_with_buffer(Control(), elemSize, numElem) == CB_OK, "initialize");
        mModel = RingModel(static_cast<int>(Control()->start_offset), mElemSize, static_cast<int>(numElem));
    }

    void Operate(FuzzInput& input)
    {
        const unsigned int kind = input.Byte();
        const bool byClass = kind >= 128;
        switch (kind % 8) {
        case 0:
        case 1:
            return Write(Count(input), byClass);
        case 2:
        case 3:
            return Read(0, Count(input), true, byClass);
        case 4:
            return Read(Index(input), Count(input), true, false);
        case 5:
            return Read(Index(input), Count(input), false, byClass);
        case 6:
            return Remove(Count(input), byClass);
        default:
            return Change(input.Byte(), byClass);
        }
    }

    void RequireSame()
    {
        fuzzRequire(cb_is_full(Control()) == (mModel.isFull() ? 1 : 0), "cb_is_full");
        fuzzRequire(cb_get_num_elem_used(Control()) == static_cast<unsigned int>(mModel.used()), "used");
        const std::size_t header = static_cast<std::size_t>(mModel.mHeader);
        fuzzRequire(std::memcmp(mMemory.data(), ModelHeader().data(), header) == 0, "the header");
        fuzzRequire(std::memcmp(mMemory.data() + header, mModel.mSlots.data(), mModel.mSlots.size()) == 0,
                    "the slots");
    }

private:
    cb_control* Control() { return reinterpret_cast<cb_control*>(mMemory.data()); }

    // Lends the block to an object for one call.
    template <typename Call> unsigned int ByClass(Call call)
    {
        CCircularBuffer ring;
        ring.mControl = Control();
        const unsigned int code = call(ring);
        ring.mControl = nullptr;
        return code;
    }

    static int Count(FuzzInput& input)
    {
        const int count = input.SignedByte();
        return count >= -8 ? count : static_cast<int>(input.Two() % 1024);
    }

    // About as many as are stored, so that most are valid and those just behind are met too.
    unsigned int Index(FuzzInput& input)
    {
        const unsigned int used = static_cast<unsigned int>(mModel.used());
        return input.Two() % (used + 3);
    }

    // Its end is padding, which nothing touches.
    std::string ModelHeader() const
    {
        cb_control expected = {};
        const int start = mModel.mHeader;
        expected.elem_size = static_cast<unsigned int>(mElemSize);
        expected.num_elem = static_cast<unsigned int>(mModel.mLast);
        expected.start_offset = static_cast<unsigned int>(start);
        expected.end_offset = static_cast<unsigned int>(start + mModel.mLast * mElemSize);
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

    static void RequireResult(unsigned int code, int count, const RingModel::Result& expected)
    {
        fuzzRequire(code == expected.code, "the code");
        fuzzRequire(count == expected.count, "the count");
    }

    void Write(int count, bool byClass)
    {
        // In a block of its own, so that a read past the offer is seen.
        std::vector<char> offer(count > 0 ? static_cast<std::size_t>(count * mElemSize) : 0);
        for (char& byte : offer) {
            byte = static_cast<char>(++mNextByte);
        }
        const RingModel::Result expected = mModel.write(std::string(offer.begin(), offer.end()), count);
        const unsigned int code = byClass
            ? ByClass([&](CCircularBuffer& ring) { return ring.Write(offer.data(), count); })
            : cb_write(Control(), offer.data(), &count);
        RequireResult(code, count, expected);
    }

    void Read(unsigned int index, int count, bool consume, bool byClass)
    {
        mModel.mHeaderBytes = ModelHeader();
        const RingModel::Result expected = mModel.read(index, count, consume);
        std::vector<char> room(expected.data.size());
        const unsigned int code = byClass
            ? ByClass([&](CCircularBuffer& ring) {
                  return consume ? ring.Read(room.data(), count) : ring.Peek(index, room.data(), count);
              })
            : cb_read_ex(Control(), index, room.data(), &count, consume ? CB_READ_CONSUME : 0);
        RequireResult(code, count, expected);
        fuzzRequire(std::string(room.begin(), room.end()) == expected.data, "the data");
    }

    void Remove(int count, bool byClass)
    {
        const RingModel::Result expected = mModel.remove(count);
        const unsigned int code = byClass ? ByClass([&](CCircularBuffer& ring) { return ring.Remove(count); })
                                          : cb_remove(Control(), &count);
        RequireResult(code, count, expected);
    }

    void Change(unsigned int what, bool byClass)
    {
        switch (what % 3) {
        case 0:
            fuzzRequire(cb_clear_errors(Control()) == mModel.clearErrors(), "cb_clear_errors");
            break;
        case 1:
            mModel.mSuppressed = byClass;
            byClass ? cb_set_flags(Control(), CB_FLAG_NO_OVERFLOW_ERROR)
                    : cb_clear_flags(Control(), CB_FLAG_NO_OVERFLOW_ERROR);
            break;
        default:
            mModel.mCopies = byClass;
            cb_set_copy_func(Control(), byClass ? CCircularBuffer::CopyFunc : nullptr);
        }
    }

    int mElemSize;
    std::vector<unsigned char> mMemory;
    RingModel mModel;
    unsigned char mNextByte = 0;
};

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    FuzzInput input(data, size);
    const unsigned int elemSize = 1 + input.Byte() % kLargestElement;
    Comparison comparison(elemSize, input.Two() % kLargestCapacity);
    for (int i = 0; i < kMostOperations && !input.AtEnd(); ++i) {
        comparison.Operate(input);
        comparison.RequireSame();
    }
    return 0;
}
