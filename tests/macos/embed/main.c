#include <fallcatch/fallcatch.h>

int main(void)
{
    void* reporter = FallcatchInit(0, L"http://host.example/submit", 0, 0, 0);
    int codes[2];
    GetTestCommandsList(codes, 2);
    if (reporter) {
        FallcatchSetReportInterval(reporter, 3600);
        FallcatchRelease(reporter);
    }
    return 0;
}
