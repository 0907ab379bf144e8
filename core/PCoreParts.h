// SPDX-License-Identifier: MIT
// PCoreParts: what one core consists of.
#ifndef IXLAL_PCOREPARTS_H
#define IXLAL_PCOREPARTS_H

#include "core/PAutostart.h"
#include "core/PCallDrain.h"
#include "core/PCoreLock.h"
#include "core/PCoreLog.h"
#include "core/PCoreServices.h"
#include "core/PExitNotifier.h"
#include "core/PGlobalConfig.h"
#include "core/PInstanceLookup.h"
#include "core/PPluginInit.h"
#include "core/PPluginLoader.h"
#include "core/PPluginRegistry.h"
#include "core/PStartFlow.h"
#include "core/PStopFlow.h"

/// Connects the parts of one core. They are destroyed in reverse order: the log is the first
/// member, because all others may write while they are destroyed.
class PCoreParts
{
public:
    PCoreParts() noexcept;

    PCoreParts(const PCoreParts&) = delete;
    PCoreParts& operator=(const PCoreParts&) = delete;

    /// Releases services, plugins and libraries, in this order. A second call does nothing.
    void cleanup();

    PCoreLog fLog;
    PCoreLock fLock;
    PCoreServices fServices;
    PPluginRegistry fRegistry;
    PPluginInit fInit;
    PInstanceLookup fLookup;
    PPluginLoader fLoader;
    PAutostart fAutostart;
    PGlobalConfig fGlobalConfig;
    PStartFlow fStart;
    PExitNotifier fNotifier;
    PCallDrain fDrain;
    PStopFlow fStop;
};

#endif
