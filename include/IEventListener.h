// SPDX-License-Identifier: MIT
// IEventListener: what every receiver of events implements.
#ifndef IXLAL_IEVENTLISTENER_H
#define IXLAL_IEVENTLISTENER_H

#include "IBase.h"
#include "portinglayer/PLiteral.h"

/// Receives the events of the topics it was subscribed to (see IEventDispatcher).
class IEventListener : public IBase
{
public:
    /// Called on the sender's thread, with no lock held; several threads may call at once.
    /// iParam1 is the sender's and is only valid during the call unless a reference is taken; it
    /// may be null. The result is ignored. The handler may send, subscribe and unsubscribe.
    virtual int handleEvent(const PLiteral& iTopic, IBase* iParam1, int iParam2) = 0;
};

#endif
