// SPDX-License-Identifier: MIT
// A fork while another thread starts or stops the core, or writes log lines.

#include "Scenario.h"
#include "scenarios/support/Children.h"
#include "scenarios/support/CoreSetup.h"
#include "scenarios/support/PluginSteps.h"
#include "scenarios/support/Threads.h"

#include "ILogger.h"
#include "helpers/ServiceLookup.h"

#include <cerrno>

using schedules::require;
using schedules::requireEqual;

namespace
{
void _requireRefusal()
{
    requireEqual(eIxlaCoreNotStarted, Requested(L"test.alpha").result, "a lookup of the child");
    require(!ixlaIsInterfaceAvailable(kIxlaLoggerId), "no interface is available to the child");
    requireEqual(eIxlaCoreNotStarted, ixlaUnloadPlugin(nullptr), "an unloading by the child");
    requireEqual(eIxlaCoreNotStarted, ixlaStop(), "a stop by the child");
}

/// A child has the core of its parent, which refuses it, or none, so that it can start its own.
void _useInChild(const CoreSetup& iCore)
{
    _requireRefusal();
    const int started = iCore.start();
    require(started == 0 || started == eIxlaCoreExists, "a start by the child");
    if (started != 0)
    {
        _requireRefusal();
        return;
    }
    requireEqual(0, Requested(L"test.alpha").result, "a lookup in the child's own core");
    requireEqual(0, ixlaStop(), "the stop of the child's own core");
}
} // namespace

SCENARIO(ForkBesideAStart, .milliseconds = 5000, .jumps = false)
{
    const CoreSetup core{"alpha"};
    runTogether([&] { core.mustStart(); }, [&] { runInChild([&] { _useInChild(core); }); });
    requireEqual(0, Requested(L"test.alpha").result, "a lookup of the parent");
    requireEqual(0, ixlaStop(), "the parent's core stops");
    requireEqual(1, PluginSteps::count("alpha.destroyed"), "destroyed plugins of the parent");
}

SCENARIO(ForkBesideAStop, .milliseconds = 5000, .jumps = false)
{
    const CoreSetup core{"alpha"};
    core.mustStart();
    requireEqual(0, Requested(L"test.alpha").result, "a lookup of the parent");
    runTogether([] { requireEqual(0, ixlaStop(), "the parent's core stops"); },
                [&] { runInChild([&] { _useInChild(core); }); });
    requireEqual(1, PluginSteps::count("alpha.destroyed"), "destroyed plugins of the parent");
    requireEqual(eIxlaCoreNotStarted, ixlaStop(), "a second stop");
}

SCENARIO(ForkBesideAnInitWithAWaiter, .milliseconds = 2500, .jumps = false)
{
    const CoreSetup core{"alpha"};
    core.mustStart();
    const auto request = []
    {
        requireEqual(0, Requested(L"test.alpha").result, "a lookup of the parent");
    };
    runTogether(request, request, [] { runInChild(_requireRefusal); });
    requireEqual(1, PluginSteps::count("alpha.init"), "initialisations");
    requireEqual(0, ixlaStop(), "the parent's core stops");
}

SCENARIO(ForkBesideLogLines, .milliseconds = 2500, .jumps = false)
{
    CoreSetup core{"alpha"};
    core.writeLogs();
    core.mustStart();
    {
        const PBaseptr<ILogger> logger = ixlaService<ILogger>();
        const auto write = [&]
        {
            requireEqual(0, logger->info(0, L"of the parent"), "a line");
            requireEqual(0, Requested(L"test.alpha").result, "a lookup, which is logged");
        };
        const auto child = [&]
        {
            requireEqual(-EOWNERDEAD, logger->info(0, L"of the child"), "a line of the child");
            _requireRefusal();
        };
        runTogether(write, write, [&] { runInChild(child); });
    }
    requireEqual(0, ixlaStop(), "the parent's core stops");
    requireEqual(2, core.countLines("log/ixlaplugins.log", "of the parent"), "lines");
    requireEqual(0, core.countLines("log/ixlaplugins.log", "of the child"), "lines of the child");
    requireEqual(0, core.countLines("core.log", "Core is not started"), "refusals that are logged");
}
