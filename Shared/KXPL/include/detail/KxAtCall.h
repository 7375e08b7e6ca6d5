// What is inlined where the host logs.
#ifndef KXPL_KX_AT_CALL_H
#define KXPL_KX_AT_CALL_H

// Inlined at the log call whatever the size of the source around it, where it becomes a few stores: with limits for a
// whole source compilers leave such helpers as calls that are made for every value. A build without optimisation would
// only swell by it, and so would one with sanitizers, whose checks multiply at each call: such a build may define
// HSL_AT_CALL as nothing. The bytes in the ring are the same.
#ifndef HSL_AT_CALL
#ifdef __OPTIMIZE__
#define HSL_AT_CALL [[gnu::always_inline]]
#else
#define HSL_AT_CALL
#endif
#endif

#endif
