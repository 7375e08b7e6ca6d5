#include "detail/CircularBufferPlace.h"

#include "KxShortBytes.h"

namespace KXPL {

void RingPlace::Copy(const cb_control* ring, unsigned char* to, const void* from, unsigned int size)
{
    if (size > CCircularBuffer::kLargestPlainCopy && ring->copy_func != nullptr) {
        ring->copy_func(to, from, size);
    } else {
        copyShort(to, from, size);
    }
}

} // namespace KXPL
