// What the ring's writing and reading sides share.
#ifndef KXPL_CIRCULAR_BUFFER_POSITIONS_H
#define KXPL_CIRCULAR_BUFFER_POSITIONS_H

#include "CircularBuffer.h"
#include "detail/KxAtomic.h"

namespace KXPL {

inline unsigned char* slotAt(cb_control* control, unsigned int offset)
{
    return reinterpret_cast<unsigned char*>(control) + offset;
}

// Both sides may record, so the two bytes are relaxed atomics; they publish nothing but themselves.
inline void recordError(cb_control* control, unsigned char code)
{
    KxStoreRelaxed(control->last_error, code);
    if (KxLoadRelaxed(control->first_error) == CB_OK) {
        KxStoreRelaxed(control->first_error, code);
    }
}

inline unsigned int lastError(const cb_control* control)
{
    return KxLoadRelaxed(control->last_error);
}

inline void recordOverflow(cb_control* control)
{
    if ((KxLoadRelaxed(control->flags) & CB_FLAG_NO_OVERFLOW_ERROR) == 0) {
        recordError(control, CB_ERR_OVERFLOW);
    }
}

inline bool isFull(const cb_control* control, unsigned int readOffset, unsigned int writeOffset)
{
    return writeOffset == readOffset - control->elem_size
        || (writeOffset == control->end_offset && readOffset == control->start_offset);
}

inline unsigned int bytesUsed(const cb_control* control, unsigned int readOffset, unsigned int writeOffset)
{
    if (writeOffset >= readOffset) {
        return writeOffset - readOffset;
    }
    return writeOffset - readOffset + control->end_offset + control->elem_size - control->start_offset;
}

inline unsigned int numElemUsed(const cb_control* control, unsigned int readOffset, unsigned int writeOffset)
{
    const unsigned int bytes = bytesUsed(control, readOffset, writeOffset);
    return bytes == 0 ? 0 : bytes / control->elem_size;
}

// Pair RING-READ, acquire: the slots in front of it have been read and may be overwritten.
inline unsigned int readerPosition(const cb_control* control)
{
    return KxLoadAcquire(control->read_offset);
}

// Pair RING-WRITTEN, acquire: the bytes in front of it are visible.
inline unsigned int writerPosition(const cb_control* control)
{
    return KxLoadAcquire(control->write_offset);
}

} // namespace KXPL

#endif
