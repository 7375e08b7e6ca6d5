#include "RingModel.h"

#include <algorithm>
#include <cstddef>

RingModel::RingModel(int header, int elemSize, int numElem)
    : mSlots(static_cast<std::size_t>((numElem + 1) * elemSize), '\0')
    , mHeader(header)
    , mElemSize(elemSize)
    , mLast(numElem)
{
}

void RingModel::record(unsigned int code)
{
    mLastError = code;
    if (mFirstError == 0) {
        mFirstError = code;
    }
}

void RingModel::recordOverflow()
{
    if (!mSuppressed) {
        record(2);
    }
}

bool RingModel::isFull() const
{
    return mWrite + 1 == mRead || (mRead == 0 && mWrite == mLast);
}

int RingModel::used() const
{
    return mWrite >= mRead ? mWrite - mRead : mWrite - mRead + mLast + 1;
}

unsigned int RingModel::clearErrors()
{
    const unsigned int first = mFirstError;
    mFirstError = 0;
    mLastError = 0;
    return first;
}

// Puts elements `from` and following into the slots from the write position on and moves it.
int RingModel::store(const std::string& data, int from, int count)
{
    for (int i = 0; i < count; ++i) {
        mSlots.replace(static_cast<std::size_t>(mWrite * mElemSize), static_cast<std::size_t>(mElemSize), data,
                       static_cast<std::size_t>((from + i) * mElemSize), static_cast<std::size_t>(mElemSize));
        mWrite = mWrite == mLast ? 0 : mWrite + 1;
    }
    return count;
}

RingModel::Result RingModel::write(const std::string& data, int count)
{
    if (isFull()) {
        recordOverflow();
        return { mLastError, 0, "" };
    }
    if (mCopies && count * mElemSize > 32) {
        return writeInPieces(data, count);
    }
    int stored = 0;
    while (stored < count && !isFull()) {
        stored += store(data, stored, 1);
    }
    if (stored < count) {
        recordOverflow();
    }
    return { mLastError, stored, "" };
}

RingModel::Result RingModel::writeInPieces(const std::string& data, int count)
{
    int stored = 0;
    if (mWrite >= mRead) {
        const int slotsToTheEnd = mLast - mWrite + (mRead == 0 ? 0 : 1);
        stored = store(data, 0, std::min(count, slotsToTheEnd));
    }
    if (stored < count && mWrite < mRead) {
        stored += store(data, stored, std::min(count - stored, mRead - mWrite - 1));
        if (stored < count) {
            recordOverflow();
        }
    }
    return { mLastError, stored, "" };
}

std::string RingModel::elementAt(int slot) const
{
    const int offset = slot * mElemSize;
    const std::size_t size = static_cast<std::size_t>(mElemSize);
    return slot < 0 ? mHeaderBytes.substr(static_cast<std::size_t>(mHeader + offset), size)
                    : mSlots.substr(static_cast<std::size_t>(offset), size);
}

RingModel::Result RingModel::read(long long index, int count, bool consume)
{
    if (mRead == mWrite) {
        return { mLastError, 0, "" };
    }
    int slot = mRead;
    if (index > 0) {
        const long long skipped = mRead + index;
        const long long start = skipped > mLast ? mLast - skipped : skipped;
        if (index > used() || mHeader + start * mElemSize < 0) {
            record(3);
            return { 3, count, "" };
        }
        slot = static_cast<int>(start);
    }
    std::string data;
    int copied = 0;
    while (copied < count && slot != mWrite) {
        data += elementAt(slot);
        slot = slot == mLast ? 0 : slot + 1;
        ++copied;
    }
    if (consume) {
        mRead = slot;
    }
    return { mLastError, copied, data };
}

RingModel::Result RingModel::remove(int count)
{
    if (mRead == mWrite) {
        return { mLastError, 0, "" };
    }
    if (count >= 0) {
        int slot = mRead + count;
        if (slot > mLast) {
            slot -= mLast;
        }
        mRead = std::min(slot, mWrite);
    }
    return { mLastError, count, "" };
}
