// SPDX-License-Identifier: MIT
#include "Scenario.h"
#include "scenarios/support/CoreSetup.h"
#include "scenarios/support/PluginSteps.h"

#include <thread>

using schedules::requireEqual;

SCENARIO(FirstRequestsOfOnePluginFromTwoThreads, .milliseconds = 3000)
{
    const CoreSetup core{"alpha"};
    core.mustStart();
    // Written by the initialisation, read after each request: the core has to order the two.
    static int sInitialised = 0;
    PluginSteps::on("alpha.init", [] { return sInitialised++; });
    const auto request = []
    {
        requireEqual(0, Requested(L"test.alpha").result, "the request succeeds");
        requireEqual(1, sInitialised, "initialisations");
    };
    std::thread other(request);
    request();
    other.join();
    requireEqual(0, ixlaStop(), "the core stops");
    requireEqual(1, PluginSteps::count("alpha.destroyed"), "destroyed plugins");
}
