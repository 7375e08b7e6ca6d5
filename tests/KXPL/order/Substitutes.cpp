#include "Substitutes.h"

#include <cerrno>
#include <cstdlib>
#include <new>
#include <string>

#include <pthread.h>

namespace order {

std::vector<const void*>* gDeleted = nullptr;
int gThreadsAskedFor = 0;

namespace {

constexpr std::size_t kMostBytes = 4096;
alignas(std::max_align_t) unsigned char gBlock[kMostBytes];
std::size_t gBlockIsFor = 0;

} // namespace

void* nextBlock(std::size_t size)
{
    if (size > kMostBytes) {
        std::abort();
    }
    gBlockIsFor = size;
    return gBlock;
}

} // namespace order

void* operator new(std::size_t size)
{
    if (size == order::gBlockIsFor) {
        order::gBlockIsFor = 0;
        return order::gBlock;
    }
    void* memory = std::malloc(size);
    if (memory == nullptr) {
        std::abort();
    }
    return memory;
}

void operator delete(void* memory) noexcept
{
    if (memory != order::gBlock) {
        std::free(memory);
    }
}

void operator delete(void* memory, std::size_t size) noexcept
{
    if (order::gDeleted != nullptr && size == sizeof(std::string)) {
        order::gDeleted->push_back(memory);
        return;
    }
    operator delete(memory);
}

extern "C" {
int __wrap_pthread_create(pthread_t*, const pthread_attr_t*, void* (*)(void*), void*);

int __wrap_pthread_create(pthread_t*, const pthread_attr_t*, void* (*)(void*), void*)
{
    ++order::gThreadsAskedFor;
    return EAGAIN;
}
}
