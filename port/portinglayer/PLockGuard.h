// SPDX-License-Identifier: MIT
// PLockGuard: holds a PMutex until the end of its scope.
#ifndef IXLAL_PLOCKGUARD_H
#define IXLAL_PLOCKGUARD_H

#include "PMutex.h"

/// Locks at construction and unlocks at destruction. Locking may fail: check result() before using
/// the data that the mutex guards.
class IXLA_SCOPED_CAPABILITY PLockGuard
{
public:
    /// Locks iMutex, which must outlive the guard.
    explicit PLockGuard(PMutex& iMutex) noexcept IXLA_ACQUIRE(iMutex)
        : fMutex(iMutex), fResult(iMutex.lock()), fHeld(fResult == 0)
    {
    }

    // Drops the code of a failed unlock; call unlock() to get it.
    ~PLockGuard() IXLA_RELEASE()
    {
        if (fHeld)
        {
            fMutex.unlock();
        }
    }

    PLockGuard(const PLockGuard&) = delete;
    PLockGuard& operator=(const PLockGuard&) = delete;

    /// The result of locking.
    int result() const noexcept
    {
        return fResult;
    }

    /// Unlocks now; returns the mutex's result. The destructor does not unlock again.
    int unlock() noexcept IXLA_RELEASE()
    {
        fHeld = false;
        return fMutex.unlock();
    }

    /// Leaves the mutex locked beyond the scope.
    void keepLocked() noexcept IXLA_RELEASE()
    {
        fHeld = false;
    }

private:
    PMutex& fMutex;
    int fResult;
    bool fHeld;
};

#endif
