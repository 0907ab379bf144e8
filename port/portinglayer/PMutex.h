// SPDX-License-Identifier: MIT
// PMutex: mutual exclusion between threads.
#ifndef IXLAL_PMUTEX_H
#define IXLAL_PMUTEX_H

#include "PExport.h"
#include "PThreadSafety.h"

#include <pthread.h>

/// A mutex that must be opened before use. Operations return 0 or a negated errno: -22 when it is
/// not open, -1 when the caller does not hold it, -16 when it is in use, -35 when the holder of a
/// non-recursive mutex locks it again, -130 in a forked child of the process that opened it. The
/// child may open it again. None throws. [any thread]
class IXLA_EXPORT IXLA_CAPABILITY("mutex") PMutex
{
public:
    PMutex() noexcept;

    /// Releases the locks that the calling thread still holds, and closes an open mutex.
    ~PMutex();

    PMutex(const PMutex&) = delete;
    PMutex& operator=(const PMutex&) = delete;

    /// Opens the mutex. With iRepeatable it is recursive: the holding thread may lock it again, and
    /// unlocks it as often. -16 when it is already open.
    int init(bool iRepeatable) noexcept;

    /// Waits for the mutex and locks it.
    int lock() noexcept IXLA_ACQUIRE();

    /// Releases one lock.
    int unlock() noexcept IXLA_RELEASE();

    /// Closes the mutex and releases its resources. -16 while a thread holds it; it stays open
    /// then.
    int close() noexcept;

private:
    friend class PConditionalVar;
    friend class PTimedLockGuard;

    pthread_mutex_t fHandle;
    unsigned long fOwner; ///< the holding thread, 0 for none; atomic, because other threads read it
    unsigned int fDepth;  ///< number of locks of the holder
    unsigned short fGeneration; ///< of the process that opened it, 0 while closed
    bool fRepeatable;
};

#endif
