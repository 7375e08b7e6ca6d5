// A fixed-capacity ring of fixed-size elements in one block of memory: a control block followed by
// num_elem + 1 slots, one of which always stays free so that full and empty differ.
//
// Threads: one writer and one reader at a time, without a lock. The writer stores only write_offset and
// the reader only read_offset. Either side may record an error. Everything else (cb_remove, cb_destroy,
// cb_set_*, cb_clear_*) belongs to the reader or to a time when nobody else uses the ring.
//
// Errors are sticky: read, peek, write and remove return the most recent error recorded since the last
// cb_clear_errors, so a call that succeeded still returns an older error. Look at *count to learn what a
// call did.
//
// Usable from C and C++; the class at the end is C++ only.
#ifndef KXPL_CIRCULAR_BUFFER_H
#define KXPL_CIRCULAR_BUFFER_H

#include "detail/KxHost.h"

#ifdef __cplusplus
extern "C" {
#endif

// Allocates size bytes, aligned for any object; null when it cannot.
typedef void* (*cb_malloc_func)(int size);
// Releases a block that the matching cb_malloc_func returned; size is the block's whole size in bytes.
typedef void (*cb_free_func)(void* block, int size);
// Copies size bytes between areas that do not overlap and returns destination. May be called with size 0.
typedef void* (*cb_copy_func)(void* destination, const void* source, unsigned long size);

// Result codes. They are stored in one byte and returned as unsigned int.
enum {
    CB_OK = 0,
    CB_ERR_ALLOC = 1,           // returned only, never recorded
    CB_ERR_OVERFLOW = 2,        // a write could not store everything it was offered
    CB_ERR_NOT_ENOUGH_DATA = 3, // a start index beyond the stored elements, or before the block
    CB_ERR_NULL = 4             // no control block; returned only, never recorded
};

// Bits of cb_control::flags.
enum {
    CB_FLAG_OWNS_MEMORY = 1,      // set by cb_initialize: cb_destroy releases the block
    CB_FLAG_NO_OVERFLOW_ERROR = 2 // a write that cannot store everything records nothing
};

// Option of cb_read_ex: the read position moves past what was skipped and copied.
enum {
    CB_READ_CONSUME = 1
};

// Positions are byte offsets from the control block's own address, never pointers.
//
// read_offset and write_offset lie in one cache line, so a reader and a writer that work at the same time
// pass that line to and fro; the order of the fields is part of the interface and stays.
typedef struct cb_control {
    unsigned int elem_size;     // bytes per element; 0 must not be used
    unsigned int num_elem;      // capacity in elements
    unsigned int start_offset;  // first slot; equal to the header size
    unsigned int end_offset;    // last slot, not one past it
    unsigned int read_offset;   // oldest stored element
    unsigned int write_offset;  // slot that the next element goes to
    cb_malloc_func malloc_func; // null when the caller supplied the memory
    cb_free_func free_func;     // likewise
    cb_copy_func copy_func;     // null: writes copy byte by byte
    unsigned char flags;        // CB_FLAG_ bits
    unsigned char first_error;  // first code recorded since the last clear
    unsigned char last_error;   // most recent code recorded
} cb_control;

// Bytes that a ring needs, header included: (numElem + 1) * elemSize + header, in 32-bit arithmetic that
// wraps. The header is the control block padded to a multiple of 16: 64 bytes in a 64-bit build, 48 in a
// 32-bit one.
unsigned int cb_calc_buffer_size(unsigned int elemSize, unsigned int numElem);

// Allocates and prepares a ring. On failure *out is null and the result CB_ERR_ALLOC; a size that does not
// fit the allocator's signed int counts as a failure. A null `out` gives CB_ERR_NULL.
unsigned int cb_initialize(cb_control** out, unsigned int elemSize, unsigned int numElem,
                           cb_malloc_func mallocFunc, cb_free_func freeFunc);

// Prepares a ring in the caller's memory of at least cb_calc_buffer_size bytes, aligned like a pointer. The
// caller keeps the memory and must choose sizes for which that calculation does not wrap.
unsigned int cb_initialize_with_buffer(cb_control* memory, unsigned int elemSize, unsigned int numElem);

// Zeroes the control block, then releases the block if cb_initialize made it. A stale pointer to a ring in
// the caller's memory reads as an empty ring of element size 0 afterwards.
unsigned int cb_destroy(cb_control* control);

// Null: copy byte by byte, as at first.
unsigned int cb_set_copy_func(cb_control* control, cb_copy_func copyFunc);
// Set, and clear, the bits that are named.
unsigned int cb_set_flags(cb_control* control, unsigned char bits);
unsigned int cb_clear_flags(cb_control* control, unsigned char bits);
// The flags, or 4 without a control block, which cannot be told from flags of value 4.
unsigned int cb_get_flags(cb_control* control);
// Returns the first error recorded since the last clear and forgets both errors.
unsigned int cb_clear_errors(cb_control* control);

// 1 when full, else 0; 0 without a control block.
int cb_is_full(cb_control* control);
// Number of stored elements, or 4 without a control block, which cannot be told from four elements. Exact
// for the thread that asks about its own side; a concurrent other side may change it at once.
unsigned int cb_get_num_elem_used(cb_control* control);

// Stores up to *count elements; *count tells how many were. Never overwrites unread data. *count must not be
// null; a negative *count stores nothing.
//
// With a copy function and more than 32 bytes offered the copy function does the work in at most two pieces.
// In that case only, a ring that fills up to its last slot while the reader stands at the first slot is cut
// short silently: *count tells, but no error is recorded.
unsigned int cb_write(cb_control* control, const void* source, int* count);

// Copies up to *count elements starting `index` elements after the oldest; *count tells how many. An index
// beyond the stored elements records and returns CB_ERR_NOT_ENOUGH_DATA and leaves *count untouched; on an
// empty ring the index is not looked at.
//
// Beware of an index whose position passes the end of the ring: the position is reflected to
// start_offset + (end_offset - position), so the copy begins inside the control block, not at the element
// that a caller would expect. If it would begin before the block, the call behaves as for an index beyond
// the stored elements.
unsigned int cb_read_ex(cb_control* control, unsigned int index, void* destination, int* count, int options);
// cb_read_ex from index 0, consuming.
unsigned int cb_read(cb_control* control, void* destination, int* count);
// cb_read_ex without consuming.
unsigned int cb_peek(cb_control* control, unsigned int index, void* destination, int* count);

// Discards about *count elements from the reading end and leaves *count as it is (0 on an empty ring). Exact
// while neither the stored data nor the removal passes the end of the ring. Otherwise:
//  - a removal that passes the end discards one element more than asked, and one that asks for more than is
//    stored can step behind the old read position and make elements readable again that were read before;
//  - while the stored data passes the end, a removal that does not pass it empties the ring.
// A negative *count discards nothing.
unsigned int cb_remove(cb_control* control, int* count);

#ifdef __cplusplus
} // extern "C"

