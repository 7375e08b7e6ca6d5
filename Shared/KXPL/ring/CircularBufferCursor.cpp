#include "CircularBufferCursor.h"

#include "detail/KxAtomic.h"

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

void RingCursor::Publish()
{
    if (mControl == nullptr) {
        return;
    }
    if (mNext == RingEnd()) {
        mNext = RingBegin();
        mKnownEnd = mNext;
    }
    const unsigned char* block = reinterpret_cast<const unsigned char*>(mControl);
    // Pair RING-READ, release: gives the slots that were taken back to the writer.
    KxStoreRelease(mControl->read_offset, static_cast<unsigned int>(mNext - block));
}

} // namespace KXPL
