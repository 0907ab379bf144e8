// SPDX-License-Identifier: MIT
// PMonotonic: times of the monotonic clock, which does not change when the time of day is set.
#ifndef IXLAL_PMONOTONIC_H
#define IXLAL_PMONOTONIC_H

#include <ctime>

struct PMonotonic
{
    static timespec now() noexcept
    {
        timespec time = {};
        // Cannot fail: Linux always has this clock.
        clock_gettime(CLOCK_MONOTONIC, &time);
        return time;
    }

    /// iMilliseconds from now.
    static timespec after(unsigned int iMilliseconds) noexcept
    {
        timespec time = now();
        time.tv_sec += static_cast<time_t>(iMilliseconds / 1000u);
        time.tv_nsec += static_cast<long>(iMilliseconds % 1000u) * 1000000L;
        if (time.tv_nsec >= 1000000000L)
        {
            time.tv_nsec -= 1000000000L;
            ++time.tv_sec;
        }
        return time;
    }
};

#endif
