// SPDX-License-Identifier: MIT
// PInstanceLookup: finds the plugin behind an interface ID and gets the object from it.
#ifndef IXLAL_PINSTANCELOOKUP_H
#define IXLAL_PINSTANCELOOKUP_H

#include "core/PPluginRegistry.h"

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
        return fRegistry.isStarted() ? getInstanceInternal(iInterfaceId, oInstance)
                                     : refuse(iInterfaceId);
    }

    /// As ixlaGetInstance, also before the core is marked started.
    int getInstanceInternal(const PLiteral& iInterfaceId, IBase*& oInstance);

    /// As the exported function.
    bool ixlaIsInterfaceAvailable(const PLiteral& iInterfaceId) const;

private:
    [[gnu::cold]] int refuse(const PLiteral& iInterfaceId) const;
    int guardedGetInstance(const PCorePlugin& iRecord, const PLiteral& iInterfaceId,
                           IBase*& oInstance) const;

    const PCoreLog& fLog;
    const PPluginRegistry& fRegistry;
    PPluginInit& fInit;
};

#endif
