// SPDX-License-Identifier: MIT
// PAutostart: initialises the plugins that the configuration names.
#ifndef IXLAL_PAUTOSTART_H
#define IXLAL_PAUTOSTART_H

#include "core/PPluginRegistry.h"

class PPluginInit;

/// Finds plugins by the file names of their libraries. A plugin may be unloaded at any time, so the
/// use of each record is counted while it is initialised. [any thread, with no lock held]
class PAutostart
{
public:
    PAutostart(const PCoreLog& iLog, PPluginRegistry& ioRegistry, PPluginInit& ioInit) noexcept
        : fLog(iLog), fRegistry(ioRegistry), fInit(ioInit)
    {
    }

    PAutostart(const PAutostart&) = delete;
    PAutostart& operator=(const PAutostart&) = delete;

    /// Initialises every plugin whose library has this file name. One that is unloaded meanwhile is
    /// destroyed after its init. Returns the result of the last one, 0 when there is none, or -1013
    /// or -1014 when the records cannot be locked or unlocked.
    int initAutoStartPlugin(const PLiteral& iPluginName);

private:
    struct EndUse
    {
        PPluginRegistry* registry;
        void operator()(PCorePlugin* iRecord) const noexcept
        {
            registry->endUse(*iRecord);
        }
    };
    typedef std::unique_ptr<PCorePlugin, EndUse> UsedPlugin;

    int useNext(const PLiteral& iFileName, UsedPlugin& ioRecord);
    void logResult(int iResult) const;

    const PCoreLog& fLog;
    PPluginRegistry& fRegistry;
    PPluginInit& fInit;
};

#endif
