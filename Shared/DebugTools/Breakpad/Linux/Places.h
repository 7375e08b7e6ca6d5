// Folders and programs.
#ifndef FALLCATCH_BREAKPAD_PLACES_H
#define FALLCATCH_BREAKPAD_PLACES_H

#include <string>

namespace BreakpadLinux {

// A product's name as the name of one folder: no part of a path, never "." or "..", not too long.
std::string FileNameFor(const std::string& product);

// A host may change its working folder before it crashes.
std::string AbsolutePath(const std::string& path);

// Makes the folder and those above it, for the user alone. Returns whether it is there and can be written.
bool MakeFolder(const std::string& path);

bool IsProgram(const std::string& path);

// The sender beside this library or, once installed, in the folder for programs that only libraries start.
// Empty when it is in neither.
std::string FindSender();

} // namespace BreakpadLinux

#endif
