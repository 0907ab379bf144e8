// SPDX-License-Identifier: MIT
/// @file
/// PListener: a listener made from a callable.
#ifndef IXLAL_SDK_PLISTENER_H
#define IXLAL_SDK_PLISTENER_H

#include "IEventListener.h"
#include "PBaseptr.h"
#include "helpers/PCounted.h"
#include "helpers/Reported.h"

#include <utility>

/// Passes each event to a callable, which takes (const PLiteral& topic, IBase* parameter, int
/// number). Its result is ignored. Several threads may call it at once. An exception of the
/// callable is caught and written to the plugins' log after the topic. The callable may end its
/// thread.
template <class TFunction>
class PListener final : public PCounted<IEventListener>
{
public:
    /// Moves iFunction into the listener.
    explicit PListener(TFunction iFunction) : fFunction(std::move(iFunction))
    {
    }

    /// Returns 0, or a negative code when the callable threw; the dispatcher ignores the result.
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

/// Creates a listener from a callable, for IEventDispatcher::addListener. The callable lives as
/// long as the listener. A delivery may still run on another thread after removeListener has
/// returned; PSubscription waits for it. Throws std::bad_alloc. [any thread]
template <class TFunction>
PBaseptr<IEventListener> ixlaListener(TFunction iFunction)
{
    return PBaseptr<IEventListener>::adopt(new PListener<TFunction>(std::move(iFunction)));
}

#endif
