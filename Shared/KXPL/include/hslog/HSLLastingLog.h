// The log of a process that was killed (kill -9, out of memory): rings and kept lines lie in a shared memory object,
// which the process's end leaves as it is, for the product's next start to make text of.
//
//     HSL::TakeLogsOfDead("Example", save, nullptr);   // what earlier processes left
//     HSL::MakeLogLast("Example");
//     HSL::KeepLines();
//     HSL::CLogManager::Initialize();
//
// "fallcatch_log --product Example" prints and removes them as well. docs/crash-log.md tells what is promised.
#ifndef HSLOG_HSL_LASTING_LOG_H
#define HSLOG_HSL_LASTING_LOG_H

#include "../detail/KxHost.h"

namespace HSL {

// The most that an object grows to unless told otherwise, and the bounds of what it may be told.
constexpr unsigned int kLastingBytes = 32u << 20;
constexpr unsigned int kLeastLastingBytes = 8u << 20;
constexpr unsigned int kMostLastingBytes = 1u << 30;

// From now on the module's managers lay the rings of threads' contexts, and what else a log is made of, in a shared
// memory object named after product, user and process, readable and writable by this user alone. To be called once,
// before Initialize. A log call is the same to the instruction.
//
// `product` tells the objects of one program from those of others; any text, of which 255 bytes count. `bytes`, from
// kLeastLastingBytes to kMostLastingBytes, is the most that the object grows to; what is not used takes no memory. A
// ring that finds no room there comes from the heap and does not last.
//
// Manager's Cleanup removes the object. A process that ends otherwise leaves it behind, in memory, until somebody takes
// it or the machine is restarted. A forked child has no part in its parent's object: it gets one of its own with a
// manager of its own.
//
// Returns 0, or an error number with which nothing has changed: EINVAL for the arguments, EBUSY when a manager exists
// or this was called before, ENOSPC or ENOMEM when there is no memory, EFBIG where the system allows this process no
// file of that size, and what else the system refuses with. Not in two threads at once.
int MakeLogLast(const char* product, unsigned int bytes = kLastingBytes);

// Memory functions for contexts that the host makes itself, so that their rings last as well: any thread, at any time.
// From the heap before MakeLogLast and where there is no room.
void* LastingMalloc(int size);
void LastingFree(void* block, int size);

// What a dead process left.
struct CDeadLog {
    int mProcess;       // its number, which another process may have by now
    long long mStarted; // when it called Initialize, seconds since 1970 UTC
    const char* mLines; // the lines as the plain callback would have got them; may be empty
    const char* mNotes; // what is missing, lines too; the first sums up
    bool mIsDamaged;    // some of it could not be read
};

// Makes text of what dead processes of the product and this user left, oldest first, hands over each, and removes it
// where `take` returns true. A process that lives, under whatever name or number, is left alone; so is what another
// one is just taking. Nothing that lies in an object is trusted.
//
// Texts are valid during the call. Any thread but a callback's; a collection pass waits meanwhile. Returns how many
// were removed, or -1 when they cannot be listed.
int TakeLogsOfDead(const char* product, bool (*take)(const CDeadLog& log, void* context), void* context);

} // namespace HSL

#endif
