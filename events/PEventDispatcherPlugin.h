// SPDX-License-Identifier: MIT
// PEventDispatcherPlugin: the built-in plugin that offers the event dispatcher.
#ifndef IXLAL_PEVENTDISPATCHERPLUGIN_H
#define IXLAL_PEVENTDISPATCHERPLUGIN_H

#include "IPlugin.h"
#include "PBaseptr.h"
#include "portinglayer/PCounter.h"

/// Offers kIxlaEventDispatcherId and owns the dispatcher behind it. Only the core holds and counts
/// this object, one thread at a time.
class PEventDispatcherPlugin : public IPlugin
{
public:
    PEventDispatcherPlugin();

    PEventDispatcherPlugin(const PEventDispatcherPlugin&) = delete;
    PEventDispatcherPlugin& operator=(const PEventDispatcherPlugin&) = delete;

    int incRef() noexcept override;
    int decRef() noexcept override;

    /// Creates the dispatcher. Returns 0, -501, or the code of its mutex; no dispatcher is kept
    /// on failure.
    int init() noexcept override;

    /// As IPlugin; null with an untouched oCount for lack of memory.
    PString* getInterfaces(unsigned int& oCount) noexcept override;

    /// As IPlugin; a null oInstance with result 0 before a successful init.
    int getInstance(const PLiteral& iInterfaceId, IBase*& oInstance) noexcept override;

    /// Releases the dispatcher; others may hold it further on.
    virtual ~PEventDispatcherPlugin();

private:
    int createInstance();

    PCounter fRefCount;
    PBaseptr<IBase> fInstance;
};

#endif
