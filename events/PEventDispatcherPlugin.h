// SPDX-License-Identifier: MIT
// PEventDispatcherPlugin: the built-in plugin that offers the event dispatcher.
#ifndef IXLAL_PEVENTDISPATCHERPLUGIN_H
#define IXLAL_PEVENTDISPATCHERPLUGIN_H

#include "IPlugin.h"
#include "PBaseptr.h"
#include "portinglayer/PCounter.h"

/// Offers kIxlaEventDispatcherId and owns the dispatcher behind it. Only the core holds references
/// to this object, from one thread at a time.
class PEventDispatcherPlugin : public IPlugin
{
public:
    PEventDispatcherPlugin();

    PEventDispatcherPlugin(const PEventDispatcherPlugin&) = delete;
    PEventDispatcherPlugin& operator=(const PEventDispatcherPlugin&) = delete;

    int incRef() noexcept override;
    int decRef() noexcept override;

    /// Creates the dispatcher. Returns 0, -501, or the code of its mutex; on failure there is no
    /// dispatcher.
    int init() noexcept override;

    /// As IPlugin. For lack of memory returns null and leaves oCount unchanged.
    PString* getInterfaces(unsigned int& oCount) noexcept override;

    /// As IPlugin. Before a successful init returns 0 with a null oInstance.
    int getInstance(const PLiteral& iInterfaceId, IBase*& oInstance) noexcept override;

    /// Releases the dispatcher, which lives on while others hold it.
    virtual ~PEventDispatcherPlugin();

private:
    int createInstance();

    PCounter fRefCount;
    PBaseptr<IBase> fInstance;
};

#endif
