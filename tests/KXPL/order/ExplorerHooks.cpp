// The functions that code calls when it was compiled with -fsanitize=thread (declared in LLVM's
// sanitizer/tsan_interface_atomic.h and known to GCC alike), as far as the code under test does.
#include "ExplorerAccess.h"

#include <cstring>

using namespace order;

namespace {

// Of the numbers of __ATOMIC_RELAXED and so on.
Order orderOf(int memoryOrder)
{
    const bool acquires = memoryOrder != __ATOMIC_RELAXED && memoryOrder != __ATOMIC_RELEASE;
    const bool releases =
        memoryOrder != __ATOMIC_RELAXED && memoryOrder != __ATOMIC_CONSUME && memoryOrder != __ATOMIC_ACQUIRE;
    return { acquires, releases, memoryOrder == __ATOMIC_SEQ_CST };
}

template <typename T> T load(const volatile T* from, int memoryOrder)
{
    const void* address = const_cast<const T*>(from);
    return isWatched(address)
        ? static_cast<T>(atomicLoad(address, static_cast<std::uint64_t>(*from), orderOf(memoryOrder)))
        : *from;
}

template <typename T> void store(volatile T* to, T value, int memoryOrder)
{
    const void* address = const_cast<const T*>(to);
    const bool watched = isWatched(address);
    if (watched) {
        if (orderOf(memoryOrder).isTotal) {
            beforeTotalStore(address);
        }
        beforeAtomicStore(address, static_cast<std::uint64_t>(*to));
    }
    *to = value;
    if (watched) {
        atomicStore(address, static_cast<std::uint64_t>(value), orderOf(memoryOrder), false);
    }
}

template <typename T, typename Change> T modify(volatile T* to, int memoryOrder, const Change& change)
{
    const void* address = const_cast<const T*>(to);
    const bool watched = isWatched(address);
    if (watched) {
        beforeModify();
        beforeAtomicStore(address, static_cast<std::uint64_t>(*to));
        atomicSeeNewest(address, orderOf(memoryOrder));
    }
    const T before = *to;
    *to = change(before);
    if (watched) {
        atomicStore(address, static_cast<std::uint64_t>(*to), orderOf(memoryOrder), true);
    }
    return before;
}

} // namespace

extern "C" {

void __tsan_init() { }
void __tsan_func_entry(void*) { }
void __tsan_func_exit() { }

#define FALLCATCH_ACCESS(name, size, writes)                                                                   \
    void name(void* address)                                                                                   \
    {                                                                                                          \
        plainAccess(address, size, writes);                                                                    \
    }
FALLCATCH_ACCESS(__tsan_read1, 1, false)
FALLCATCH_ACCESS(__tsan_read2, 2, false)
FALLCATCH_ACCESS(__tsan_read4, 4, false)
FALLCATCH_ACCESS(__tsan_read8, 8, false)
FALLCATCH_ACCESS(__tsan_read16, 16, false)
FALLCATCH_ACCESS(__tsan_write1, 1, true)
FALLCATCH_ACCESS(__tsan_write2, 2, true)
FALLCATCH_ACCESS(__tsan_write4, 4, true)
FALLCATCH_ACCESS(__tsan_write8, 8, true)
FALLCATCH_ACCESS(__tsan_write16, 16, true)
FALLCATCH_ACCESS(__tsan_unaligned_read2, 2, false)
FALLCATCH_ACCESS(__tsan_unaligned_read4, 4, false)
FALLCATCH_ACCESS(__tsan_unaligned_read8, 8, false)
FALLCATCH_ACCESS(__tsan_unaligned_read16, 16, false)
FALLCATCH_ACCESS(__tsan_unaligned_write2, 2, true)
FALLCATCH_ACCESS(__tsan_unaligned_write4, 4, true)
FALLCATCH_ACCESS(__tsan_unaligned_write8, 8, true)
FALLCATCH_ACCESS(__tsan_unaligned_write16, 16, true)
FALLCATCH_ACCESS(__tsan_vptr_read, sizeof(void*), false)
#undef FALLCATCH_ACCESS

void __tsan_vptr_update(void** address, void*)
{
    plainAccess(address, sizeof(void*), true);
}

void __tsan_read_range(void* address, std::size_t size)
{
    plainAccess(address, size, false);
}

void __tsan_write_range(void* address, std::size_t size)
{
    plainAccess(address, size, true);
}

unsigned char __tsan_atomic8_load(const volatile unsigned char* from, int memoryOrder)
{
    return load(from, memoryOrder);
}

unsigned int __tsan_atomic32_load(const volatile unsigned int* from, int memoryOrder)
{
    return load(from, memoryOrder);
}

unsigned long __tsan_atomic64_load(const volatile unsigned long* from, int memoryOrder)
{
    return load(from, memoryOrder);
}

void __tsan_atomic8_store(volatile unsigned char* to, unsigned char value, int memoryOrder)
{
    store(to, value, memoryOrder);
}

void __tsan_atomic32_store(volatile unsigned int* to, unsigned int value, int memoryOrder)
{
    store(to, value, memoryOrder);
}

void __tsan_atomic64_store(volatile unsigned long* to, unsigned long value, int memoryOrder)
{
    store(to, value, memoryOrder);
}

unsigned int __tsan_atomic32_fetch_add(volatile unsigned int* to, unsigned int delta, int memoryOrder)
{
    return modify(to, memoryOrder, [delta](unsigned int before) { return before + delta; });
}

unsigned long __tsan_atomic64_exchange(volatile unsigned long* to, unsigned long value, int memoryOrder)
{
    return modify(to, memoryOrder, [value](unsigned long) { return value; });
}

// The instrumented code's calls of memcpy and memset come here by the linker's --wrap.
void* __real_memcpy(void* to, const void* from, std::size_t size);
void* __wrap_memcpy(void* to, const void* from, std::size_t size);
void* __real_memset(void* to, int value, std::size_t size);
void* __wrap_memset(void* to, int value, std::size_t size);

void* __wrap_memcpy(void* to, const void* from, std::size_t size)
{
    plainAccess(from, size, false);
    plainAccess(to, size, true);
    return __real_memcpy(to, from, size);
}

void* __wrap_memset(void* to, int value, std::size_t size)
{
    plainAccess(to, size, true);
    return __real_memset(to, value, size);
}
}
