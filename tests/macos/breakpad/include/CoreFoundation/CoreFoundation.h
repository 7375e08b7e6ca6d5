// What Breakpad's client for macOS uses of CoreFoundation.
#ifndef FALLCATCH_TESTS_MACOS_CORE_FOUNDATION_H
#define FALLCATCH_TESTS_MACOS_CORE_FOUNDATION_H

#include <AvailabilityMacros.h>
#include <MacTypes.h>
#include <mach/port.h>
#include <stdbool.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef long CFIndex;
typedef unsigned long CFOptionFlags;
typedef uint32_t CFStringEncoding;
typedef struct {
    CFIndex location, length;
} CFRange;
typedef const void* CFTypeRef;
typedef const void* CFPropertyListRef;
typedef const struct __CFAllocator* CFAllocatorRef;
typedef const struct __CFString* CFStringRef;
typedef const struct __CFURL* CFURLRef;
typedef const struct __CFUUID* CFUUIDRef;
typedef const struct __CFData* CFDataRef;
typedef struct __CFData* CFMutableDataRef;
typedef const struct __CFDictionary* CFDictionaryRef;
typedef struct __CFReadStream* CFReadStreamRef;
typedef struct __CFError* CFErrorRef;

enum {
    kCFStringEncodingUTF8 = 0x08000100,
    kCFURLPOSIXPathStyle = 0,
    kCFPropertyListImmutable = 0
};

#define CFSTR(text) ((CFStringRef)__builtin___CFStringMakeConstantString(text))

static inline CFRange CFRangeMake(CFIndex location, CFIndex length)
{
    CFRange range = { location, length };
    return range;
}

static inline uint32_t CFSwapInt32BigToHost(uint32_t value)
{
    return __builtin_bswap32(value);
}

void CFRelease(CFTypeRef object);
void CFDataAppendBytes(CFMutableDataRef data, const uint8_t* bytes, CFIndex length);
CFMutableDataRef CFDataCreateMutable(CFAllocatorRef allocator, CFIndex capacity);
const void* CFDictionaryGetValue(CFDictionaryRef dictionary, const void* key);
CFPropertyListRef CFPropertyListCreateWithData(CFAllocatorRef allocator, CFDataRef data, CFOptionFlags options,
                                               CFIndex* format, CFErrorRef* error);
void CFReadStreamClose(CFReadStreamRef stream);
CFReadStreamRef CFReadStreamCreateWithFile(CFAllocatorRef allocator, CFURLRef file);
unsigned char CFReadStreamOpen(CFReadStreamRef stream);
CFIndex CFReadStreamRead(CFReadStreamRef stream, uint8_t* buffer, CFIndex length);
CFIndex CFStringGetBytes(CFStringRef string, CFRange range, CFStringEncoding encoding, uint8_t lossByte,
                         unsigned char isExternal, uint8_t* buffer, CFIndex size, CFIndex* used);
CFIndex CFStringGetLength(CFStringRef string);
CFIndex CFStringGetMaximumSizeForEncoding(CFIndex length, CFStringEncoding encoding);
CFURLRef CFURLCreateWithFileSystemPath(CFAllocatorRef allocator, CFStringRef path, CFIndex style,
                                       unsigned char isFolder);
CFUUIDRef CFUUIDCreate(CFAllocatorRef allocator);
CFStringRef CFUUIDCreateString(CFAllocatorRef allocator, CFUUIDRef uuid);

#ifdef __cplusplus
}
#endif

#endif
