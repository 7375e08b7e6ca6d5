// A reader's place in a ring of bytes, for a reader that takes many small fields in a row.
#ifndef KXPL_CIRCULAR_BUFFER_CURSOR_H
#define KXPL_CIRCULAR_BUFFER_CURSOR_H

#include "CircularBuffer.h"
#include "CircularBufferPositions.h"

#include <cstddef>
#include <cstring>

namespace KXPL {

// Takes what cb_read would take, in the same order, with two differences that make it quick: the writer's
// position is loaded only when the bytes known of are used up, and the reader's own position is stored only by
// Publish. Both positions share a cache line with each other, so each load and store that is saved spares the
// writing thread a miss.
//
// Until Publish the ring counts the bytes taken as unread: the writer leaves them alone, and any other reader
// finds them again. While a cursor is in use it is the ring's only reader. Forgetting to publish loses nothing
// but takes the same bytes twice.
class RingCursor {
public:
    RingCursor() = default;
    // A null control block, and a ring whose elements are not single bytes, read as an empty ring.
    explicit RingCursor(cb_control* control)
    {
        if (control == nullptr || control->elem_size != 1) {
            return;
        }
        mControl = control;
        mNext = slotAt(control, control->read_offset);
        mKnownEnd = mNext;
    }

    const cb_control* Control() const { return mControl; }

    // Takes `size` bytes. Where the ring holds fewer, the rest of the destination becomes zero.
    void Read(void* destination, std::size_t size)
    {
        if (size <= Known()) {
            // NOLINTNEXTLINE(clang-analyzer-core.NonNullParamChecker): never null, see kNothing
            std::memcpy(destination, mNext, size);
            mNext += size;
            return;
        }
        ReadInPieces(destination, size);
    }

    // Takes `size` bytes and returns where they lie, in the ring itself, untouched until Publish. Null, with
    // nothing taken, when they do not lie in one piece or are not all there.
    const unsigned char* TakeInPlace(std::size_t size)
    {
        if (size > Known() && (!FindMore() || size > Known())) {
            return nullptr;
        }
        const unsigned char* run = mNext;
        mNext += size;
        return run;
    }

    // Takes as many bytes as the buffer has, as Read does, and returns where they lie: in the ring itself,
    // untouched until Publish, or in the buffer.
    template <std::size_t Size> const unsigned char* Take(unsigned char (&buffer)[Size])
    {
        if (Size <= Known()) {
            mNext += Size;
            return mNext - Size;
        }
        ReadInPieces(buffer, Size);
        return buffer;
    }

    // Hands what was taken back to the writer.
    void Publish()
    {
        if (mControl != nullptr) {
            // Pair RING-READ, release: gives the slots that were taken back to the writer.
            KxStoreRelease(mControl->read_offset, Offset());
        }
    }

    // The read position that Publish would store; 0 without a ring.
    unsigned int Offset() const
    {
        if (mControl == nullptr) {
            return 0;
        }
        const unsigned char* block = reinterpret_cast<const unsigned char*>(mControl);
        return mNext == RingEnd() ? mControl->start_offset : static_cast<unsigned int>(mNext - block);
    }

    // Whether more was read than there was, or a reader found that what it took makes no sense.
    bool IsMisread() const { return mIsMisread; }
    void SetMisread() { mIsMisread = true; }

private:
    // Where a cursor without a ring stands: memcpy from null is undefined even for 0 bytes (C17 7.1.4).
    static constexpr unsigned char kNothing[1] = {};

    std::size_t Known() const { return static_cast<std::size_t>(mKnownEnd - mNext); }

    const unsigned char* RingBegin() const { return slotAt(mControl, mControl->start_offset); }
    const unsigned char* RingEnd() const { return slotAt(mControl, mControl->end_offset) + 1; }

    bool FindMore();
    void ReadInPieces(void* destination, std::size_t size);

    cb_control* mControl = nullptr;
    const unsigned char* mNext = kNothing; // the next byte to take; one past the last slot counts as the first
    const unsigned char* mKnownEnd = kNothing; // end of the contiguous bytes that are known to be published
    bool mIsMisread = false;
};

} // namespace KXPL

#endif
