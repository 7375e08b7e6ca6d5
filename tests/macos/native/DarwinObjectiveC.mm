#include "Darwin.h"

#import <Foundation/NSArray.h>
#import <Foundation/NSProcessInfo.h>
#import <Foundation/NSString.h>
#include <objc/message.h>
#include <objc/runtime.h>

#include <cstdint>
#include <cstring>

extern "C" char** environ;

// Finds the method and jumps to it with all that the caller handed over: the registers of arguments, and in rax how
// many vectors a call with variable arguments has.
extern "C" void fallcatch_objc_msgSend();
asm(R"(
    .text
    .type fallcatch_objc_msgSend, @function
fallcatch_objc_msgSend:
    pushq %rbp
    movq %rsp, %rbp
    subq $192, %rsp
    movaps %xmm0, 0(%rsp)
    movaps %xmm1, 16(%rsp)
    movaps %xmm2, 32(%rsp)
    movaps %xmm3, 48(%rsp)
    movaps %xmm4, 64(%rsp)
    movaps %xmm5, 80(%rsp)
    movaps %xmm6, 96(%rsp)
    movaps %xmm7, 112(%rsp)
    movq %rdi, 128(%rsp)
    movq %rsi, 136(%rsp)
    movq %rdx, 144(%rsp)
    movq %rcx, 152(%rsp)
    movq %r8, 160(%rsp)
    movq %r9, 168(%rsp)
    movq %rax, 176(%rsp)
    call objc_msg_lookup@PLT
    movq %rax, %r11
    movaps 0(%rsp), %xmm0
    movaps 16(%rsp), %xmm1
    movaps 32(%rsp), %xmm2
    movaps 48(%rsp), %xmm3
    movaps 64(%rsp), %xmm4
    movaps 80(%rsp), %xmm5
    movaps 96(%rsp), %xmm6
    movaps 112(%rsp), %xmm7
    movq 128(%rsp), %rdi
    movq 136(%rsp), %rsi
    movq 144(%rsp), %rdx
    movq 152(%rsp), %rcx
    movq 160(%rsp), %r8
    movq 168(%rsp), %r9
    movq 176(%rsp), %rax
    leave
    jmp *%r11
    .size fallcatch_objc_msgSend, . - fallcatch_objc_msgSend
)");

namespace {

constexpr std::uint64_t kUtf16String = 0x7D0;

// A string constant as clang lays it out for macOS, and as GCC does for GNUstep, in the same place.
struct AppleString {
    void* isa;
    std::uint64_t flags;
    const char* text;
    std::uint64_t length; // in units
};
struct GnuString {
    void* isa;
    const char* text;
    unsigned int length; // in bytes
};
static_assert(sizeof(GnuString) <= sizeof(AppleString), "one lies in the place of the other");

id allocate(Class target)
{
    return [target alloc];
}

void release(id object)
{
    [object release];
}

} // namespace

const Functions& darwinObjectiveC()
{
    static const Functions functions = {
        { "__CFConstantStringClassReference", objc_getClass("NSConstantString") },
        { "OBJC_CLASS_$_NSAutoreleasePool", objc_getClass("NSAutoreleasePool") },
        { "OBJC_CLASS_$_NSBundle", objc_getClass("NSBundle") },
        { "OBJC_CLASS_$_NSMutableDictionary", objc_getClass("NSMutableDictionary") },
        { "OBJC_CLASS_$_NSProcessInfo", objc_getClass("NSProcessInfo") },
        { "OBJC_CLASS_$_NSString", objc_getClass("NSString") },
        { "OBJC_CLASS_$_NSUserDefaults", objc_getClass("NSUserDefaults") },
        { "objc_alloc", asAddress(allocate) },
        { "objc_getClass", asAddress(objc_getClass) },
        { "objc_msgSend", asAddress(fallcatch_objc_msgSend) },
        { "objc_release", asAddress(release) },
        { "sel_registerName", asAddress(sel_registerName) },
    };
    return functions;
}

void adoptObjects(const MachImage& image)
{
    const MachImage::Bytes selectors = image.SectionBytes("__DATA", "__objc_selrefs");
    for (std::size_t offset = 0; offset < selectors.size; offset += sizeof(SEL)) {
        const char* name;
        std::memcpy(&name, selectors.begin + offset, sizeof name);
        const SEL selector = sel_registerName(name);
        std::memcpy(selectors.begin + offset, &selector, sizeof selector);
    }
    const MachImage::Bytes strings = image.SectionBytes("__DATA", "__cfstring");
    for (std::size_t offset = 0; offset < strings.size; offset += sizeof(AppleString)) {
        AppleString apple;
        std::memcpy(&apple, strings.begin + offset, sizeof apple);
        if (apple.flags == kUtf16String) {
            refuse("a string constant is not ASCII");
        }
        const GnuString gnu = { apple.isa, apple.text, static_cast<unsigned int>(apple.length) };
        std::memcpy(strings.begin + offset, &gnu, sizeof gnu);
    }
}

void tellArguments(int count, char** arguments)
{
    [NSProcessInfo initializeWithArguments:arguments count:count environment:environ];
}
