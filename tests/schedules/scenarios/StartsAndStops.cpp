// SPDX-License-Identifier: MIT
// Starts and stops by several threads at once.

#include "Scenario.h"
#include "scenarios/support/CoreSetup.h"
#include "scenarios/support/PluginSteps.h"
#include "scenarios/support/Threads.h"

using schedules::hasFault;
using schedules::require;
using schedules::requireEqual;

namespace
{
bool _isOneOf(int iResult, int iFirst, int iSecond)
{
    return iResult == iFirst || iResult == iSecond;
}

void _requireOneSuccess(int iFirst, int iSecond, int iOther)
{
    require(_isOneOf(iFirst, 0, iOther) && _isOneOf(iSecond, 0, iOther), "results of both");
    requireEqual(1, (iFirst == 0 ? 1 : 0) + (iSecond == 0 ? 1 : 0), "calls that succeed");
}

/// The core serves a request and stops, or there is none.
void _endsAs(bool iStarted)
{
    requireEqual(iStarted ? 0 : eIxlaCoreNotStarted, Requested(L"test.alpha").result, "a request");
    requireEqual(iStarted ? 0 : eIxlaCoreNotStarted, ixlaStop(), "the last stop");
}

/// Every plugin that was made is destroyed.
void _requirePlugins(int iCount)
{
    requireEqual(iCount, PluginSteps::count("alpha.factory"), "plugins made");
    requireEqual(iCount, PluginSteps::count("alpha.destroyed"), "plugins destroyed");
}

void _requireClosedLibraries(int iCount)
{
    requireEqual(iCount, PluginSteps::count("alpha.unmapped"), "closed libraries");
}
} // namespace

SCENARIO(TwoStarts, .milliseconds = 2500, .jumps = false)
{
    const CoreSetup core{"alpha"};
    int first = 0;
    int second = 0;
    runTogether([&] { first = core.start(); }, [&] { second = core.start(); });
    _requireOneSuccess(first, second, eIxlaCoreExists);
    requireEqual(eIxlaCoreExists, core.start(), "a third start");
    _endsAs(true);
    _requirePlugins(1);
    _requireClosedLibraries(1);
}

// The start that is refused may write to the log as soon as the other one has opened it.
SCENARIO(TwoStartsWithACoreLog, .milliseconds = 0, .jumps = false)
{
    CoreSetup core;
    core.keepLibraries();
    core.set("core.log.file", core.path("core.log"));
    int first = 0;
    int second = 0;
    runTogether([&] { first = core.start(); }, [&] { second = core.start(); });
    _requireOneSuccess(first, second, eIxlaCoreExists);
    requireEqual(0, ixlaStop(), "the core stops");
    require(core.countLines("core.log", "Try to start already started core.") <= 1, "error lines");
}

SCENARIO(TwoStartsThatFail, .milliseconds = 0, .jumps = false, .small = true)
{
    int first = 0;
    int second = 0;
    runTogether([&] { first = ixlaStart(nullptr, 0); }, [&] { second = ixlaStart(nullptr, 0); });
    for (const int result : {first, second})
    {
        require(_isOneOf(result, eIxlaInvalidArgument, eIxlaCoreExists), "results of both");
    }
    require(first == eIxlaInvalidArgument || second == eIxlaInvalidArgument, "one start runs");
}

SCENARIO(TwoStops, .milliseconds = 100, .jumps = false, .small = true)
{
    CoreSetup core{"alpha"};
    core.keepLibraries();
    core.mustStart();
    int first = 0;
    int second = 0;
    runTogether([&] { first = ixlaStop(); }, [&] { second = ixlaStop(); });
    _requireOneSuccess(first, second, eIxlaCoreNotStarted);
    _endsAs(false);
    _requirePlugins(1);
}

SCENARIO(FailedStartBesideAStart, .milliseconds = 2500, .jumps = false)
{
    const CoreSetup core{"alpha"};
    int failed = 0;
    int started = 0;
    const PString wrong(L"core.plugins.dir=");
    runTogether([&] { failed = ixlaStart(&wrong, 1); }, [&] { started = core.start(); });
    require(failed < 0, "a start without plugins directory fails");
    require(_isOneOf(started, 0, eIxlaCoreExists), "the result of the other start");
    require(started == 0 || failed != eIxlaCoreExists, "one of the two starts runs");
    _endsAs(started == 0);
    _requirePlugins(started == 0 ? 1 : 0);
    _requireClosedLibraries(started == 0 ? 1 : 0);
}

