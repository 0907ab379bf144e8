// SPDX-License-Identifier: MIT
// PConditionalVar: lets threads wait for a change that others make under a PMutex.
#ifndef IXLAL_PCONDITIONALVAR_H
#define IXLAL_PCONDITIONALVAR_H

#include "PExport.h"

#include <pthread.h>

class PMutex;

/// A condition variable on the monotonic clock. Operations return 0 or a negated errno, -22 when
/// it is not open, -130 in a child of the process that opened it. None throws. [any thread]
class IXLA_EXPORT PConditionalVar
{
public:
    /// The result of a wait whose limit passed.
    enum
    {
        eTimeout = -733
    };

    PConditionalVar() noexcept;

    /// Closes an open condition variable.
    ~PConditionalVar();

    PConditionalVar(const PConditionalVar&) = delete;
    PConditionalVar& operator=(const PConditionalVar&) = delete;

    /// Opens it. -16 when it is open already.
    int init() noexcept;

    /// Releases its resources. Nobody may be waiting.
    int close() noexcept;

    /// Wakes every waiter.
    int notifyAll() noexcept;

    /// Gives iMutex, which the caller holds, back whole (however often it was locked), waits at
    /// most iMilliseconds and takes it again as often. May return 0 without a signal. Returns 0
    /// when woken, eTimeout when the limit passed, -1 when the caller doesn't hold the mutex. The
    /// thread is not cancelled meanwhile.
    int wait(PMutex* iMutex, unsigned int iMilliseconds) noexcept;

private:
    pthread_cond_t fHandle;
    unsigned short fGeneration; ///< of the process that opened it, 0 while closed
};

#endif
