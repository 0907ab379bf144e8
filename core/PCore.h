// SPDX-License-Identifier: MIT
// PCore: the core behind the exported functions.
#ifndef IXLAL_PCORE_H
#define IXLAL_PCORE_H

#include "core/PCoreLifetime.h"
#include "core/PCoreParts.h"

#include <utility>

/// Forwards each operation to the part of the core that implements it, whose header has the
/// contract. The contracts of the operations that start with ixla are in Ixla.h.
class PCore
{
public:
    PCore() noexcept;

    /// Releases what the stop did not, closes mutex and condition variable and ends the core log.
    /// No call may be inside the core.
    virtual ~PCore();

    PCore(const PCore&) = delete;
    PCore& operator=(const PCore&) = delete;

    /// See PCoreLifetime.
    static PCore* getCore() noexcept
    {
        return PCoreLifetime::getCore();
    }

    static int ixlaStart(const PString* iArgs, unsigned int iCount)
    {
        return PCoreLifetime::ixlaStart(iArgs, iCount);
    }

    static int ixlaStop() noexcept
    {
        return PCoreLifetime::ixlaStop();
    }

    /// The log for the core's own lines; null without a log file. All forms of PLogger accept null.
    PLogger* getCoreLogger() const noexcept
    {
        return fParts.fLog.logger();
    }

    /// See PInstanceLookup.
    int ixlaGetInstance(const PLiteral& iInterfaceId, IBase*& oInstance)
    {
        return fParts.fLookup.ixlaGetInstance(iInterfaceId, oInstance);
    }

    int getInstanceInternal(const PLiteral& iInterfaceId, IBase*& oInstance)
    {
        return fParts.fLookup.getInstanceInternal(iInterfaceId, oInstance);
    }

    bool ixlaIsInterfaceAvailable(const PLiteral& iInterfaceId) const
    {
        return fParts.fLookup.ixlaIsInterfaceAvailable(iInterfaceId);
    }

    /// See PPluginRegistry.
    int ixlaUnloadPlugin(IPlugin* iPlugin)
    {
        return fParts.fRegistry.ixlaUnloadPlugin(iPlugin);
    }

    /// See PStartFlow.
    int startFlow(const PString* iArgs, unsigned int iCount)
    {
        return fParts.fStart.startFlow(iArgs, iCount);
    }

    /// See PGlobalConfig.
    int setGlobalConfig()
    {
        return fParts.fGlobalConfig.setGlobalConfig();
    }

    /// See PPluginLoader.
    int loadInternalPlugins()
    {
        return fParts.fLoader.loadInternalPlugins();
    }

    int loadPluginLib(const PLiteral& iPath)
    {
        return fParts.fLoader.loadPluginLib(iPath, fParts.fServices.readFreeLibraries());
    }

    int processPlugin(PBaseptr<IPlugin> iPlugin, PPtr<PLibrary> iLibrary)
    {
        return fParts.fLoader.processPlugin(std::move(iPlugin), std::move(iLibrary));
    }

    /// See PPluginInit.
    int initPlugin(PCorePlugin& ioRecord)
    {
        return fParts.fInit.initPlugin(ioRecord);
    }

    /// See PAutostart.
    // cppcheck-suppress constParameter ; takes the text that PFile::getFileName has shortened
    int initAutoStartPlugin(PString& iPluginName)
    {
        return fParts.fAutostart.initAutoStartPlugin(iPluginName);
    }

    /// See PStopFlow.
    int stopFlow()
    {
        return fParts.fStop.stopFlow();
    }

    /// See PExitNotifier.
    int notifyCoreExit()
    {
        return fParts.fNotifier.notifyCoreExit();
    }

    /// See PCoreParts.
    void cleanup()
    {
        fParts.cleanup();
    }

    /// Waits until the notifier and all calls have left the core. True when the core can be
    /// destroyed; otherwise it is never destroyed, nor is anything that the calls may use.
    bool end() noexcept;

private:
    PCoreParts fParts;
};

#endif
