// SPDX-License-Identifier: MIT
// Costs: counts what an operation changes in memory, which is what it costs on other processors.
#ifndef IXLAL_SCHEDULES_COSTS_H
#define IXLAL_SCHEDULES_COSTS_H

#include "Thread.h"

#include <cstdint>

namespace schedules
{
/// The changes that a thread made while it was recorded.
struct Changes
{
    static constexpr unsigned kMostLines = 1024;
    static constexpr unsigned kLineBytes = 64;

    void write(std::uintptr_t iAddress);
    void change(std::uintptr_t iAddress);
    bool hasLine(std::uintptr_t iLine) const;

    std::uint32_t atomic; ///< read-modify-writes, with the two of each lock
    std::uint32_t locks;
    std::uint32_t lineCount;
    std::uintptr_t lines[kMostLines]; ///< cache lines that it changed
};

/// All are called by the thread that they are about.
class Costs
{
public:
    static void record(unsigned iSlot);
    static void stop();
    static void report(const char* iOperation);

    static void wrote(const Thread& iThread, std::uintptr_t iAddress)
    {
        if (iThread.changes)
        {
            iThread.changes->write(iAddress);
        }
    }

    static void changed(const Thread& iThread, std::uintptr_t iAddress)
    {
        if (iThread.changes)
        {
            iThread.changes->change(iAddress);
        }
    }

    static void locked(const Thread& iThread)
    {
        if (iThread.changes)
        {
            ++iThread.changes->locks;
        }
    }
};
} // namespace schedules

#endif
