// A host in C++ that shares its log manager with the static bridge. To be run with "-tcmt".
#include "hslog/HSL.h"

#include <fallcatch/fallcatch.h>

#include <cstdio>
#include <string>

namespace {

std::string gMessages;
int gReporter = 0;

void appendMessage(const char* text, const std::string&, unsigned char, unsigned char, unsigned char*,
                   unsigned int, unsigned int)
{
    gMessages += text;
}

} // namespace

extern "C" {

void* BreakpadCreate(void*)
{
    return &gReporter;
}

void BreakpadSetKeyValue(void*, void*, void*) { }

void BreakpadRelease(void*) { }

} // extern "C"

int main()
{
    void* reporter = FallcatchInit(nullptr, L"http://host.example/submit", nullptr, nullptr, 0);
    HSL::CLogManager::Initialize();
    HSL::LogManager()->SetStructuredOutputCallback(appendMessage);
    HSL::LogManager()->SetEnable(true);
    HSL::LogManager()->SetFilterValue(3, true);
    int codes[2] = { -1, -1 };
    const int count = GetTestCommandsList(codes, 2);
    HSL::CLogManager::Cleanup();
    FallcatchRelease(reporter);

    std::printf("%d code(s): %d %d\n%s", count, codes[0], codes[1], gMessages.c_str());
    const bool ok = reporter == &gReporter && count == 1 && codes[0] == 0 && codes[1] == -1
        && gMessages
            == "Checking command line for crash test parameters\n"
               "Received instruction to crash on main thread\n";
    return ok ? 0 : 1;
}
