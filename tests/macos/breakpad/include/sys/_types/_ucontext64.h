// Where a 64-bit context could be a type of its own, Breakpad's client asks for that. On arm64 there is the one.
#ifndef FALLCATCH_TESTS_MACOS_UCONTEXT64_H
#define FALLCATCH_TESTS_MACOS_UCONTEXT64_H

#include <sys/ucontext.h>

typedef ucontext_t ucontext64_t;
#define uc_mcontext64 uc_mcontext

#endif
