// SPDX-License-Identifier: MIT
// PTimedLockGuard: holds a PMutex until the end of its scope, if it gets it within a time limit.
#ifndef IXLAL_PTIMEDLOCKGUARD_H
#define IXLAL_PTIMEDLOCKGUARD_H

#include "PErrno.h"
#include "PMonotonic.h"
#include "PMutex.h"

#if defined(__SANITIZE_THREAD__)
#include <sanitizer/tsan_interface.h>
#endif

/// As PLockGuard, but with a limited wait: check result() before using the data that the mutex
/// guards.
class IXLA_SCOPED_CAPABILITY PTimedLockGuard
{
public:
    /// The result of a lock that timed out.
    enum
    {
        eTimeout = -ETIMEDOUT
    };

    /// Locks iMutex, which must outlive the guard; waits at most iMilliseconds.
    PTimedLockGuard(PMutex& iMutex, unsigned int iMilliseconds) noexcept IXLA_ACQUIRE(iMutex)
        : fMutex(iMutex), fResult(lock(iMutex, iMilliseconds))
    {
    }

    // Drops the code of a failed unlock: a destructor cannot report it.
    ~PTimedLockGuard() IXLA_RELEASE()
    {
        if (fResult == 0)
        {
            fMutex.unlock();
        }
    }

    PTimedLockGuard(const PTimedLockGuard&) = delete;
    PTimedLockGuard& operator=(const PTimedLockGuard&) = delete;

    /// The result of locking: 0, eTimeout, or that of PMutex::lock.
    int result() const noexcept
    {
        return fResult;
    }

private:
    // The analysis does not apply to the implementation of the lock.
    static int lock(PMutex& ioMutex,
                    unsigned int iMilliseconds) noexcept IXLA_NO_THREAD_SAFETY_ANALYSIS
    {
        const unsigned long self = static_cast<unsigned long>(pthread_self());
        // Not compared with PFork::generation(): each library counts its own, and one that was
        // loaded after a fork starts later.
        if (__atomic_load_n(&ioMutex.fGeneration, __ATOMIC_ACQUIRE) == 0 ||
            __atomic_load_n(&ioMutex.fOwner, __ATOMIC_RELAXED) == self)
        {
            return ioMutex.lock(); // does not wait
        }
        const timespec limit = PMonotonic::after(iMilliseconds);
        if (const int error = lockBefore(ioMutex.fHandle, limit))
        {
            return PErrno::code(error);
        }
        __atomic_store_n(&ioMutex.fOwner, self, __ATOMIC_RELAXED);
        ioMutex.fDepth = 1;
        return 0;
    }

#if defined(__SANITIZE_THREAD__)
    // The sanitizer intercepts other mutex calls, but not this one.
    static int lockBefore(pthread_mutex_t& ioHandle, const timespec& iLimit) noexcept
    {
        __tsan_mutex_pre_lock(&ioHandle, 0);
        const int error = pthread_mutex_clocklock(&ioHandle, CLOCK_MONOTONIC, &iLimit);
        __tsan_mutex_post_lock(&ioHandle, error == 0 ? 0 : __tsan_mutex_try_lock_failed, 0);
        return error;
    }
#else
    static int lockBefore(pthread_mutex_t& ioHandle, const timespec& iLimit) noexcept
    {
        return pthread_mutex_clocklock(&ioHandle, CLOCK_MONOTONIC, &iLimit);
    }
#endif

    PMutex& fMutex;
    const int fResult;
};

#endif
