// Whether this program is built with ThreadSanitizer, whose runtime does not stand everything that a test may do.
#ifndef FALLCATCH_TESTS_THREAD_SANITIZER_H
#define FALLCATCH_TESTS_THREAD_SANITIZER_H

// gcc tells by a macro, clang by a feature.
#if defined(__SANITIZE_THREAD__)
constexpr bool kUnderThreadSanitizer = true;
#elif defined(__has_feature)
#if __has_feature(thread_sanitizer)
constexpr bool kUnderThreadSanitizer = true;
#else
constexpr bool kUnderThreadSanitizer = false;
#endif
#else
constexpr bool kUnderThreadSanitizer = false;
#endif

#endif
