// SPDX-License-Identifier: MIT
// Heap: memory that is never used twice, so that a use after the free is always found.
#ifndef IXLAL_SCHEDULES_HEAP_H
#define IXLAL_SCHEDULES_HEAP_H

#include <cstddef>
#include <cstdint>

namespace schedules
{
/// The memory of a schedule. Each thread has an area of its own, so that addresses differ little
/// between schedules. No function switches threads.
class Heap
{
public:
    /// Memory of iSize bytes, aligned; null when it is used up.
    static void* allocate(std::size_t iSize, std::size_t iAlignment = 16);

    /// Releases memory. Reports a second release, and what was never allocated.
    static void release(void* iMemory);

    static bool owns(const void* iMemory);
    static std::size_t size(const void* iMemory);

    /// Whether all of these bytes are allocated, of memory that owns() is true for.
    static bool isLive(std::uintptr_t iAddress, std::size_t iSize);

    /// Reserves the address space. Once, in the parent of all schedules.
    static void reserve();
};
} // namespace schedules

#endif
