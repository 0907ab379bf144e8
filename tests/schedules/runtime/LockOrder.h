// SPDX-License-Identifier: MIT
// LockOrder: the orders in which the threads of a schedule take locks.
#ifndef IXLAL_SCHEDULES_LOCKORDER_H
#define IXLAL_SCHEDULES_LOCKORDER_H

#include "SyncTable.h"
#include "Thread.h"

namespace schedules
{
/// A graph with an edge from each held lock to the one that is taken. A cycle is a possible
/// deadlock, also when this schedule did not meet it.
class LockOrder
{
public:
    /// The calling thread takes a lock. Returns a held lock that was taken after it somewhere else,
    /// or null.
    static const void* add(const Thread& iThread, SyncObject& ioLock);

private:
    static bool reaches(unsigned iFrom, unsigned iTo);
};
} // namespace schedules

#endif
