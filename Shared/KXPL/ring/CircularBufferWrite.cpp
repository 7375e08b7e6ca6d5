// The writing side of the ring.
#include "CircularBuffer.h"

#include "CircularBufferPositions.h"
#include "detail/KxAtomic.h"

#include <cstdint>

using namespace KXPL;

namespace {

// Bytes of `count` elements in 32-bit arithmetic. Where the product wraps, whole elements are kept so that
// the write position never leaves the grid of slots.
std::uint32_t bytesOffered(const cb_control* control, int count)
{
    const std::uint64_t exact = static_cast<std::uint64_t>(count) * control->elem_size;
    const std::uint32_t wrapped = static_cast<std::uint32_t>(exact);
    return exact == wrapped ? wrapped : wrapped - wrapped % control->elem_size;
}

// The bulk path: the copy function moves at most two pieces, to the end of the ring and then from its start.
unsigned int writeInPieces(cb_control* control, const void* source, int* count, std::uint32_t bytes)
{
    const unsigned int elemSize = control->elem_size;
    const unsigned int readOffset = readerPosition(control);
    const unsigned char* from = static_cast<const unsigned char*>(source);
    unsigned int writeOffset = control->write_offset;
    int written = 0;

    if (writeOffset >= readOffset) {
        // The last slot must stay free while the reader stands at the first one.
        const unsigned int lastSlot = readOffset != control->start_offset ? elemSize : 0;
        const std::uint32_t room = control->end_offset - writeOffset + lastSlot;
        const std::uint32_t chunk = bytes < room ? bytes : room;
        control->copy_func(slotAt(control, writeOffset), from, chunk);
        writeOffset += chunk;
        if (writeOffset > control->end_offset) {
            writeOffset = control->start_offset;
        }
        written = static_cast<int>(chunk / elemSize);
        from += chunk;
        bytes -= chunk;
    }
    // When the write position is not below the reader here, the ring is filled up to its last slot and the
    // shortfall is deliberately not recorded.
    if (written < *count && writeOffset < readOffset) {
        const std::uint32_t room = readOffset - writeOffset - elemSize;
        const std::uint32_t chunk = bytes < room ? bytes : room;
        control->copy_func(slotAt(control, writeOffset), from, chunk);
        writeOffset += chunk;
        written += static_cast<int>(chunk / elemSize);
        if (written < *count) {
            recordOverflow(control);
        }
    }
    // Pair RING-WRITTEN, release: publishes the bytes copied above.
    KxStoreRelease(control->write_offset, writeOffset);
    *count = written;
    return lastError(control);
}

unsigned int writeElements(cb_control* control, const void* source, int* count)
{
    const unsigned int elemSize = control->elem_size;
    const unsigned char* from = static_cast<const unsigned char*>(source);
    unsigned int writeOffset = control->write_offset;
    int written = 0;

    while (written < *count) {
        if (isFull(control, readerPosition(control), writeOffset)) {
            recordOverflow(control);
            break;
        }
        unsigned char* to = slotAt(control, writeOffset);
        for (unsigned int i = 0; i < elemSize; ++i) {
            to[i] = *from++;
        }
        writeOffset += elemSize;
        if (writeOffset > control->end_offset) {
            writeOffset = control->start_offset;
        }
        ++written;
    }
    // Pair RING-WRITTEN, release: publishes the bytes copied above.
    KxStoreRelease(control->write_offset, writeOffset);
    *count = written;
    return lastError(control);
}

} // namespace

unsigned int cb_write(cb_control* control, const void* source, int* count)
{
    if (control == nullptr) {
        return CB_ERR_NULL;
    }
    if (isFull(control, readerPosition(control), control->write_offset)) {
        *count = 0;
        recordOverflow(control);
        return lastError(control);
    }
    if (*count > 0) {
        const std::uint32_t bytes = bytesOffered(control, *count);
        if (control->copy_func != nullptr && bytes > CCircularBuffer::kLargestPlainCopy) {
            return writeInPieces(control, source, count, bytes);
        }
    }
    return writeElements(control, source, count);
}
