// The six converters of KxUnicode.h as plain loops: one character after the other, each by its rules, with no
// thought of speed but for what the compiler makes of it. A second model, quick enough for long texts, and what
// the benchmarks hold the real ones against.
#ifndef FALLCATCH_TESTS_UNICODE_PLAIN_LOOP_H
#define FALLCATCH_TESTS_UNICODE_PLAIN_LOOP_H

#include "KxUnicode.h"

namespace plain {

using namespace KXPL;

ConversionResult ConvertUTF32toUTF16(const UTF32** source, const UTF32* sourceEnd, UTF16** target,
                                     UTF16* targetEnd, ConversionFlags flags);
ConversionResult ConvertUTF16toUTF32(const UTF16** source, const UTF16* sourceEnd, UTF32** target,
                                     UTF32* targetEnd, ConversionFlags flags);
ConversionResult ConvertUTF16toUTF8(const UTF16** source, const UTF16* sourceEnd, UTF8** target,
                                    UTF8* targetEnd, ConversionFlags flags);
ConversionResult ConvertUTF8toUTF16(const UTF8** source, const UTF8* sourceEnd, UTF16** target,
                                    UTF16* targetEnd, ConversionFlags flags);
ConversionResult ConvertUTF32toUTF8(const UTF32** source, const UTF32* sourceEnd, UTF8** target,
                                    UTF8* targetEnd, ConversionFlags flags);
ConversionResult ConvertUTF8toUTF32(const UTF8** source, const UTF8* sourceEnd, UTF32** target,
                                    UTF32* targetEnd, ConversionFlags flags);

} // namespace plain

#endif
