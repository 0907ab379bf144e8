// SPDX-License-Identifier: MIT
// PConfigLock: the locks of one configuration manager.
#ifndef IXLAL_PCONFIGLOCK_H
#define IXLAL_PCONFIGLOCK_H

#include "core/PReaderLock.h"
#include "portinglayer/PMutex.h"

/// The mutex guards all that the manager has. Readers share the run-time values and the values of
/// the store; their lock is closed with the mutex held, for short changes only, never while a file
/// is used.
struct PConfigLock
{
    PMutex fMutex;
    PReaderLock fReaders;
};

#endif
