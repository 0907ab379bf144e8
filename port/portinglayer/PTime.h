// SPDX-License-Identifier: MIT
// PTime: elapsed time.
#ifndef IXLAL_PTIME_H
#define IXLAL_PTIME_H

#include "PExport.h"

/// Ticks are milliseconds of the monotonic clock, which does not change when the time of day is
/// set. No member throws. [any thread]
class IXLA_EXPORT PTime
{
public:
    /// The present time, counted from a moment that is fixed while the machine runs.
    static long long getTickCount() noexcept;

    /// Milliseconds from iStart to iEnd.
    static long long getTickCountDiff(long long iStart, long long iEnd) noexcept;
};

#endif
