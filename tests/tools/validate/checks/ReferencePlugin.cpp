// SPDX-License-Identifier: MIT
// A plugin whose two threads hold the same service in overlapping scopes, that offers two
// interfaces of one service, and that has a static holder. FLAW in the environment names the
// reference that it leaks or drops once too often.

#include "checks/Flaw.h"
#include "helpers/PPlugin.h"

#include <condition_variable>
#include <mutex>
#include <thread>

namespace
{
struct IOne : IBase
{
};

struct IOther : IBase
{
};

/// Released when the library is closed.
PBaseptr<ILogger> sLogger;

/// Lets each of two threads reach a step before the other continues.
class Steps
{
public:
    void meet()
    {
        std::unique_lock<std::mutex> lock(fMutex);
        ++fArrivals;
        const int step = fArrivals + fArrivals % 2;
        fMet.notify_all();
        fMet.wait(lock, [&] { return fArrivals >= step; });
    }

private:
    std::mutex fMutex;
    std::condition_variable fMet;
    int fArrivals = 0; ///< guarded by fMutex
};

class Service : public PService<IOne, IOther>
{
public:
    int onInit() override
    {
        sLogger = ixlaService<ILogger>();
        overlap();
        if (hasFlaw("leaked dispatcher"))
        {
            (void)ixlaService<IEventDispatcher>()->incRef();
        }
        if (hasFlaw("leaked configuration"))
        {
            PBaseptr<IConfig> config;
            (void)ixlaService<IConfigManager>()->loadByID(L"test.reference", config);
            (void)config->incRef();
        }
        if (hasFlaw("leaked service"))
        {
            (void)asInterface(0)->incRef();
        }
        return eIxlaOk;
    }

    void onExit() override
    {
        if (hasFlaw("dropped logger"))
        {
            (void)sLogger->decRef();
        }
        if (hasFlaw("dropped service"))
        {
            (void)asInterface(0)->decRef();
        }
    }

private:
    /// The first thread takes its reference first, and drops it before the second one does.
    static void overlap()
    {
        Steps steps;
        std::thread first(
            [&]
            {
                {
                    const PBaseptr<IConfigManager> held = ixlaService<IConfigManager>();
                    steps.meet();
                    steps.meet();
                }
                steps.meet();
            });
        steps.meet();
        {
            const PBaseptr<IConfigManager> held = ixlaService<IConfigManager>();
            steps.meet();
            steps.meet();
        }
        first.join();
    }
};

class ReferencePlugin : public PPlugin
{
public:
    ReferencePlugin()
    {
        offer<Service>({L"test.reference", L"test.reference.other"});
    }
};
} // namespace

IXLA_PLUGIN(ReferencePlugin)