// A start that is refused does not refuse the stop.
SCENARIO(StartBesideAStop, .milliseconds = 100, .jumps = false)
{
    CoreSetup core{"alpha"};
    core.keepLibraries();
    core.mustStart();
    int started = 0;
    runTogether([] { requireEqual(0, ixlaStop(), "the core stops"); },
                [&] { started = core.start(); });
    require(_isOneOf(started, 0, eIxlaCoreExists), "the result of the start");
    _endsAs(started == 0);
    _requirePlugins(started == 0 ? 2 : 1);
}

// A stop that finds no core does not refuse the start.
SCENARIO(StopBesideAStart, .milliseconds = 100, .jumps = false)
{
    CoreSetup core{"alpha"};
    core.keepLibraries();
    int stopped = 0;
    runTogether([&] { core.mustStart(); }, [&] { stopped = ixlaStop(); });
    require(_isOneOf(stopped, 0, eIxlaCoreNotStarted), "the result of the stop");
    _endsAs(stopped != 0);
    _requirePlugins(1);
}

SCENARIO(StartInsideATearDown, .milliseconds = 5000, .jumps = false)
{
    const CoreSetup core{"alpha"};
    core.mustStart();
    PluginSteps::on("alpha.destroyed",
                    [&]
                    {
                        const int inside = core.start();
                        requireEqual(eIxlaCoreExists, inside, "a start by the plugin");
                        requireEqual(eIxlaCoreNotStarted, ixlaStop(), "a stop by the plugin");
                        return 0;
                    });
    int started = 0;
    runTogether([] { requireEqual(0, ixlaStop(), "the core stops"); },
                [&] { started = core.start(); });
    require(_isOneOf(started, 0, eIxlaCoreExists), "the result of the start");
    requireEqual(started == 0 ? 0 : eIxlaCoreNotStarted, ixlaStop(), "the last stop");
    _requirePlugins(started == 0 ? 2 : 1);
    _requireClosedLibraries(started == 0 ? 2 : 1);
}

SCENARIO(TwoCoresBesideLookups, .milliseconds = 100, .jumps = false)
{
    CoreSetup core{"alpha"};
    core.keepLibraries();
    const auto runCore = [&]
    {
        core.mustStart();
        requireEqual(0, Requested(L"test.alpha").result, "a request between start and stop");
        requireEqual(0, ixlaStop(), "the core stops");
    };
    const auto lookUp = []
    {
        for (int i = 0; i < 4; ++i)
        {
            const Requested requested(L"test.alpha");
            require(_isOneOf(requested.result, 0, eIxlaCoreNotStarted), "the result of a lookup");
            requireEqual(requested.result == 0, requested.instance != nullptr, "the service");
            ixlaIsInterfaceAvailable(L"test.alpha");
        }
    };
    runTogether(
        [&]
        {
            runCore();
            runCore();
        },
        lookUp);
    requireEqual(2, PluginSteps::count("alpha.init"), "initialisations");
    _endsAs(false);
    _requirePlugins(2);
}

// Two hosts of one process, each of which starts, looks up and stops as it can.
SCENARIO(StartsStopsAndLookupsOfTwoThreads, .milliseconds = 20000, .faults = true)
{
    CoreSetup core{"alpha"};
    core.writeLogs();
    const auto useCore = [&]
    {
        const int started = core.start();
        require(hasFault() || _isOneOf(started, 0, eIxlaCoreExists), "the result of a start");
        // After a lock that fails at the end of an init, other threads would wait forever.
        if (started == 0 || !hasFault())
        {
            const int found = Requested(L"test.alpha").result;
            require(hasFault() || found != eIxlaUnknownInterface, "a started core has the plugin");
        }
        const int stopped = ixlaStop();
        require(hasFault() || _isOneOf(stopped, 0, eIxlaCoreNotStarted), "the result of a stop");
    };
    runTogether(useCore, useCore);
    // Either thread has stopped the core that it started, unless the other one has.
    requireEqual(eIxlaCoreNotStarted, ixlaStop(), "the last stop");
    requireEqual(eIxlaCoreNotStarted, Requested(L"test.alpha").result, "a request afterwards");
}
