// The writer's view of a ring of bytes: how much it holds, and where a whole record has its place.
#ifndef KXPL_CIRCULAR_BUFFER_WRITER_H
#define KXPL_CIRCULAR_BUFFER_WRITER_H

#include "CircularBufferPositions.h"

#include "CircularBuffer.h"
#include "detail/CircularBufferPlace.h"

namespace KXPL {

// Looks at both positions once, when it is made; the reader may have moved on since, so that there is more room than it
// tells, never less. For the writing thread, which must not write while it uses one.
class RingWriter {
public:
    // Without a control block a ring holds nothing and has no room.
    explicit RingWriter(cb_control* control)
        : mControl(control)
        , mOffset(control != nullptr ? control->write_offset : 0)
        , mUsed(control != nullptr ? UsedIn(control, mOffset) : 0)
    {
    }

    static bool IsOfBytes(const cb_control* control) { return control != nullptr && control->elem_size == 1; }

    explicit operator bool() const { return mControl != nullptr; }

    // Elements.
    unsigned int Used() const { return mUsed; }
    unsigned int Free() const { return mControl != nullptr ? mControl->num_elem - mUsed : 0; }

    // Where the next element goes; 0 without a ring.
    unsigned int Position() const { return mOffset; }

    // So many bytes that are free and lie in one piece, so that the position only grows over them; or no place. Only
    // of a ring of bytes.
    RingPlace Place(unsigned int size) const
    {
        const bool fits = mUsed + size <= mControl->num_elem && mOffset + size <= mControl->end_offset;
        return fits ? RingPlace(mControl, mOffset) : RingPlace();
    }

private:
    static unsigned int UsedIn(cb_control* control, unsigned int offset)
    {
        return control->elem_size == 1 ? bytesUsed(control, readerPosition(control), offset)
                                       : cb_get_num_elem_used(control);
    }

    cb_control* mControl;
    unsigned int mOffset;
    unsigned int mUsed;
};

} // namespace KXPL

#endif
