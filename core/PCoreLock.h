// SPDX-License-Identifier: MIT
// PCoreLock: the lock of one core and its condition variable.
#ifndef IXLAL_PCORELOCK_H
#define IXLAL_PCORELOCK_H

#include "portinglayer/PConditionalVar.h"
#include "portinglayer/PMutex.h"

class PLogger;

/// The mutex guards the init states and uses of all plugin records, the list of records from the
/// start on, the list of waiting threads, and the exit flag. Plugin code runs with the mutex
/// released, except the destruction of a plugin that is being unloaded. The loader is never called
/// with it held.
class PCoreLock
{
public:
    PCoreLock() noexcept = default;

    PCoreLock(const PCoreLock&) = delete;
    PCoreLock& operator=(const PCoreLock&) = delete;

    /// Opens both. Returns 0, or -1011 and -1012 for the mutex and the condition variable; a
    /// failure is logged.
    int init(PLogger* iLogger) noexcept;

    /// Closes both; a failure is logged.
    void close(PLogger* iLogger) noexcept;

    PMutex fMutex;
    PConditionalVar fCondVar; ///< notified when an initialisation ends and when the exit is sent
};

#endif