#include "detail/KxAtomic.h"

#include <cstring>

// Owns one ring. Every method forwards to the cb_ function of the same meaning, so an object without a
// control block (default constructed, or after a failed allocation) answers CB_ERR_NULL.
class CCircularBuffer {
public:
    CCircularBuffer();
    // A failed allocation is not reported: mControl stays null.
    CCircularBuffer(unsigned int elemSize, unsigned int numElem, void* (*mallocFunc)(int),
                    void (*freeFunc)(void*, int), void* (*copyFunc)(void*, const void*, unsigned long));
    virtual ~CCircularBuffer();

    CCircularBuffer(const CCircularBuffer&) = delete;
    CCircularBuffer& operator=(const CCircularBuffer&) = delete;

    static void* MallocFunc(int size);
    static void FreeFunc(void* p, int size); // the size is ignored
    static void* CopyFunc(void* destination, const void* source, unsigned long size);

    unsigned int SetCopyFunc(void* (*copyFunc)(void*, const void*, unsigned long));
    unsigned int SetFlags(unsigned char bits);
    unsigned int ClearFlags(unsigned char bits);
    unsigned int GetFlags();
    unsigned int ClearErrors();
    unsigned int GetFirstError() const;
    unsigned int GetLastError() const;

    // Straight code at the call where the bytes lie in one piece of a ring of bytes; else cb_write and cb_read.
    unsigned int Write(const void* source, int& count)
    {
        return WriteOnePiece(source, count) ? KxLoadRelaxed(mControl->last_error)
                                            : cb_write(mControl, source, &count);
    }
    unsigned int Read(void* destination, int& count)
    {
        return ReadOnePiece(destination, count) ? KxLoadRelaxed(mControl->last_error)
                                                : cb_read(mControl, destination, &count);
    }
    unsigned int Peek(unsigned int index, void* destination, int& count);
    unsigned int Remove(int& count);

    cb_control* mControl; // owned; null when there is no ring

    // Bytes; writes of more than that are for the copy function.
    static constexpr unsigned int kLargestPlainCopy = 32;

private:
    // Both do all that is asked of them or nothing. The position never comes to the ring's end here, where it
    // would have to start anew.
    //
    // The line of both positions is fetched once to be written, not to be read first: between two busy threads
    // that saves one of two transfers.
    bool WriteOnePiece(const void* source, int count)
    {
        if (mControl == nullptr || mControl->elem_size != 1 || count <= 0) {
            return false;
        }
        KxPrefetchToWrite(&mControl->write_offset);
        const unsigned int size = static_cast<unsigned int>(count);
        const unsigned int from = mControl->write_offset;
        // Pair RING-READ, acquire: what was read may be overwritten.
        const unsigned int reader = KxLoadAcquire(mControl->read_offset);
        const unsigned int room = from >= reader ? mControl->end_offset - from : reader - from - 1;
        if (size > room) {
            return false;
        }
        unsigned char* to = reinterpret_cast<unsigned char*>(mControl) + from;
        if (size > kLargestPlainCopy && mControl->copy_func != nullptr) {
            mControl->copy_func(to, source, size);
        } else {
            std::memcpy(to, source, size);
        }
        // Pair RING-WRITTEN, release: publishes the bytes.
        KxStoreRelease(mControl->write_offset, from + size);
        return true;
    }

    bool ReadOnePiece(void* destination, int count)
    {
        if (mControl == nullptr || mControl->elem_size != 1 || count <= 0) {
            return false;
        }
        KxPrefetchToWrite(&mControl->read_offset);
        const unsigned int size = static_cast<unsigned int>(count);
        const unsigned int from = mControl->read_offset;
        // Pair RING-WRITTEN, acquire: the bytes in front of it are visible.
        const unsigned int writer = KxLoadAcquire(mControl->write_offset);
        const unsigned int stored = writer >= from ? writer - from : mControl->end_offset - from;
        if (size > stored) {
            return false;
        }
        std::memcpy(destination, reinterpret_cast<const unsigned char*>(mControl) + from, size);
        // Pair RING-READ, release: gives the slots back.
        KxStoreRelease(mControl->read_offset, from + size);
        return true;
    }
};
#endif

#endif
