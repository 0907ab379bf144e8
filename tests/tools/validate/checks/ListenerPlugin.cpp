// SPDX-License-Identifier: MIT
// A plugin that subscribes three listeners. With the flaw "subscribed", one of them stays
// subscribed.

#include "checks/Flaw.h"
#include "helpers/PPlugin.h"
#include "helpers/PSubscription.h"

namespace
{
PBaseptr<IEventListener> _listener()
{
    return ixlaListener([](const PLiteral&, IBase*, int) {});
}

class Service : public PService<IBase>
{
public:
    int onInit() override
    {
        const auto nothing = [](const PLiteral&, IBase*, int) {
        };
        (void)fEnded.subscribe(L"test.ended", nothing);
        (void)fScoped.subscribe(L"test.scoped", nothing);
        fDispatcher = ixlaService<IEventDispatcher>();
        return fDispatcher->addListener(L"test.removed", fRemoved.get());
    }

    void onExit() override
    {
        (void)fEnded.end();
        if (!hasFlaw("subscribed"))
        {
            (void)fDispatcher->removeListener(L"test.removed", fRemoved.get());
        }
    }

private:
    PSubscription fEnded;
    PSubscription fScoped;
    PBaseptr<IEventDispatcher> fDispatcher;
    const PBaseptr<IEventListener> fRemoved = _listener();
};

class ListenerPlugin : public PPlugin
{
public:
    ListenerPlugin()
    {
        offer<Service>(L"test.listener");
    }
};
} // namespace

IXLA_PLUGIN(ListenerPlugin)
