// SPDX-License-Identifier: MIT
// ModelListener: a listener that reports every event to its owner.
#ifndef IXLAL_TESTS_MODELLISTENER_H
#define IXLAL_TESTS_MODELLISTENER_H

#include "IEventListener.h"
#include "portinglayer/PCounterSync.h"

#include <functional>

class ModelListener final : public IEventListener
{
public:
    typedef std::function<void(const PLiteral& iTopic, IBase* iParam1, int iParam2)> Action;

    explicit ModelListener(Action iAction);

    int incRef() override;
    int decRef() override;
    int handleEvent(const PLiteral& iTopic, IBase* iParam1, int iParam2) override;

    int references() const;

private:
    ~ModelListener() = default;

    PCounterSync fRefCount;
    int fReferences = 0;
    const Action fAction;
};

#endif
