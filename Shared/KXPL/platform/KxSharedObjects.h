// Memory objects with a name, which outlive the process that made them (POSIX, shm_open), and how those that exist are
// found. One source per system implements it.
//
// Each object has an entry, an open file that a process locks for as long as it uses the object: the system gives the
// lock up when the process ends, however it does. Names have no slash and at most kLongestSharedName characters.
#ifndef KXPL_KX_SHARED_OBJECTS_H
#define KXPL_KX_SHARED_OBJECTS_H

#include <cstddef>
#include <string>
#include <vector>

namespace KXPL {

constexpr std::size_t kLongestSharedName = 200;

// Opens the entry of that name, or makes it: readable and writable by the caller's user alone, not inherited by
// programs that are executed. Follows no link. -1 with errno: EEXIST when it was to be made and is there, EACCES also
// for what cannot be an entry.
int KxOpenSharedEntry(const char* name, bool make);

// Opens the object whose entry is open, or makes it with that many bytes, all zeros. To be closed beside the entry. -1
// with errno.
int KxOpenSharedObject(int entry, const char* name, std::size_t bytes, bool make);

// Makes sure that there is memory for that part of the object, so that storing there cannot fail. 0 or an error number.
int KxCommitSharedObject(int object, std::size_t from, std::size_t bytes);

// Copies the object's first bytes, all of them or none. False when there are less or they cannot be read.
bool KxReadSharedObject(int object, std::size_t bytes, std::string& copy);

// Removes the object's name and its entry. What is mapped stays.
void KxRemoveSharedObject(const char* name);

// Names of entries that begin like this, any user's. False when they cannot be listed.
bool KxListSharedObjects(const std::string& beginning, std::vector<std::string>& names);

} // namespace KXPL

#endif
