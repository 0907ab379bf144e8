// SPDX-License-Identifier: MIT
// A plugin whose destructor sends an event through the dispatcher that it holds. With the flaw
// "look-up" it looks the dispatcher up there, and with "waiting" it waits for a thread that calls
// the core.

#include "checks/Flaw.h"
#include "helpers/PPlugin.h"

#include <thread>

namespace
{
class Service : public PService<IBase>
{
public:
    int onInit() override
    {
        fDispatcher = ixlaService<IEventDispatcher>();
        return eIxlaOk;
    }

    ~Service() override
    {
        if (hasFlaw("look-up"))
        {
            (void)ixlaService<IEventDispatcher>();
        }
        if (hasFlaw("waiting"))
        {
            std::thread(
                []
                {
                    IBase* instance = nullptr;
                    (void)ixlaGetInstance(L"test.nobody.offers.this", instance);
                    (void)ixlaUnloadPlugin(nullptr);
                })
                .join();
        }
        (void)fDispatcher->send(L"test.destroyed", nullptr, 0);
    }

private:
    PBaseptr<IEventDispatcher> fDispatcher;
};

class DestructorPlugin : public PPlugin
{
public:
    DestructorPlugin()
    {
        offer<Service>(L"test.destructor");
    }
};
} // namespace

IXLA_PLUGIN(DestructorPlugin)
