// The operations of SSE2 that the converters use: the processor's where it has them, otherwise, as on arm64, the
// same ones by the same names written with the vector types of gcc and clang.
#ifndef KXPL_KX_UNICODE_SSE2_H
#define KXPL_KX_UNICODE_SSE2_H

#if defined(__SSE2__)
#include <emmintrin.h>
#else
#include "KxUnicodeSSE2Plain.h"

namespace KXPL {

using namespace SSE2Plain;

} // namespace KXPL
#endif

#endif
