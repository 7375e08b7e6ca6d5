// The few atomic operations that the library uses, on plain fields.
//
// The fields stay plain types because their layout is part of the interface and some are shared with C.
// GCC and Clang document these built-ins; on x86 the loads and stores compile to plain moves.
//
// Each use names its pair; docs/memory-order.md lists the pairs and what each makes visible.
#ifndef KXPL_KX_ATOMIC_H
#define KXPL_KX_ATOMIC_H

// Adds delta and returns the new value, with a full barrier: everything before it is visible to whoever sees
// the sum, and nothing after it moves before it. Wraps silently past the largest int.
inline int KxAtomicAdd32Barrier(int delta, int* value)
{
    return __atomic_add_fetch(value, delta, __ATOMIC_SEQ_CST);
}

template <typename T> inline T KxLoadAcquire(const T& from)
{
    return __atomic_load_n(&from, __ATOMIC_ACQUIRE);
}

template <typename T> inline void KxStoreRelease(T& to, T value)
{
    __atomic_store_n(&to, value, __ATOMIC_RELEASE);
}

// For flags that publish nothing but themselves.
template <typename T> inline T KxLoadRelaxed(const T& from)
{
    return __atomic_load_n(&from, __ATOMIC_RELAXED);
}

template <typename T> inline void KxStoreRelaxed(T& to, T value)
{
    __atomic_store_n(&to, value, __ATOMIC_RELAXED);
}

// Fetches a cache line to be read and then written: at once for this processor alone, where a read would fetch
// it to be shared first. Changes nothing that can be observed.
inline void KxPrefetchToWrite(const void* place)
{
#ifdef __x86_64__
    // The built-in function makes this instruction only where the compiler is told of processors that know it.
    // Those of 64 bits that do not do nothing instead.
    asm volatile("prefetchw %0" : : "m"(*static_cast<const char*>(place)));
#else
    __builtin_prefetch(place, 1);
#endif
}

// Keeps what lies in front of it and what lies behind it out of one cache line: 64 bytes on every x86
// processor, and as much again because they fetch lines in pairs. No alignment is asked for, so objects that
// hold one go into any memory.
//
// Two counters have one on either side, between fields whose order stays as if there were none:
// CLogContext::mRecordCount, to which its thread and the collector add, and CLogManager::mSequence, to which all
// threads add. Without the gaps each add would take the line away from whoever reads the fields beside it, the
// context's ring and name, the manager's filter and thread-specific key, which are read for every message.
struct KxCacheLineGap {
    unsigned char mUnused[128];
};

#endif
