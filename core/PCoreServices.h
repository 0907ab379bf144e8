// SPDX-License-Identifier: MIT
// PCoreServices: the services that the core itself uses.
#ifndef IXLAL_PCORESERVICES_H
#define IXLAL_PCORESERVICES_H

#include "IConfig.h"
#include "IConfigManager.h"
#include "IEventDispatcher.h"
#include "PBaseptr.h"

/// Each member is empty until the start has obtained the service. The thread that starts or stops
/// the core changes them; while the core runs they are constant.
class PCoreServices
{
public:
    /// Whether libraries are closed when their plugin is destroyed (core.free.plugins.lib); true
    /// when that cannot be read.
    bool readFreeLibraries() const;

    /// Releases the configuration, the manager and the dispatcher, in this order.
    void clear();

    PBaseptr<IConfigManager> fConfigManager;
    PBaseptr<IConfig> fConfig; ///< the core's own configuration
    PBaseptr<IEventDispatcher> fEventDispatcher;
};

#endif
