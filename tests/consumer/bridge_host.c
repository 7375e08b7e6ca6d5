/* A host of the bridge in C99, with a Breakpad that only remembers what it was given. To be run with
 * "-tcwt TC_DIV0".
 */
#include "fallcatch.h"

#include <stdio.h>

static int reporter;
static void* configuration;
static void* changed;
static void* released;

void* BreakpadCreate(void* given);
void BreakpadSetKeyValue(void* handle, void* key, void* value);
void BreakpadRelease(void* handle);

void* BreakpadCreate(void* given)
{
    configuration = given;
    return &reporter;
}

void BreakpadSetKeyValue(void* handle, void* key, void* value)
{
    changed = key != NULL && value != NULL ? handle : NULL;
}

void BreakpadRelease(void* handle)
{
    released = handle;
}

static int check(int holds, const char* what)
{
    printf("%s: %s\n", holds ? "ok" : "WRONG", what);
    return holds ? 0 : 1;
}

int main(void)
{
    const wchar_t* const parameters[] = { L"ver=1.2", L"prod=App" };
    int codes[2] = { -1, -1 };
    int failures = 0;
    void* handle = FallcatchInit(NULL, L"http://host.example/submit", NULL, parameters, 2);

    failures += check(configuration != NULL, "Breakpad was given a configuration");
    failures += check(handle == &reporter, "its handle came back");
    FallcatchSetReportInterval(handle, 3600);
    failures += check(changed == &reporter, "the interval reached the reporter");
    failures += check(GetTestCommandsList(codes, 2) == 2, "two codes were found");
    failures += check(codes[0] == 1 && codes[1] == 2, "worker thread and division by zero");
    FallcatchRelease(handle);
    failures += check(released == &reporter, "the reporter was released");
    return failures;
}
