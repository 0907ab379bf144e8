// SPDX-License-Identifier: MIT
// A plugin with two services, one of which has a timer.

#include "ITicker.h"

#include "IConfigManager.h"
#include "IEventDispatcher.h"
#include "helpers/PPlugin.h"
#include "helpers/PTimer.h"
#include "helpers/ServiceLookup.h"

#include <atomic>
#include <chrono>

namespace
{
class Pace : public PService<IPace>
{
public:
    int onInit() override
    {
        int result = eIxlaOk;
        const PBaseptr<IConfigManager> manager = ixlaService<IConfigManager>(result);
        PBaseptr<IConfig> config;
        if (result == eIxlaOk)
        {
            result = manager->loadByID(kPaceId, config);
        }
        if (result == eIxlaOk)
        {
            result = config->getInt32(L"period", fPeriod);
        }
        return result == eIxlaNotFound ? eIxlaOk : result; // the key is optional
    }

    int getPeriod() const override
    {
        return fPeriod;
    }

private:
    int fPeriod = 1000; // constant after onInit
};

class Ticker : public PService<ITicker>
{
public:
    explicit Ticker(IPace* iPace) : fPace(iPace)
    {
    }

    int onInit() override
    {
        int result = eIxlaOk;
        fDispatcher = ixlaService<IEventDispatcher>(result);
        if (result == eIxlaOk)
        {
            const std::chrono::milliseconds period(fPace->getPeriod());
            result = fTimer.every(period, [this] { tick(); });
        }
        return result;
    }

    int getTicks() const override
    {
        return fTicks;
    }

private:
    void tick()
    {
        (void)fDispatcher->send(kTickTopic, nullptr, ++fTicks); // no listener is no error
    }

    const PBaseptr<IPace> fPace;
    PBaseptr<IEventDispatcher> fDispatcher; // constant after onInit
    std::atomic<int> fTicks{0};
    PTimer fTimer{*this, L"ticker"}; // last, so that it ends before the members it uses
};

class TickerPlugin : public PPlugin
{
public:
    TickerPlugin()
    {
        offer<Pace>(kPaceId);
        offer<Ticker>(kTickerId, [this] { return new Ticker(service<Pace>(kPaceId)); });
    }
};
} // namespace

IXLA_PLUGIN(TickerPlugin)
