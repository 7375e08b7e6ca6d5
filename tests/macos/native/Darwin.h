// What stands for Darwin's libraries when an image for macOS runs on Linux: functions of this system where both
// agree, others that translate where constants or the widths of types differ.
#ifndef FALLCATCH_TESTS_MACOS_NATIVE_DARWIN_H
#define FALLCATCH_TESTS_MACOS_NATIVE_DARWIN_H

#include "MachImage.h"

#include <map>
#include <string>

using Functions = std::map<std::string, void*>;

// Methods of all types go by way of this one, which compilers let pass for any function.
template <typename Function> void* asAddress(Function function)
{
    return reinterpret_cast<void*>(reinterpret_cast<void (*)()>(function));
}

// By their names in C, without Darwin's underscore.
const Functions& darwinThreads();
const Functions& darwinMemory();
const Functions& darwinObjectiveC(); // over GNUstep's Foundation and GCC's runtime

// What a name with Darwin's underscore stands for; null where nothing does.
void* darwinSymbol(const std::string& name);

// Turns an image's selectors and string constants into GCC's and GNUstep's. After Bind, before any of its code.
void adoptObjects(const MachImage& image);

// What Foundation takes for the command line of this process.
void tellArguments(int count, char** arguments);

#endif
