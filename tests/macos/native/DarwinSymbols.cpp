#include "Darwin.h"

#include <dlfcn.h>
#include <sys/mman.h>

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <set>

namespace {

// The same on both systems for x86-64: arguments, results, the structures that they point to.
const std::set<std::string>& alike()
{
    static const std::set<std::string> names = {
        // clang-format off
        "__cxa_atexit", "__stack_chk_fail", "atoi", "close", "fflush", "fputs", "free", "getpid", "gettimeofday",
        "localtime_r", "malloc", "memchr", "memcmp", "memcpy", "memmove", "munmap", "printf", "pthread_equal",
        "pipe", "pthread_getname_np", "pthread_join", "pthread_self", "puts", "read", "snprintf", "strcmp",
        "strlen", "strtol", "time", "tzset", "usleep", "vsnprintf", "wcslen", "wmemchr", "write",
        // clang-format on
    };
    return names;
}

constexpr int kDarwinPrivate = 0x0002;
constexpr int kDarwinAnonymous = 0x1000;

void* darwinMmap(void* place, std::size_t size, int protection, int flags, int file, off_t offset)
{
    if (flags != (kDarwinPrivate | kDarwinAnonymous)) {
        errno = EINVAL; // nothing else has been asked for yet
        return MAP_FAILED;
    }
    return mmap(place, size, protection, MAP_PRIVATE | MAP_ANONYMOUS, file, offset);
}

void darwinBzero(void* bytes, std::size_t size)
{
    __builtin_memset(bytes, 0, size);
}

void lookedUpTooLate()
{
    refuse("a function was to be bound at its first call");
}

// LLVM's libc++, whose names and types are those of macOS's on x86-64.
void* cxxSymbol(const char* name)
{
    static void* const library = dlopen("libc++.so.1", RTLD_NOW | RTLD_LOCAL);
    if (library == nullptr) {
        refuse("libc++.so.1 is not installed");
    }
    return dlsym(library, name);
}

} // namespace

const Functions& darwinMemory()
{
    static std::uintptr_t guard = 0x00A5'5A12'34ED'CB00;
    static const Functions functions = {
        { "__bzero", asAddress(darwinBzero) },
        { "__error", asAddress(__errno_location) }, // the numbers looked at are alike
        { "__stack_chk_guard", &guard },
        { "__stderrp", &stderr },
        { "__stdoutp", &stdout },
        { "mmap", asAddress(darwinMmap) },
    };
    return functions;
}

void* darwinSymbol(const std::string& name)
{
    if (name == "dyld_stub_binder") {
        return asAddress(lookedUpTooLate);
    }
    const std::string plain = name.substr(1);
    for (const Functions* functions : { &darwinThreads(), &darwinMemory(), &darwinObjectiveC() }) {
        const auto found = functions->find(plain);
        if (found != functions->end()) {
            return found->second;
        }
    }
    if (alike().count(plain) != 0) {
        return dlsym(RTLD_DEFAULT, plain.c_str());
    }
    for (const char* prefix : { "_Z", "__cxa_", "__gxx_personality_v0", "_Unwind_" }) {
        if (plain.rfind(prefix, 0) == 0) {
            return cxxSymbol(plain.c_str());
        }
    }
    return nullptr;
}
