// SPDX-License-Identifier: MIT
// SyncTable: the state of every lock, condition, atomic object and once flag, by its address.
#ifndef IXLAL_SCHEDULES_SYNCTABLE_H
#define IXLAL_SCHEDULES_SYNCTABLE_H

#include "Report.h"
#include "Thread.h"

#include <cstdint>

namespace schedules
{
/// The state of one object. The object itself keeps the bytes that the C library gave it.
struct SyncObject
{
    const void* address;
    Thread* owner;          ///< that holds the mutex, or writes under the read-write lock
    unsigned depth;         ///< of a recursive mutex
    unsigned readers;       ///< of a read-write lock
    unsigned lockIndex;     ///< in the graph of lock orders; 0 before the first lock
    bool monotonic;         ///< the clock of a condition's deadlines
    bool busy;              ///< a once flag whose function runs
    bool canFail;           ///< a mutex that an initialiser in the source has not made
    std::uint32_t users;    ///< bit set of the threads that used it while there were others
    std::uint32_t changers; ///< of those that did more than load it
    VectorClock clock;      ///< what happened before the last release
    std::uintptr_t made[Event::kCalls]; ///< where it was initialised or first used
};

class SyncTable
{
public:
    /// The object at an address; created at its first use.
    static SyncObject& at(const volatile void* iAddress);

    /// The object at an address, or null.
    static SyncObject* find(const volatile void* iAddress);

    /// Starts a new object at an address where an old one may have been.
    static SyncObject& renew(const volatile void* iAddress);

    /// Calls iVisit with each object.
    template <class F>
    static void each(F iVisit)
    {
        for (std::uint32_t i = 0; i < sCount; ++i)
        {
            iVisit(*sAll[i]);
        }
    }

private:
    static constexpr unsigned kSlotBits = 14;
    static constexpr std::uint32_t kSlots = 1u << kSlotBits;

    static SyncObject*& slot(const volatile void* iAddress);

    static SyncObject* sSlots[kSlots];
    static SyncObject* sAll[kSlots];
    static std::uint32_t sCount;
};
} // namespace schedules

#endif
