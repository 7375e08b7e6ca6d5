#include "CircularBuffer.h"

#include "detail/KxAtomic.h"

#include <cstdlib>
#include <cstring>

CCircularBuffer::CCircularBuffer()
    : mControl(nullptr)
{
}

CCircularBuffer::CCircularBuffer(unsigned int elemSize, unsigned int numElem, void* (*mallocFunc)(int),
                                 void (*freeFunc)(void*, int),
                                 void* (*copyFunc)(void*, const void*, unsigned long))
    : mControl(nullptr)
{
    cb_initialize(&mControl, elemSize, numElem, mallocFunc, freeFunc);
    cb_set_copy_func(mControl, copyFunc);
}

CCircularBuffer::~CCircularBuffer()
{
    if (mControl != nullptr) {
        cb_destroy(mControl);
        mControl = nullptr;
    }
}

void* CCircularBuffer::MallocFunc(int size)
{
    return std::malloc(static_cast<std::size_t>(size));
}

void CCircularBuffer::FreeFunc(void* p, int)
{
    std::free(p);
}

void* CCircularBuffer::CopyFunc(void* destination, const void* source, unsigned long size)
{
    return std::memcpy(destination, source, size);
}

unsigned int CCircularBuffer::SetCopyFunc(void* (*copyFunc)(void*, const void*, unsigned long))
{
    return cb_set_copy_func(mControl, copyFunc);
}

unsigned int CCircularBuffer::SetFlags(unsigned char bits)
{
    return cb_set_flags(mControl, bits);
}

unsigned int CCircularBuffer::ClearFlags(unsigned char bits)
{
    return cb_clear_flags(mControl, bits);
}

unsigned int CCircularBuffer::GetFlags()
{
    return cb_get_flags(mControl);
}

unsigned int CCircularBuffer::ClearErrors()
{
    return cb_clear_errors(mControl);
}

unsigned int CCircularBuffer::GetFirstError() const
{
    return mControl == nullptr ? static_cast<unsigned int>(CB_ERR_NULL) : KxLoadRelaxed(mControl->first_error);
}

unsigned int CCircularBuffer::GetLastError() const
{
    return mControl == nullptr ? static_cast<unsigned int>(CB_ERR_NULL) : KxLoadRelaxed(mControl->last_error);
}

unsigned int CCircularBuffer::Peek(unsigned int index, void* destination, int& count)
{
    return cb_peek(mControl, index, destination, &count);
}

unsigned int CCircularBuffer::Remove(int& count)
{
    return cb_remove(mControl, &count);
}
