// SPDX-License-Identifier: MIT
// Used: what the callables of a worker or a timer use.
#ifndef IXLAL_SCHEDULES_USED_H
#define IXLAL_SCHEDULES_USED_H

#include "Scenario.h"

/// Destroyed once the worker or timer has ended. Not synchronised: the worker has to order its
/// callables, and the end the last of them before the destruction.
struct Used
{
    Used() = default;
    Used(const Used&) = delete;
    Used& operator=(const Used&) = delete;

    ~Used()
    {
        isAlive = 0;
    }

    /// For the callable.
    void run()
    {
        schedules::requireNoLocks("a callable of a worker");
        schedules::requireEqual(1, isAlive, "what the callable uses is alive");
        ++runs;
    }

    int isAlive = 1;
    int runs = 0;
};

#endif
