// What Breakpad's client for macOS uses of CoreServices: numbers of messages are little-endian, as both processors are.
#ifndef FALLCATCH_TESTS_MACOS_CORE_SERVICES_H
#define FALLCATCH_TESTS_MACOS_CORE_SERVICES_H

#include <CoreFoundation/CoreFoundation.h>

#define EndianU32_LtoN(value) (value)
#define EndianU32_NtoL(value) (value)

#endif
