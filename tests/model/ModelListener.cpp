// SPDX-License-Identifier: MIT
#include "model/ModelListener.h"

#include <utility>

ModelListener::ModelListener(Action iAction) : fRefCount(0), fAction(std::move(iAction))
{
}

int ModelListener::incRef()
{
    return fReferences = ++fRefCount;
}

int ModelListener::decRef()
{
    const int count = fRefCount.change(-1);
    fReferences = count;
    if (count == 0)
    {
        delete this;
    }
    return count;
}

int ModelListener::handleEvent(const PLiteral& iTopic, IBase* iParam1, int iParam2)
{
    fAction(iTopic, iParam1, iParam2);
    return 0;
}

int ModelListener::references() const
{
    return fReferences;
}
