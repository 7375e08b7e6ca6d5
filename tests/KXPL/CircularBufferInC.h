// The ring as a C source uses it.
#ifndef FALLCATCH_TESTS_CIRCULAR_BUFFER_IN_C_H
#define FALLCATCH_TESTS_CIRCULAR_BUFFER_IN_C_H

#ifdef __cplusplus
extern "C" {
#endif

// Writes the text into a ring of 100 bytes and reads it back into `result`, which needs room for 101.
// Returns the number of bytes read, or -1.
int passTextThroughARing(const char* text, char* result);

#ifdef __cplusplus
}
#endif

#endif
