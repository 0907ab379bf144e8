// SPDX-License-Identifier: MIT
#include "soak/SoakListener.h"

#include <utility>

std::atomic<int> SoakListener::fAlive{0};

SoakListener::SoakListener(Action iAction) : fRefCount(0), fAction(std::move(iAction))
{
    fAlive.fetch_add(1, std::memory_order_relaxed);
}

SoakListener::~SoakListener()
{
    fAlive.fetch_sub(1, std::memory_order_relaxed);
}

PBaseptr<SoakListener> SoakListener::make(Action iAction)
{
    return PBaseptr<SoakListener>::adopt(new SoakListener(std::move(iAction)));
}

int SoakListener::incRef()
{
    return ++fRefCount;
}

int SoakListener::decRef()
{
    const int count = fRefCount.change(-1);
    if (count == 0)
    {
        delete this;
    }
    return count;
}

int SoakListener::handleEvent(const PLiteral& iTopic, IBase* iParam1, int iParam2)
{
    fEvents.fetch_add(1, std::memory_order_relaxed);
    if (fAction)
    {
        fAction(iTopic, iParam1, iParam2);
    }
    return 0;
}

unsigned int SoakListener::events() const
{
    return fEvents.load(std::memory_order_relaxed);
}

int SoakListener::alive()
{
    return fAlive.load(std::memory_order_relaxed);
}
