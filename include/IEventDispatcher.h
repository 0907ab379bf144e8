// SPDX-License-Identifier: MIT
// IEventDispatcher: synchronous publish and subscribe by topic.
#ifndef IXLAL_IEVENTDISPATCHER_H
#define IXLAL_IEVENTDISPATCHER_H

#include "IBase.h"
#include "IEventListener.h"
#include "portinglayer/PLiteral.h"

/// Delivers events to the listeners of a topic, on the thread of the sender. Interface ID
/// kIxlaEventDispatcherId. The dispatcher's locks are held while its table is read or changed and
/// never while a listener runs.
class IEventDispatcher : public IBase
{
public:
    /// Subscribes iListener to iTopic and takes a reference to it.
    /// Returns 0, -5002 when it is subscribed to the topic already, -502 for an empty topic or a
    /// null listener, -501 for lack of memory, or the mutex's code. On failure nothing changes,
    /// except when unlocking failed. [any thread]
    virtual int addListener(const PLiteral& iTopic, IEventListener* iListener) = 0;

    /// Ends the subscription and drops its reference. A delivery in progress still calls the
    /// listener and holds a reference to it until then.
    /// Returns 0, -5001 when the listener is not subscribed to the topic, -502 for an empty topic
    /// or a null listener, -501 for lack of memory while an event of the topic is being delivered
    /// (nothing changes then), or the mutex's code. [any thread]
    virtual int removeListener(const PLiteral& iTopic, IEventListener* iListener) = 0;

    /// Calls every listener that is subscribed to iTopic at this moment, the most recently added
    /// one first, and returns when all have returned. iParam1 is passed on without taking a
    /// reference; it may be null.
    /// Allocates no memory. Returns 0, -5001 when the topic has no listeners, -502 for an empty
    /// topic, or the mutex's code. [any thread]
    virtual int send(const PLiteral& iTopic, IBase* iParam1, int iParam2) = 0;
};

#endif
