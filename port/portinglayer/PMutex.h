// SPDX-License-Identifier: MIT
// PMutex: mutual exclusion between threads.
#ifndef IXLAL_PMUTEX_H
#define IXLAL_PMUTEX_H

#include "PExport.h"
#include "PThreadSafety.h"

#include <pthread.h>

/// A mutex that must be opened before use. Operations return 0 or a negated errno: -22 when it is
/// not open, -1 when the caller doesn't hold it, -16 when it is in use, -35 when the holder of a
/// mutex without repetition locks it again, -130 in a child of the process that opened it, where it
/// may be opened anew. None throws. [any thread]
class IXLA_EXPORT IXLA_CAPABILITY("mutex") PMutex
{
public:
    PMutex() noexcept;

    /// Gives back what the calling thread still holds and closes an open mutex.
    ~PMutex();

    PMutex(const PMutex&) = delete;
    PMutex& operator=(const PMutex&) = delete;

    /// Opens the mutex. With iRepeatable the holding thread may lock it again and unlocks it as
    /// often. -16 when it is open already.
    int init(bool iRepeatable) noexcept;

    /// Waits for the mutex and takes it.
    int lock() noexcept IXLA_ACQUIRE();

    /// Gives back one lock.
    int unlock() noexcept IXLA_RELEASE();

    /// Releases the mutex's resources. -16 while somebody holds it; it stays open then.
    int close() noexcept;

private:
    friend class PConditionalVar;
    friend class PTimedLockGuard;

    pthread_mutex_t fHandle;
    unsigned long fOwner; ///< the holding thread, 0 for none; read by others, hence atomically
    unsigned int fDepth;  ///< how often the holder has locked
    unsigned short fGeneration; ///< of the process that opened it, 0 while closed
    bool fRepeatable;
};

#endif
