// SPDX-License-Identifier: MIT
// First requests, and requests beside a stop.

#include "Scenario.h"
#include "scenarios/support/CoreSetup.h"
#include "scenarios/support/PluginSteps.h"

#include "IConfigManager.h"
#include "IEventDispatcher.h"
#include "PBaseptr.h"

#include <thread>

using schedules::require;
using schedules::requireEqual;

SCENARIO(WholeStartRequestAndStop)
{
    const CoreSetup core{"alpha"};
    core.mustStart();
    requireEqual(0, Requested(L"test.alpha").result, "the request succeeds");
    requireEqual(0, ixlaStop(), "the core stops");
    requireEqual(1, PluginSteps::count("alpha.init"), "initialisations");
    requireEqual(1, PluginSteps::count("alpha.destroyed"), "destroyed plugins");
}

SCENARIO(FirstRequestsOfOnePluginFromThreeThreads)
{
    const CoreSetup core{"alpha"};
    core.mustStart();
    const auto request = []
    {
        const Requested requested(L"test.alpha");
        requireEqual(0, requested.result, "each request succeeds");
        require(requested.instance, "each request gets the service");
        requireEqual(1, PluginSteps::count("alpha.init"), "initialisations");
    };
    std::thread first(request);
    std::thread second(request);
    request();
    first.join();
    second.join();
    requireEqual(0, ixlaStop(), "the core stops");
    requireEqual(1, PluginSteps::count("alpha.destroyed"), "destroyed plugins");
}

SCENARIO(SetterBesideAStop, .milliseconds = 100)
{
    CoreSetup core;
    core.keepLibraries();
    core.mustStart();
    PBaseptr<IConfigManager> manager(
        static_cast<IConfigManager*>(Requested(kIxlaConfigManagerId).instance));
    require(manager.get(), "the manager is there");
    requireEqual(0, manager->addListener(L"id", L"topic"), "the topic is registered");
    std::thread setter([&] { manager->setString(L"id", L"key", L"value"); });
    requireEqual(0, ixlaStop(), "the core stops");
    setter.join();
}
