// SPDX-License-Identifier: MIT
// PService: the base of the service objects of a plugin.
#ifndef IXLAL_SDK_PSERVICE_H
#define IXLAL_SDK_PSERVICE_H

#include "Ixla.h"
#include "helpers/PCounted.h"

/// A counted object with a beginning and an end, which PPlugin (see there) makes when the core
/// first asks for the plugin. The first interface is the one that the interface ID stands for; a
/// service without operations of its own offers IBase.
template <class TInterface, class... TMore>
class PService : public PCounted<TInterface, TMore...>
{
public:
    /// Called once, before anybody gets the service, with no lock held: looks for other services,
    /// reads the configuration, subscribes, starts threads. Returns 0, or a negative code with
    /// which the plugin fails to initialise; may throw.
    virtual int onInit()
    {
        return eIxlaOk;
    }

    /// Called once after onInit, also when that failed or threw: when the core announces its exit,
    /// or else before the plugin goes. Ends the threads of the service; what it throws is written
    /// to the plugins' log. Users may still hold and call the service afterwards. While a plugin is
    /// unloaded from a core that goes on, the core's lock is held: threads that are joined here
    /// must not be asking the core for anything then.
    virtual void onExit()
    {
    }
};

#endif
