// SPDX-License-Identifier: MIT
// IEventListener: the interface of every receiver of events.
#ifndef IXLAL_IEVENTLISTENER_H
#define IXLAL_IEVENTLISTENER_H

#include "IBase.h"
#include "portinglayer/PLiteral.h"

/// Receives the events of the topics it was subscribed to (see IEventDispatcher).
class IEventListener : public IBase
{
public:
    /// Called on the sender's thread, with no lock held; several threads may call at once.
    /// iParam1 is borrowed from the sender and valid during the call only; a handler that keeps it
    /// takes a reference. It may be null. The result is ignored. The handler may send, subscribe
    /// and unsubscribe.
    virtual int handleEvent(const PLiteral& iTopic, IBase* iParam1, int iParam2) = 0;
};

#endif
