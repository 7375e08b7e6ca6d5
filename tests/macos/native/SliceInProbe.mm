// The bridge's four functions, taken from the framework's slice for x86-64. They stand where the static library's
// would in the host that the bridge's tests run.
#include "BreakpadInterface.h"
#include "Darwin.h"
#include "fallcatch.h"

extern "C" char** environ;

namespace {

const Functions& breakpad()
{
    static const Functions functions = {
        { "_BreakpadCreate", asAddress(BreakpadCreate) },
        { "_BreakpadRelease", asAddress(BreakpadRelease) },
        { "_BreakpadSetKeyValue", asAddress(BreakpadSetKeyValue) },
    };
    return functions;
}

MachImage loaded()
{
    MachImage image(FALLCATCH_SLICE);
    image.Bind([](const std::string& name) {
        const auto found = breakpad().find(name);
        return found != breakpad().end() ? found->second : darwinSymbol(name);
    });
    adoptObjects(image);
    image.Protect();
    image.RunInitialisers(0, nullptr, environ);
    return image;
}

// Loaded before main, so that nothing of it happens in a call that a test watches.
const MachImage gSlice = loaded();

template <typename Function> Function* exported(const char* name)
{
    void* found = gSlice.Exported(name);
    if (found == nullptr) {
        refuse(std::string("the slice exports no ") + name);
    }
    return reinterpret_cast<Function*>(reinterpret_cast<void (*)()>(found));
}

} // namespace

void* FallcatchInit(void* unused1, const wchar_t* defaultUrl, void* unused2, const wchar_t* const* parameters,
                    int parameterCount)
{
    return exported<decltype(FallcatchInit)>("_FallcatchInit")(unused1, defaultUrl, unused2, parameters,
                                                               parameterCount);
}

void FallcatchSetReportInterval(void* reporter, int interval)
{
    exported<decltype(FallcatchSetReportInterval)>("_FallcatchSetReportInterval")(reporter, interval);
}

void FallcatchRelease(void* reporter)
{
    exported<decltype(FallcatchRelease)>("_FallcatchRelease")(reporter);
}

int GetTestCommandsList(int* codes, int capacity)
{
    return exported<decltype(GetTestCommandsList)>("_GetTestCommandsList")(codes, capacity);
}
