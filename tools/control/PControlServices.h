// SPDX-License-Identifier: MIT
// PControlServices: the services of the core that requests use.
#ifndef IXLAL_TOOLS_PCONTROLSERVICES_H
#define IXLAL_TOOLS_PCONTROLSERVICES_H

#include "IConfigManager.h"
#include "IEventDispatcher.h"
#include "ILogger.h"
#include "PBaseptr.h"

/// Held from onInit until the control thread has ended. Constant in between.
struct PControlServices
{
    /// Looks them up. Returns 0 or the code of the first that is missing.
    int find();

    /// A setting that the core shares with all plugins; empty if it is not set.
    PString shared(const PLiteral& iKey) const;

    PBaseptr<IConfigManager> manager;
    PBaseptr<IEventDispatcher> dispatcher;
    PBaseptr<ILogger> logger;
    PBaseptr<IConfig> global; ///< kIxlaGlobalConfigId
};

#endif
