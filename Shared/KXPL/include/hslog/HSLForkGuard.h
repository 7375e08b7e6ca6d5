// What a fork leaves of the logger in the child. Not for hosts.
#ifndef HSLOG_HSL_FORK_GUARD_H
#define HSLOG_HSL_FORK_GUARD_H

#include "../detail/KxHost.h"

namespace HSL {

class CCollectionThread;
class CLogManager;

// Sees to it that a forked child has a manager that can be used: switched off, with its lock free, without a
// collection thread, and without the contexts and formats of its parent, whose records the parent outputs. What
// other threads of the parent held or were changing at that moment is left where it lies, never looked at.
//
// The fork waits for nothing. (To wait for the lock would be to wait for a pass, and its callbacks.)
class CForkGuard {
public:
    // From now on forks are guarded for this manager and the module's collection thread. One at a time.
    static void Watch(CLogManager& manager, CCollectionThread& collectionThread);
    // Ends that. Waits for a fork that is under way. Nothing happens for a manager that is not watched.
    static void Forget(const CLogManager& manager);
};

} // namespace HSL

#endif
