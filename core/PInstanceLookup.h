// SPDX-License-Identifier: MIT
// PInstanceLookup: finds the plugin behind an interface ID and gets the object from it.
#ifndef IXLAL_PINSTANCELOOKUP_H
#define IXLAL_PINSTANCELOOKUP_H

#include "Ixla.h"
#include "core/PCoreLog.h"
#include "core/PPluginRegistry.h"
#include "portinglayer/PThreadEnd.h"

class PPluginInit;

/// The steps of one lookup: the registry finds the record, PPluginInit runs or awaits the plugin's
/// init, and the plugin returns the object. Takes no lock itself. [any thread]
class PInstanceLookup
{
public:
    PInstanceLookup(const PCoreLog& iLog, const PPluginRegistry& iRegistry,
                    PPluginInit& ioInit) noexcept
        : fLog(iLog), fRegistry(iRegistry), fInit(ioInit)
    {
    }

    PInstanceLookup(const PInstanceLookup&) = delete;
    PInstanceLookup& operator=(const PInstanceLookup&) = delete;

    /// As the exported function, whose contract is in Ixla.h.
    int ixlaGetInstance(const PLiteral& iInterfaceId, IBase*& oInstance)
    {
        if (!fRegistry.isStarted())
        {
            return refuse(iInterfaceId);
        }
        const PLogger* const logger = fLog.logger();
        const bool isLogged = logger && logger->isLogged(kLowestLevel);
        PCorePlugin* const record = fRegistry.find(iInterfaceId);
        return record && !isLogged && record->isReady()
                   ? askPlugin(*record, iInterfaceId, oInstance)
                   : lookUp(record, iInterfaceId, oInstance);
    }

    /// As ixlaGetInstance, also before the core is marked started.
    int getInstanceInternal(const PLiteral& iInterfaceId, IBase*& oInstance)
    {
        return lookUp(fRegistry.find(iInterfaceId), iInterfaceId, oInstance);
    }

    /// As the exported function.
    bool ixlaIsInterfaceAvailable(const PLiteral& iInterfaceId) const;

private:
    /// The lines of a lookup that succeeds have this level or a higher one.
    static constexpr int kLowestLevel = 1;

    /// The lookup with its log lines. iFound is the record of the interface ID, or null.
    int lookUp(PCorePlugin* iFound, const PLiteral& iInterfaceId, IBase*& oInstance);

    IXLA_PASSES_THREAD_END int askPlugin(const PCorePlugin& iRecord, const PLiteral& iInterfaceId,
                                         IBase*& oInstance) const
    {
        int result = eIxlaOk;
        try
        {
            result = iRecord.fPlugin->getInstance(iInterfaceId, oInstance);
        }
        catch (PThreadEnd&)
        {
            logThreadEnd(iRecord);
            throw;
        }
        catch (...)
        {
            result = convertException(iRecord);
        }
        return result == eIxlaOk ? eIxlaOk : logFailure(iRecord, result);
    }

    [[gnu::cold]] int refuse(const PLiteral& iInterfaceId) const;
    [[gnu::cold]] void logThreadEnd(const PCorePlugin& iRecord) const;
    [[gnu::cold]] int convertException(const PCorePlugin& iRecord) const;
    [[gnu::cold]] int logFailure(const PCorePlugin& iRecord, int iResult) const;

    const PCoreLog& fLog;
    const PPluginRegistry& fRegistry;
    PPluginInit& fInit;
};

#endif
