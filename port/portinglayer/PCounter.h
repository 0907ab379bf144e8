// SPDX-License-Identifier: MIT
// PCounter: the count of references to an object.
#ifndef IXLAL_PCOUNTER_H
#define IXLAL_PCOUNTER_H

/// A signed counter. The increment is atomic, because the synchronised counter inherits it;
/// change() is not and belongs to counters that one thread at a time uses.
class PCounter
{
public:
    /// Begins at iValue.
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
    int fValue; ///< changed by atomic operations where threads share it
};

#endif
