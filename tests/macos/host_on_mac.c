/* A host application's start and end, for a real Mac: real Foundation, and Breakpad's three functions played
 * here. Run as: host -tcwt TC_DIV0. Prints what is wrong and returns how many things were.
 */
#include <fallcatch/fallcatch.h>

#include <objc/message.h>
#include <objc/runtime.h>

#include <stdio.h>
#include <string.h>

void* BreakpadCreate(void* configuration);
void BreakpadSetKeyValue(void* reporter, void* key, void* value);
void BreakpadRelease(void* reporter);

static int failures = 0;
static int handle = 0; /* its address is the reporter */
static int releases = 0;
static char interval[32] = "";

static void expect(const char* what, const char* found, const char* wanted)
{
    if (found == NULL || strcmp(found, wanted) != 0) {
        printf("%s: found %s, wanted %s\n", what, found != NULL ? found : "nothing", wanted);
        ++failures;
    }
}

static void expectNumber(const char* what, int found, int wanted)
{
    if (found != wanted) {
        printf("%s: found %d, wanted %d\n", what, found, wanted);
        ++failures;
    }
}

static const char* text(void* string)
{
    return string == NULL ? NULL
                          : ((const char* (*)(void*, SEL))objc_msgSend)(string, sel_registerName("UTF8String"));
}

static const char* valueOf(void* dictionary, const char* key)
{
    void* keyObject = ((void* (*)(Class, SEL, const char*))objc_msgSend)(
        objc_getClass("NSString"), sel_registerName("stringWithUTF8String:"), key);
    return text(
        ((void* (*)(void*, SEL, void*))objc_msgSend)(dictionary, sel_registerName("objectForKey:"), keyObject));
}

void* BreakpadCreate(void* configuration)
{
    expect("URL", valueOf(configuration, "BreakpadURL"), "http://host.example/submit");
    expect("server type", valueOf(configuration, "BreakpadServerType"), "socorro");
    expect("interval at the start", valueOf(configuration, "BreakpadReportInterval"), "0");
    expect("version", valueOf(configuration, "BreakpadVersion"), "1.2");
    expect("product", valueOf(configuration, "BreakpadProduct"), "H\xC3\xB6st \xF0\x9F\x90\x9E");
    expect("a key with two equals signs", valueOf(configuration, "a"), "b");
    expect("an empty value", valueOf(configuration, "key"), "");
    return &handle;
}

void BreakpadSetKeyValue(void* reporter, void* key, void* value)
{
    expectNumber("handle handed on", reporter == &handle, 1);
    expect("key", text(key), "BreakpadReportInterval");
    snprintf(interval, sizeof interval, "%s", text(value));
}

void BreakpadRelease(void* reporter)
{
    expectNumber("handle released", reporter == &handle, 1);
    ++releases;
}

int main(void)
{
    static const wchar_t* const parameters[] = { L"ver=1.2", L"prod=H\u00F6st \U0001F41E", L"a=b=c", L"none",
                                                 L"key=" };
    int codes[2] = { -1, -1 };

    void* reporter = FallcatchInit(NULL, L"http://host.example/submit", NULL, parameters, 5);
    expectNumber("handle returned", reporter == &handle, 1);
    FallcatchSetReportInterval(reporter, -3600);
    expect("interval", interval, "-3600");
    FallcatchRelease(reporter);
    expectNumber("releases", releases, 1);

    expectNumber("number of codes", GetTestCommandsList(codes, 0), 2);
    expectNumber("thread", codes[0], 1);
    expectNumber("crash type", codes[1], 2);
    printf("%d failures\n", failures);
    return failures;
}
