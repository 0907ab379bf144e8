// SPDX-License-Identifier: MIT
// Locks: mutexes, also the one that stands for the loader's.
#ifndef IXLAL_SCHEDULES_LOCKS_H
#define IXLAL_SCHEDULES_LOCKS_H

#include "Scheduler.h"

namespace schedules
{
/// All expect a calling thread of the schedule.
class Locks
{
public:
    /// Waits for the mutex at most until the deadline. Results as of pthread_mutex_timedlock.
    static int lock(const volatile void* iMutex, bool iRecursive, bool iErrorCheck,
                    std::uint64_t iDeadline = kNever);
    static int tryLock(const volatile void* iMutex, bool iRecursive);
    static int unlock(const volatile void* iMutex);

    /// Releases the mutex completely, however deep, and locks it as deep again.
    static unsigned release(const volatile void* iMutex);
    static void reacquire(const volatile void* iMutex, unsigned iDepth);

    /// A switch point before an operation of a lock or a condition, which must exist: what made it
    /// happened before, and its memory may be released only after.
    static void use(Op iOp, const volatile void* iObject);

    /// The lock that stands for the loader's own.
    static const void* loader();
};
} // namespace schedules

#endif
