// SPDX-License-Identifier: MIT
// Plugins that misbehave when they are released, or when their library is closed.

#include "Scenario.h"
#include "scenarios/support/CoreSetup.h"
#include "scenarios/support/PluginSteps.h"
#include "scenarios/support/Threads.h"

#include "plugins/ITestService.h"

#include <stdexcept>
#include <string>

using schedules::requireEqual;

namespace
{
void _throwAt(const char* iStep)
{
    PluginSteps::on(iStep, []() -> int { throw std::runtime_error("not today"); });
}

int _thrownAtRelease(const CoreSetup& iCore, const std::string& iPlugin)
{
    return iCore.countLines("core.log", "] Plugin threw an exception when it was released, its "
                                        "library stays loaded: " +
                                            iCore.path("plugins/lib" + iPlugin + ".so"));
}
} // namespace

SCENARIO(UnloadOfAPluginThatThrows, .milliseconds = 2500, .jumps = false)
{
    CoreSetup core{"alpha", "beta"};
    core.writeLogs();
    core.mustStart();
    ITestService* const alpha = static_cast<ITestService*>(Requested(L"test.alpha").instance);
    _throwAt("alpha.destroyed");
    runTogether([&] { requireEqual(0, ixlaUnloadPlugin(alpha->getPlugin()), "the unloading"); },
                [] { requireEqual(0, Requested(L"test.beta").result, "a request meanwhile"); });
    requireEqual(1, _thrownAtRelease(core, "alpha"), "lines about the exception");
    requireEqual(eIxlaUnknownInterface, Requested(L"test.alpha").result, "a request afterwards");
    requireEqual(0, Requested(L"test.beta").result, "a request of another plugin");
    const int errors = core.countLines("core.log", " E Core ");
    requireEqual(0, ixlaStop(), "the core stops");
    requireEqual(errors, core.countLines("core.log", " E Core "), "errors before the stop");
    requireEqual(0, PluginSteps::count("alpha.unmapped"), "closed libraries");
    requireEqual(1, PluginSteps::count("beta.unmapped"), "closed libraries");
}

SCENARIO(StopWithAPluginThatThrows, .milliseconds = 2500, .jumps = false)
{
    CoreSetup core{"alpha", "beta", "gamma"};
    core.writeLogs();
    core.mustStart();
    _throwAt("beta.destroyed");
    runTogether([] { requireEqual(0, ixlaStop(), "the core stops"); },
                [] { ixlaIsInterfaceAvailable(L"test.beta"); });
    requireEqual(1, _thrownAtRelease(core, "beta"), "lines about the exception");
    requireEqual(1, core.countLines("core.log", "[stopFlow] Done."), "lines at the end");
    requireEqual(1, PluginSteps::count("alpha.unmapped"), "closed libraries");
    requireEqual(0, PluginSteps::count("beta.unmapped"), "closed libraries");
    requireEqual(1, PluginSteps::count("gamma.unmapped"), "closed libraries");
}

// The destructors of the library use all services of the core, which they have held until then.
SCENARIO(LibraryThatUsesServicesWhenItIsClosed, .milliseconds = 2500, .jumps = false)
{
    CoreSetup core{"keeper"};
    core.writeConfig("ixlap.configmanager.prs",
                     "ixlap.configmanager.store.file = store.txt\nkeeper = keeper.prs\n");
    core.writeConfig("keeper.prs", "own = value\n");
    core.writeLogs();
    core.mustStart();
    requireEqual(0, Requested(L"test.keeper").result, "the request of the keeper");
    PluginSteps::on("keeper.last use",
                    []
                    {
                        requireEqual(1, PluginSteps::count("keeper.destroyed"),
                                     "destroyed plugins");
                        return 0;
                    });
    requireEqual(0, ixlaStop(), "the core stops");
    requireEqual(1, PluginSteps::count("keeper.last use"), "uses without an error");
    requireEqual(0, PluginSteps::count("keeper.last use failed"), "uses with an error");
    requireEqual(1, PluginSteps::count("keeper.service destroyed"), "destroyed services");
    requireEqual(1, core.countLines("log/keeper.log", "keeper in its own log"), "lines");
    requireEqual(0, core.countLines("core.log", " E Core "), "errors");
}
