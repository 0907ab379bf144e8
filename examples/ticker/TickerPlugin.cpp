// SPDX-License-Identifier: MIT
// A plugin with two services, one of which has a thread.

#include "ITicker.h"

#include "IConfigManager.h"
#include "IEventDispatcher.h"
#include "helpers/PPlugin.h"
#include "helpers/ServiceLookup.h"

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <thread>

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
            fThread = std::thread([this] { run(); });
        }
        return result;
    }

    // Also called when onInit failed, so there may be no thread.
    void onExit() override
    {
        {
            const std::lock_guard<std::mutex> lock(fMutex);
            fStopping = true;
        }
        fWakeUp.notify_all();
        if (fThread.joinable())
        {
            fThread.join();
        }
    }

    int getTicks() const override
    {
        return fTicks;
    }

private:
    void run()
    {
        const std::chrono::milliseconds period(fPace->getPeriod());
        std::unique_lock<std::mutex> lock(fMutex);
        while (!fWakeUp.wait_for(lock, period, [this] { return fStopping; }))
        {
            lock.unlock();                                          // a listener may be slow
            (void)fDispatcher->send(kTickTopic, nullptr, ++fTicks); // no listener is no error
            lock.lock();
        }
    }

    const PBaseptr<IPace> fPace;
    PBaseptr<IEventDispatcher> fDispatcher; // constant after onInit
    std::atomic<int> fTicks{0};

    std::thread fThread;
    std::mutex fMutex;
    std::condition_variable fWakeUp;
    bool fStopping = false; // guarded by fMutex
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
