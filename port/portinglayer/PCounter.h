// SPDX-License-Identifier: MIT
// PCounter: a reference count for one thread at a time.
#ifndef IXLAL_PCOUNTER_H
#define IXLAL_PCOUNTER_H

/// A signed counter. The increment is atomic, because PCounterSync inherits it. change() is not
/// atomic, so one thread at a time may use the counter.
class PCounter
{
public:
    /// Starts at iValue.
    explicit PCounter(int iValue) noexcept : fValue(iValue)
    {
    }

    PCounter(const PCounter&) = delete;
    PCounter& operator=(const PCounter&) = delete;

    /// Adds one; returns the new value. [any thread]
    int operator++() noexcept
    {
        return __atomic_add_fetch(&fValue, 1, __ATOMIC_RELAXED);
    }

    /// Adds iBy; returns the new value.
    int change(int iBy) noexcept
    {
        return fValue += iBy;
    }

protected:
    int fValue; ///< accessed by atomic operations if threads share it
};

#endif
