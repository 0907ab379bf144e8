// SPDX-License-Identifier: MIT
// PListener: a listener made from a callable.
#ifndef IXLAL_SDK_PLISTENER_H
#define IXLAL_SDK_PLISTENER_H

#include "IEventListener.h"
#include "PBaseptr.h"
#include "helpers/PCounted.h"
#include "helpers/Reported.h"

#include <utility>

/// Hands each event to a callable, which takes (const PLiteral& topic, IBase* parameter, int
/// number) and whose result is dropped. Several threads may call it at once. What it throws is
/// written to the plugins' log behind the topic, and goes no further; it may end its thread.
template <class TFunction>
class PListener final : public PCounted<IEventListener>
{
public:
    /// Takes iFunction over.
    explicit PListener(TFunction iFunction) : fFunction(std::move(iFunction))
    {
    }

    /// Returns 0, or a negative code when the callable threw; the dispatcher looks at neither.
    int handleEvent(const PLiteral& iTopic, IBase* iParam1, int iParam2) override
    {
        return ixlaReported(
            iTopic,
            [&]() -> int
            {
                (void)fFunction(iTopic, iParam1, iParam2);
                return eIxlaOk;
            },
            eIxlaInvalidArgument);
    }

private:
    TFunction fFunction;
};

/// Makes a listener of a callable, for IEventDispatcher::addListener. The callable lives as long as
/// the listener: whoever removes it must know that a delivery may still be running on another
/// thread. PSubscription takes care of that. Throws std::bad_alloc. [any thread]
template <class TFunction>
PBaseptr<IEventListener> ixlaListener(TFunction iFunction)
{
    return PBaseptr<IEventListener>::adopt(new PListener<TFunction>(std::move(iFunction)));
}

#endif
