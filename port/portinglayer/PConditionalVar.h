// SPDX-License-Identifier: MIT
// PConditionalVar: a condition variable for use with a PMutex.
#ifndef IXLAL_PCONDITIONALVAR_H
#define IXLAL_PCONDITIONALVAR_H

#include "PExport.h"

#include <pthread.h>

class PMutex;

/// A condition variable on the monotonic clock. Operations return 0 or a negated errno: -22 when
/// it is not open, -130 in a forked child of the process that opened it. None throws. [any thread]
class IXLA_EXPORT PConditionalVar
{
public:
    /// The result of a wait that timed out.
    enum
    {
        eTimeout = -733
    };

    PConditionalVar() noexcept;

    /// Closes an open condition variable.
    ~PConditionalVar();

    PConditionalVar(const PConditionalVar&) = delete;
    PConditionalVar& operator=(const PConditionalVar&) = delete;

    /// Opens it. -16 when it is already open.
    int init() noexcept;

    /// Releases its resources. No thread may be waiting.
    int close() noexcept;

    /// Wakes every waiter.
    int notifyAll() noexcept;

    /// Unlocks iMutex, which the caller holds, completely (however often it was locked), waits at
    /// most iMilliseconds, and locks it again as often. Returns 0 when woken, eTimeout when the
    /// time has passed, -1 when the caller does not hold the mutex. Wakeups may be spurious. The
    /// thread is not cancelled during the wait.
    int wait(PMutex* iMutex, unsigned int iMilliseconds) noexcept;

private:
    pthread_cond_t fHandle;
    unsigned short fGeneration; ///< of the process that opened it, 0 while closed
};

#endif
