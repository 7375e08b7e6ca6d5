#include <fallcatch.h>

#include <stdlib.h>

int main(int argc, char** argv)
{
    const wchar_t* parameters[] = { L"prod=Example", L"ver=1.0" };
    void* reporter = FallcatchInit(NULL, L"http://127.0.0.1:8080/submit", NULL, parameters, 2);
    if (reporter == NULL) {
        return 1; /* no product, version or URL */
    }
    FallcatchSetReportInterval(reporter, 3600); /* at most one report an hour */

    /* ... the application ... */
    if (argc > 1) {
        abort(); /* its first crash */
    }

    FallcatchRelease(reporter);
    (void)argv;
    return 0;
}
