// The ring's making and ending, its flags and its errors.
#include "CircularBuffer.h"

#include "CircularBufferPositions.h"
#include "detail/KxAtomic.h"

#include <climits>
#include <cstddef>
#include <cstdint>
#include <cstring>

using namespace KXPL;

namespace {

constexpr unsigned int kHeaderSize = (static_cast<unsigned int>(sizeof(cb_control)) + 15u) & ~15u;
static_assert(sizeof(void*) != 8 || kHeaderSize == 64, "the header of a 64-bit build is 64 bytes");
static_assert(sizeof(void*) != 4 || kHeaderSize == 48, "the header of a 32-bit build is 48 bytes");

} // namespace

unsigned int cb_calc_buffer_size(unsigned int elemSize, unsigned int numElem)
{
    return (numElem + 1u) * elemSize + kHeaderSize;
}

unsigned int cb_initialize(cb_control** out, unsigned int elemSize, unsigned int numElem,
                           cb_malloc_func mallocFunc, cb_free_func freeFunc)
{
    if (out == nullptr) {
        return CB_ERR_NULL;
    }
    *out = nullptr;
    const std::uint64_t slots = static_cast<std::uint64_t>(numElem) + 1;
    const bool fits = elemSize == 0 || slots <= (static_cast<std::uint64_t>(INT_MAX) - kHeaderSize) / elemSize;
    if (mallocFunc == nullptr || !fits) {
        return CB_ERR_ALLOC;
    }
    void* block = mallocFunc(static_cast<int>(cb_calc_buffer_size(elemSize, numElem)));
    if (block == nullptr) {
        return CB_ERR_ALLOC;
    }
    cb_control* control = static_cast<cb_control*>(block);
    cb_initialize_with_buffer(control, elemSize, numElem);
    control->malloc_func = mallocFunc;
    control->free_func = freeFunc;
    control->flags |= CB_FLAG_OWNS_MEMORY;
    *out = control;
    return CB_OK;
}

unsigned int cb_initialize_with_buffer(cb_control* memory, unsigned int elemSize, unsigned int numElem)
{
    if (memory == nullptr) {
        return CB_ERR_NULL;
    }
    std::memset(memory, 0, sizeof *memory);
    memory->elem_size = elemSize;
    memory->num_elem = numElem;
    memory->start_offset = kHeaderSize;
    memory->end_offset = kHeaderSize + numElem * elemSize;
    memory->read_offset = kHeaderSize;
    memory->write_offset = kHeaderSize;
    return CB_OK;
}

unsigned int cb_destroy(cb_control* control)
{
    if (control == nullptr) {
        return CB_ERR_NULL;
    }
    const unsigned int blockSize = cb_calc_buffer_size(control->elem_size, control->num_elem);
    const cb_free_func freeFunc = control->free_func;
    const bool ownsMemory = (control->flags & CB_FLAG_OWNS_MEMORY) != 0;
    std::memset(control, 0, sizeof *control);
    if (freeFunc != nullptr && ownsMemory) {
        freeFunc(control, static_cast<int>(blockSize));
    }
    return CB_OK;
}

unsigned int cb_set_copy_func(cb_control* control, cb_copy_func copyFunc)
{
    if (control == nullptr) {
        return CB_ERR_NULL;
    }
    control->copy_func = copyFunc;
    return CB_OK;
}

unsigned int cb_set_flags(cb_control* control, unsigned char bits)
{
    if (control == nullptr) {
        return CB_ERR_NULL;
    }
    KxStoreRelaxed(control->flags, static_cast<unsigned char>(control->flags | bits));
    return CB_OK;
}

unsigned int cb_clear_flags(cb_control* control, unsigned char bits)
{
    if (control == nullptr) {
        return CB_ERR_NULL;
    }
    KxStoreRelaxed(control->flags, static_cast<unsigned char>(control->flags & ~bits));
    return CB_OK;
}

unsigned int cb_get_flags(cb_control* control)
{
    return control == nullptr ? static_cast<unsigned int>(CB_ERR_NULL) : KxLoadRelaxed(control->flags);
}

unsigned int cb_clear_errors(cb_control* control)
{
    if (control == nullptr) {
        return CB_ERR_NULL;
    }
    const unsigned int first = KxLoadRelaxed(control->first_error);
    KxStoreRelaxed(control->first_error, static_cast<unsigned char>(CB_OK));
    KxStoreRelaxed(control->last_error, static_cast<unsigned char>(CB_OK));
    return first;
}

int cb_is_full(cb_control* control)
{
    if (control == nullptr) {
        return 0;
    }
    return isFull(control, readerPosition(control), writerPosition(control)) ? 1 : 0;
}

unsigned int cb_get_num_elem_used(cb_control* control)
{
    if (control == nullptr) {
        return CB_ERR_NULL;
    }
    return numElemUsed(control, readerPosition(control), writerPosition(control));
}
