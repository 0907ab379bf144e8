// SPDX-License-Identifier: MIT
// The exit of a plugin's services beside their release.

#include "Scenario.h"
#include "scenarios/support/HeldServices.h"
#include "scenarios/support/Threads.h"

#include "Ixla.h"
#include "helpers/PPlugin.h"
#include "helpers/PServiceList.h"

#include <atomic>
#include <chrono>
#include <memory>
#include <thread>

using schedules::require;
using schedules::requireEqual;

namespace
{
/// Counts its hooks. Not synchronised: the list has to order exit before the destruction.
class ListedService final : public PService<IBase>
{
public:
    struct Counts
    {
        int exits = 0;
        std::atomic<int> destroyed{0};
    };

    explicit ListedService(Counts& ioCounts, int iSeconds = 0)
        : fCounts(ioCounts), fSeconds(iSeconds)
    {
    }

    void onExit() override
    {
        requireEqual(0, fExits++, "earlier exits");
        std::this_thread::sleep_for(std::chrono::seconds(fSeconds));
        ++fCounts.exits;
    }

    ~ListedService() override
    {
        requireEqual(1, fExits, "exits before the destruction");
        ++fCounts.destroyed;
    }

private:
    Counts& fCounts;
    const int fSeconds;
    int fExits = 0;
};

/// A list with two services that have started.
struct Listed
{
    Listed() : list(std::make_shared<PServiceList>())
    {
        for (const wchar_t* id : {L"first", L"second"})
        {
            list->add<ListedService>({PString(id)}, [this] { return new ListedService(counts); });
        }
        requireEqual(0, list->start(), "the services start");
    }

    ListedService::Counts counts;
    std::shared_ptr<PServiceList> list;
};
/// A plugin with two services; the first one's onExit takes iSeconds.
class ListedPlugin final : public PPlugin
{
public:
    explicit ListedPlugin(ListedService::Counts& ioCounts, int iSeconds = 0)
    {
        offer<ListedService>(L"first", [&ioCounts, iSeconds]
                             { return new ListedService(ioCounts, iSeconds); });
        offer<ListedService>(L"second", [&ioCounts] { return new ListedService(ioCounts); });
    }
};
} // namespace

SCENARIO(ExitEventBesideTheDestructionOfAPlugin, .jumps = false, .small = true)
{
    const HeldServices services;
    ListedService::Counts counts;
    PBaseptr<IPlugin> plugin = PBaseptr<IPlugin>::adopt(new ListedPlugin(counts));
    requireEqual(0, plugin->init(), "the plugin is initialised");
    runTogether([&] { plugin.clear(); },
                [&]
                {
                    const int sent = services.dispatcher->send(kIxlaCoreExitTopic, nullptr, 0);
                    require(sent == eIxlaOk || sent == eIxlaNoListener, "the exit event");
                });
    requireEqual(2, counts.exits, "exits");
    requireEqual(2, counts.destroyed, "destroyed services");
}

SCENARIO(ExitThatOutlastsItsPlugin, .milliseconds = 20000, .jumps = false)
{
    const HeldServices services;
    ListedService::Counts counts;
    PBaseptr<IPlugin> plugin = PBaseptr<IPlugin>::adopt(new ListedPlugin(counts, 15));
    requireEqual(0, plugin->init(), "the plugin is initialised");
    requireEqual(0, ixlaStop(), "the core stops without the listener of the exit event");
    plugin.clear();
    requireEqual(0, counts.destroyed, "the services live until the listener has returned");
    while (counts.destroyed < 2)
    {
        std::this_thread::sleep_for(std::chrono::seconds(1));
    }
    requireEqual(2, counts.exits, "exits");
}

SCENARIO(ExitOfServicesBesideTheirRelease, .jumps = false, .small = true)
{
    Listed listed;
    std::shared_ptr<PServiceList> listeners = listed.list;
    runTogether(
        [&]
        {
            listed.list->exit();
            listed.list->release();
            listed.list.reset();
        },
        [&]
        {
            listeners->exit();
            listeners.reset();
        });
    requireEqual(2, listed.counts.exits, "exits");
    requireEqual(2, listed.counts.destroyed, "destroyed services");
}

SCENARIO(ExitOfServicesFromTwoThreads, .jumps = false, .small = true)
{
    Listed listed;
    IBase* first = nullptr;
    const auto exit = [&]
    {
        listed.list->exit();
    };
    runTogether(exit, exit);
    requireEqual(2, listed.counts.exits, "exits");
    requireEqual(0, listed.list->find(L"first", first), "a service is found until its release");
    listed.list->release();
    requireEqual(2, listed.counts.destroyed, "destroyed services");
    requireEqual(eIxlaNoInstance, listed.list->find(L"first", first), "a released service");
}
