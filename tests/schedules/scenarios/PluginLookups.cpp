// SPDX-License-Identifier: MIT
// A thread of a plugin looks up services of the core while another one stops it.

#include "Scenario.h"
#include "scenarios/support/CoreSetup.h"
#include "scenarios/support/Threads.h"

#include "helpers/PPlugin.h"

using schedules::require;
using schedules::requireEqual;

namespace
{
class Plugin : public PPlugin
{
};

/// The plugin holds each service, so a lookup finds it whole or not at all.
template <class TService>
void _lookUp()
{
    int result = 1;
    const PBaseptr<TService> service = ixlaService<TService>(result);
    require(result == eIxlaOk || result == eIxlaCoreNotStarted, "the result of a lookup");
    require((result == eIxlaOk) == static_cast<bool>(service), "the service");
}
} // namespace

SCENARIO(LookupsOfAPluginBesideAStop, .milliseconds = 100)
{
    CoreSetup core;
    core.keepLibraries();
    core.mustStart();
    const PBaseptr<IPlugin> plugin = PBaseptr<IPlugin>::adopt(new Plugin);
    requireEqual(0, plugin->init(), "the plugin is initialised");
    runTogether([] { requireEqual(0, ixlaStop(), "the core stops"); },
                []
                {
                    _lookUp<IConfigManager>();
                    _lookUp<IEventDispatcher>();
                    _lookUp<ILogger>();
                });
}
