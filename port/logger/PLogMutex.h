// SPDX-License-Identifier: MIT
// PLogMutex: the mutex of a log file, and its guard.
#ifndef IXLAL_PLOGMUTEX_H
#define IXLAL_PLOGMUTEX_H

#include "portinglayer/PThreadSafety.h"

#include <mutex>

/// A mutex that need not be opened and whose lock operation cannot fail, so that failures of other
/// locks can be logged.
class IXLA_CAPABILITY("mutex") PLogMutex
{
public:
    void lock() noexcept IXLA_ACQUIRE()
    {
        fMutex.lock();
    }

    void unlock() noexcept IXLA_RELEASE()
    {
        fMutex.unlock();
    }

private:
    std::mutex fMutex;
};

/// Holds a PLogMutex until the end of its scope.
class IXLA_SCOPED_CAPABILITY PLogLock
{
public:
    explicit PLogLock(PLogMutex& iMutex) noexcept IXLA_ACQUIRE(iMutex) : fMutex(iMutex)
    {
        fMutex.lock();
    }

    ~PLogLock() IXLA_RELEASE()
    {
        fMutex.unlock();
    }

    PLogLock(const PLogLock&) = delete;
    PLogLock& operator=(const PLogLock&) = delete;

private:
    PLogMutex& fMutex;
};

#endif
