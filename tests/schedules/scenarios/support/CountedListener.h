// SPDX-License-Identifier: MIT
// CountedListener: a listener whose events and destruction are counted and run without a lock.
#ifndef IXLAL_SCHEDULES_COUNTEDLISTENER_H
#define IXLAL_SCHEDULES_COUNTEDLISTENER_H

#include "Scenario.h"

#include "IEventListener.h"
#include "PBaseptr.h"
#include "helpers/PCounted.h"

#include <atomic>
#include <utility>

/// What the listeners of a scenario count together.
struct CountedEvents
{
    std::atomic<int> handled{0};
    std::atomic<int> destroyed{0};
};

template <class TFunction>
class CountedListener final : public PCounted<IEventListener>
{
public:
    CountedListener(CountedEvents& ioEvents, TFunction iFunction)
        : fEvents(ioEvents), fFunction(std::move(iFunction))
    {
    }

    int handleEvent(const PLiteral&, IBase*, int) override
    {
        schedules::requireNoLocks("handleEvent");
        schedules::requireEqual(1, fIsAlive, "the listener is alive");
        ++fEvents.handled;
        fFunction();
        return 0;
    }

protected:
    ~CountedListener() override
    {
        schedules::requireNoLocks("the destructor of a listener");
        fIsAlive = 0;
        ++fEvents.destroyed;
    }

private:
    CountedEvents& fEvents;
    TFunction fFunction;
    int fIsAlive = 1; ///< not atomic: every event has to happen before the destruction
};

/// A listener that runs iFunction for each event.
template <class TFunction>
PBaseptr<IEventListener> countedListener(CountedEvents& ioEvents, TFunction iFunction)
{
    const schedules::Reliable reliable;
    return PBaseptr<IEventListener>::adopt(
        new CountedListener<TFunction>(ioEvents, std::move(iFunction)));
}

#endif
