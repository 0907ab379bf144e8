// SPDX-License-Identifier: MIT
// Stopwatch: measures a part of a timed turn.
#ifndef IXLAL_BENCHMARKS_STOPWATCH_H
#define IXLAL_BENCHMARKS_STOPWATCH_H

#include "support/Allocations.h"

#include <chrono>
#include <valgrind/callgrind.h>

/// Runs from its construction until stop(). Under callgrind it turns counting on for that time; the
/// caller that started the counting must have turned it off before.
class Stopwatch
{
public:
    Stopwatch() : fAllocations(Allocations::count()), fStart(Clock::now())
    {
        CALLGRIND_TOGGLE_COLLECT;
    }

    /// Returns the seconds since the start.
    double stop()
    {
        CALLGRIND_TOGGLE_COLLECT;
        const std::chrono::duration<double> passed = Clock::now() - fStart;
        sAllocations += Allocations::count() - fAllocations;
        return passed.count();
    }

    /// The allocations of the calling thread so far while a watch ran.
    static unsigned long allocations()
    {
        return sAllocations;
    }

private:
    typedef std::chrono::steady_clock Clock;

    static inline thread_local unsigned long sAllocations = 0;

    unsigned long fAllocations;
    Clock::time_point fStart;
};

#endif
