// The ring as a C source uses it. Called by CircularBuffer_test.cpp.
#include "CircularBuffer.h"

#include <stdlib.h>
#include <string.h>

static void* allocate(int size)
{
    return malloc((size_t)size);
}

static void release(void* block, int size)
{
    (void)size;
    free(block);
}

static void* copy(void* destination, const void* source, unsigned long size)
{
    return memcpy(destination, source, size);
}

// Writes the text into a ring of 100 bytes and reads it back into `result`, which needs room for 101.
// Returns the number of bytes read, or -1.
int passTextThroughARing(const char* text, char* result)
{
    cb_control* ring = NULL;
    int count = (int)strlen(text);
    if (cb_initialize(&ring, 1, 100, allocate, release) != CB_OK) {
        return -1;
    }
    cb_set_copy_func(ring, copy);
    cb_write(ring, text, &count);
    count = 100;
    cb_read(ring, result, &count);
    result[count] = '\0';
    cb_destroy(ring);
    return count;
}
