// SPDX-License-Identifier: MIT
// A plugin that takes two seconds to initialise with the flaw "slow".

#include "checks/Flaw.h"
#include "helpers/PPlugin.h"

#include <chrono>
#include <thread>

namespace
{
class Service : public PService<IBase>
{
public:
    int onInit() override
    {
        std::this_thread::sleep_for(std::chrono::seconds(hasFlaw("slow") ? 2 : 0));
        return eIxlaOk;
    }
};

class SlowInitPlugin : public PPlugin
{
public:
    SlowInitPlugin()
    {
        offer<Service>(L"test.slow.init");
    }
};
} // namespace

IXLA_PLUGIN(SlowInitPlugin)
