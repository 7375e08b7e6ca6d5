/* The ring and the version header in C. */
#include <CircularBuffer.h>
#include <FallcatchVersion.h>

#include <stdio.h>
#include <stdlib.h>
#include <string.h>

static void* get(int size)
{
    return malloc((size_t)size);
}

static void give_back(void* block, int size)
{
    (void)size;
    free(block);
}

int main(void)
{
    cb_control* ring = NULL;
    char bytes[3] = "";
    int count = 3;
    int failures = 0;
    failures += cb_initialize(&ring, 1, 16, get, give_back) != CB_OK;
    failures += cb_write(ring, "abc", &count) != CB_OK;
    failures += cb_read_ex(ring, 0, bytes, &count, CB_READ_CONSUME) != CB_OK;
    failures += memcmp(bytes, "abc", 3) != 0;
    failures += strcmp(FALLCATCH_VERSION, EXPECTED_VERSION) != 0;
    failures += FALLCATCH_VERSION_NUMBER
        != FALLCATCH_VERSION_MAJOR * 10000 + FALLCATCH_VERSION_MINOR * 100 + FALLCATCH_VERSION_PATCH;
    failures += cb_destroy(ring) != CB_OK;
    printf("%s: %d failures\n", FALLCATCH_VERSION, failures);
    return failures;
}
