// Free bytes of a ring in one piece, as ring/CircularBufferWriter.h finds them. Not for hosts.
#ifndef KXPL_CIRCULAR_BUFFER_PLACE_H
#define KXPL_CIRCULAR_BUFFER_PLACE_H

#include "../CircularBuffer.h"
#include "KxAtCall.h"
#include "KxAtomic.h"

namespace KXPL {

// Bytes are stored from At() on, where no reader looks. Publish then moves the write position over them, field by
// field, as a write of each field would. Only the ring's writer has one, and writes nothing else meanwhile.
class RingPlace {
public:
    RingPlace() = default; // no place
    RingPlace(cb_control* control, unsigned int offset)
        : mControl(control)
        , mOffset(offset)
    {
    }

    HSL_AT_CALL explicit operator bool() const { return mControl != nullptr; }

    const cb_control* Ring() const { return mControl; }

    // The first byte that is not published.
    HSL_AT_CALL unsigned char* At() const { return reinterpret_cast<unsigned char*>(mControl) + mOffset; }

    HSL_AT_CALL void Publish(unsigned int size)
    {
        mOffset += size;
        // Pair RING-WRITTEN, release: publishes the field's bytes.
        KxStoreRelease(mControl->write_offset, mOffset);
    }

    // Copies as the ring's writes do: more than CCircularBuffer::kLargestPlainCopy bytes by its copy function, if it
    // has one. Takes the ring by itself, so that a place need not lie in memory.
    static void Copy(const cb_control* ring, unsigned char* to, const void* from, unsigned int size);

private:
    cb_control* mControl = nullptr;
    unsigned int mOffset = 0;
};

} // namespace KXPL

#endif
