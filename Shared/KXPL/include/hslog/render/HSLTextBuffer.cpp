#include "HSLTextBuffer.h"

namespace HSL {

void TextBuffer::Grow(std::size_t size)
{
    const std::size_t doubled = 2 * mCapacity;
    const std::size_t needed = mSize + size + 1;
    std::vector<char> larger(doubled > needed ? doubled : needed);
    std::memcpy(larger.data(), mBytes, mSize);
    mLong.swap(larger);
    mBytes = mLong.data();
    mCapacity = mLong.size();
}

} // namespace HSL
