// SPDX-License-Identifier: MIT
// Race: finds accesses that no synchronisation orders, and uses of released memory.
#ifndef IXLAL_SCHEDULES_RACE_H
#define IXLAL_SCHEDULES_RACE_H

#include <cstddef>
#include <cstdint>

namespace schedules
{
/// Every byte has a cell with its last accesses. Two accesses by different threads, one of them a
/// write and one of them not atomic, are a race unless one happened before the other. What happened
/// before follows from the memory orders that the code gives, not from the processor's.
class Race
{
public:
    static void read(std::uintptr_t iAddress, std::size_t iSize, std::uintptr_t iFrom);
    static void write(std::uintptr_t iAddress, std::size_t iSize, std::uintptr_t iFrom);
    static void atomicRead(std::uintptr_t iAddress, std::size_t iSize, std::uintptr_t iFrom);
    static void atomicWrite(std::uintptr_t iAddress, std::size_t iSize, std::uintptr_t iFrom);

    /// An operation of a lock or a condition, by the replaced function that the thread is in: the
    /// object was made before, and its memory is released after it.
    static void use(const volatile void* iObject);

    /// Memory is released: a write to all of it.
    static void released(std::uintptr_t iAddress, std::size_t iSize);

    /// Forgets what was accessed there, because other memory takes its place.
    static void forget(std::uintptr_t iAddress, std::size_t iSize);

    /// Memory of the runtime itself: the wrapped memory functions do not check it.
    static void exclude(const void* iBegin, std::size_t iSize);
    static bool isExcluded(std::uintptr_t iAddress);

    /// Without the detector schedules run about twice as fast.
    static void enable(bool iEnable);

    /// Records the accesses to this byte for the report, 0 for none.
    static void watch(std::uintptr_t iAddress);
};
} // namespace schedules

#endif
