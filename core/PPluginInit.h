// SPDX-License-Identifier: MIT
// PPluginInit: initialises each plugin once, on the thread of the first lookup.
#ifndef IXLAL_PPLUGININIT_H
#define IXLAL_PPLUGININIT_H

#include "Ixla.h"
#include "core/PCoreLock.h"
#include "core/PCorePlugin.h"

class PCoreLog;
class PInitWait;
class PPluginRegistry;

/// The core's mutex guards the init states of all records. A plugin's init runs with the mutex
/// released; other threads that look up the plugin's interfaces wait until it ends. Once a plugin
/// is initialised, lookups do not take the mutex: the state never changes again. [any thread]
class PPluginInit
{
public:
    PPluginInit(const PCoreLog& iLog, PCoreLock& iLock, const PPluginRegistry& iRegistry) noexcept
        : fLog(iLog), fLock(iLock), fRegistry(iRegistry), fInitCount(0), fFirstWait(nullptr)
    {
    }

    PPluginInit(const PPluginInit&) = delete;
    PPluginInit& operator=(const PPluginInit&) = delete;

    /// Initialises the plugin of a record, unless it is initialised. Returns 0; the plugin's own
    /// code to the initialising caller; -2003 to others after a failure; -2004 in a loop on the
    /// same thread; -1016 when it is already unloaded; -1013 or -1014.
    int initPlugin(PCorePlugin& ioRecord)
    {
        return ioRecord.isReady() ? eIxlaOk : initOnce(ioRecord);
    }

private:
    int initOnce(PCorePlugin& ioRecord);
    int runInit(PCorePlugin& ioRecord);
    int callInit(const PCorePlugin& iRecord) const;
    int guardedInit(const PCorePlugin& iRecord) const;
    int finishInit(PCorePlugin& ioRecord, int iResult);
    int nl_awaitInit(PCorePlugin& iRecord, bool& oWaitFailed) IXLA_REQUIRES(fLock.fMutex);
    [[gnu::cold]] void nl_logWait(const PCorePlugin& iRecord) IXLA_REQUIRES(fLock.fMutex);
    [[gnu::cold]] void nl_logLoop(const PCorePlugin& iRecord) IXLA_REQUIRES(fLock.fMutex);

    const PCoreLog& fLog;
    PCoreLock& fLock;
    const PPluginRegistry& fRegistry;
    unsigned int fInitCount IXLA_GUARDED_BY(fLock.fMutex); ///< initialisations started
    PInitWait* fFirstWait IXLA_GUARDED_BY(fLock.fMutex);   ///< the list of waiting threads
};

#endif
