/* The shared bridge in C, with the Breakpad that comes with it. It is not told of a product, so it gets no reporter. */
#include <fallcatch.h>

#include <stddef.h>

int main(void)
{
    return FallcatchInit(NULL, L"", NULL, NULL, 0) == NULL ? 0 : 1;
}
