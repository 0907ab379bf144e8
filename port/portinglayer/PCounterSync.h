// SPDX-License-Identifier: MIT
// PCounterSync: an atomic reference count.
#ifndef IXLAL_PCOUNTERSYNC_H
#define IXLAL_PCOUNTERSYNC_H

#include "PCounter.h"

/// All changes are atomic. The change that reaches 0 happens after all earlier ones, so its thread
/// may destroy the counted object. [any thread]
class PCounterSync : public PCounter
{
public:
    /// Starts at iValue.
    explicit PCounterSync(int iValue) noexcept : PCounter(iValue)
    {
    }

    /// Adds iBy; returns the new value.
    int change(int iBy) noexcept
    {
        return __atomic_add_fetch(&fValue, iBy, __ATOMIC_ACQ_REL);
    }
};

#endif
