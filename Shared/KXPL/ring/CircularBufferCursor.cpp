#include "CircularBufferCursor.h"

#include <algorithm>

namespace KXPL {

// Loads the writer's position. False: the ring is empty.
bool RingCursor::FindMore()
{
    if (mControl == nullptr) {
        return false;
    }
    if (mNext == RingEnd()) {
        mNext = RingBegin();
    }
    const unsigned char* writer = slotAt(mControl, writerPosition(mControl));
    mKnownEnd = writer >= mNext ? writer : RingEnd();
    return mKnownEnd != mNext;
}

void RingCursor::ReadInPieces(void* destination, std::size_t size)
{
    unsigned char* to = static_cast<unsigned char*>(destination);
    while (size > 0 && (Known() > 0 || FindMore())) {
        const std::size_t piece = std::min(size, Known());
        std::memcpy(to, mNext, piece);
        mNext += piece;
        to += piece;
        size -= piece;
    }
    if (size > 0) {
        mIsMisread = true;
        std::memset(to, 0, size);
    }
}

} // namespace KXPL
