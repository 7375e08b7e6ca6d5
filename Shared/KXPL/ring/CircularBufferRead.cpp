// The reading side of the ring.
#include "CircularBuffer.h"

#include "CircularBufferPositions.h"
#include "detail/KxAtomic.h"
#include "KxShortBytes.h"

#include <algorithm>
#include <cstdint>

using namespace KXPL;

namespace {

// Finds where a read that skips `index` elements begins. False: nothing may be read.
bool findReadStart(const cb_control* control, unsigned int index, unsigned int readOffset,
                   unsigned int writeOffset, unsigned int* start)
{
    if (numElemUsed(control, readOffset, writeOffset) < index) {
        return false;
    }
    const std::uint32_t skipped = index * control->elem_size;
    std::int64_t position = static_cast<std::int64_t>(readOffset) + skipped;
    if (position > control->end_offset) {
        position = static_cast<std::int64_t>(control->start_offset) + control->end_offset - position;
    }
    if (position < 0) {
        return false;
    }
    *start = static_cast<unsigned int>(position);
    return true;
}

// Copies one slot in front of the ring's first. Its bytes, parts of the control block, are loaded one by one as
// atomics, because a reflected start makes them part of the "data" while a writer may be storing its position
// there.
void copyHeaderSlot(cb_control* control, unsigned int offset, unsigned char* to)
{
    const unsigned char* from = slotAt(control, offset);
    for (unsigned int i = 0; i < control->elem_size; ++i) {
        to[i] = KxLoadRelaxed(from[i]);
    }
}

// How many elements lie in one piece from the position to the writer's, or to the end of the ring.
unsigned int elementsInOnePiece(const cb_control* control, unsigned int position, unsigned int writeOffset)
{
    const unsigned int elemSize = control->elem_size;
    const unsigned int end = writeOffset > position ? writeOffset : control->end_offset + elemSize;
    return elemSize == 1 ? end - position : (end - position) / elemSize;
}

// Copies elements from the reader's position on, and consumes them, where they are all there and lie in one
// piece. False, with nothing done, where they are not. It does what the loop in cb_read_ex would do.
bool readOnePiece(cb_control* control, unsigned int readOffset, unsigned int writeOffset, void* destination,
                  int count)
{
    const unsigned int elemSize = control->elem_size;
    const std::uint64_t bytes = static_cast<std::uint64_t>(count) * elemSize;
    const unsigned int end = writeOffset > readOffset ? writeOffset : control->end_offset + elemSize;
    if (count <= 0 || readOffset < control->start_offset || bytes > end - readOffset) {
        return false;
    }
    copyShort(destination, slotAt(control, readOffset), static_cast<std::size_t>(bytes));
    const unsigned int position = readOffset + static_cast<unsigned int>(bytes);
    // Pair RING-READ, release: gives the slots that were copied back to the writer.
    KxStoreRelease(control->read_offset, position > control->end_offset ? control->start_offset : position);
    return true;
}

} // namespace

unsigned int cb_read_ex(cb_control* control, unsigned int index, void* destination, int* count, int options)
{
    if (control == nullptr) {
        return CB_ERR_NULL;
    }
    const unsigned int readOffset = control->read_offset;
    unsigned int writeOffset = writerPosition(control);
    if (readOffset == writeOffset) {
        *count = 0;
        return lastError(control);
    }
    if (index == 0 && (options & CB_READ_CONSUME) != 0
        && readOnePiece(control, readOffset, writeOffset, destination, *count)) {
        return lastError(control);
    }
    unsigned int position = readOffset;
    if (index > 0 && !findReadStart(control, index, readOffset, writeOffset, &position)) {
        recordError(control, CB_ERR_NOT_ENOUGH_DATA);
        return CB_ERR_NOT_ENOUGH_DATA;
    }
    unsigned char* to = static_cast<unsigned char*>(destination);
    int copied = 0;
    // Loading the writer's position once for each contiguous run equals loading it before each element: the elements
    // of a run had been published when the run was measured.
    while (copied < *count && position != writeOffset) {
        unsigned int elements = 1;
        if (position < control->start_offset) {
            copyHeaderSlot(control, position, to);
        } else {
            const unsigned int wanted = static_cast<unsigned int>(*count - copied);
            const unsigned int inOnePiece = elementsInOnePiece(control, position, writeOffset);
            elements = wanted < inOnePiece ? wanted : inOnePiece;
            copyShort(to, slotAt(control, position), elements * control->elem_size);
        }
        const unsigned int bytes = elements * control->elem_size;
        to += bytes;
        position += bytes;
        if (position > control->end_offset) {
            position = control->start_offset;
        }
        copied += static_cast<int>(elements);
        if (copied < *count) {
            writeOffset = writerPosition(control);
        }
    }
    if ((options & CB_READ_CONSUME) != 0) {
        // Pair RING-READ, release: gives the slots that were copied or skipped back to the writer.
        KxStoreRelease(control->read_offset, position);
    }
    *count = copied;
    return lastError(control);
}

unsigned int cb_read(cb_control* control, void* destination, int* count)
{
    return cb_read_ex(control, 0, destination, count, CB_READ_CONSUME);
}

unsigned int cb_peek(cb_control* control, unsigned int index, void* destination, int* count)
{
    return cb_read_ex(control, index, destination, count, 0);
}

unsigned int cb_remove(cb_control* control, int* count)
{
    if (control == nullptr) {
        return CB_ERR_NULL;
    }
    const unsigned int readOffset = control->read_offset;
    const unsigned int writeOffset = writerPosition(control);
    if (readOffset == writeOffset) {
        *count = 0;
        return lastError(control);
    }
    if (*count < 0) {
        return lastError(control);
    }
    const std::uint64_t elemSize = control->elem_size;
    std::uint64_t position = readOffset + static_cast<std::uint64_t>(*count) * elemSize;
    if (position > control->end_offset) {
        // The capacity, one slot less than the ring has.
        position -= control->num_elem * elemSize;
    }
    // Pair RING-READ, release: gives the slots that were discarded back to the writer.
    KxStoreRelease(control->read_offset,
                   static_cast<unsigned int>(std::min<std::uint64_t>(position, writeOffset)));
    return lastError(control);
}
