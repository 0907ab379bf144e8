// SPDX-License-Identifier: MIT
// SoakListener: an event listener that counts.
#ifndef IXLAL_TESTS_SOAKLISTENER_H
#define IXLAL_TESTS_SOAKLISTENER_H

#include "IEventListener.h"
#include "PBaseptr.h"
#include "portinglayer/PCounterSync.h"

#include <atomic>
#include <functional>

/// Counts its events, then runs its action.
class SoakListener final : public IEventListener
{
public:
    typedef std::function<void(const PLiteral& iTopic, IBase* iParam1, int iParam2)> Action;

    static PBaseptr<SoakListener> make(Action iAction = nullptr);

    int incRef() override;
    int decRef() override;
    int handleEvent(const PLiteral& iTopic, IBase* iParam1, int iParam2) override;

    unsigned int events() const;

    /// The number of listeners in the process.
    static int alive();

private:
    explicit SoakListener(Action iAction);
    ~SoakListener();

    static std::atomic<int> fAlive;

    PCounterSync fRefCount;
    const Action fAction;
    std::atomic<unsigned int> fEvents{0};
};

#endif
