// SPDX-License-Identifier: MIT
// PService: the base class of the service objects of a plugin.
#ifndef IXLAL_SDK_PSERVICE_H
#define IXLAL_SDK_PSERVICE_H

#include "Ixla.h"
#include "helpers/PCounted.h"
#include "helpers/PExitOwner.h"

/// A reference-counted object with hooks for its start and its end. PPlugin creates it when the
/// core initialises the plugin. A service with several interfaces is offered behind one ID for each
/// of them, see PPlugin::offer. A service without operations of its own offers IBase.
template <class TInterface, class... TMore>
class PService : public PCounted<TInterface, TMore...>, public PExitOwner
{
public:
    /// Called once, before any caller gets the service, with no lock held. The place to look up
    /// other services, read the configuration, subscribe and start threads. Returns 0, or a
    /// negative code, with which the plugin fails to initialise; may throw.
    virtual int onInit()
    {
        return eIxlaOk;
    }

    /// Called once after onInit, also when that failed or threw: when the core sends its exit
    /// event, or else before the plugin is destroyed. Its PWorkers and PTimers have ended by then;
    /// other threads of the service are ended here. An exception is caught and written to the
    /// plugins' log. Callers may still hold and call the service afterwards. When the plugin is
    /// unloaded from a running core, the core's lock is held: threads that are joined here must not
    /// call the core then.
    virtual void onExit()
    {
    }
};

#endif
