// SPDX-License-Identifier: MIT
// Lookups and availability queries during a stop.

#include "Scenario.h"
#include "scenarios/support/CoreSetup.h"
#include "scenarios/support/PluginSteps.h"
#include "scenarios/support/Threads.h"

#include <thread>

using schedules::hasFault;
using schedules::require;
using schedules::requireEqual;

namespace
{
/// What getInstance of alpha writes and its destructor reads. Not atomic: the stop has to wait for
/// the calls inside before it destroys the plugin.
int sUses;
bool sDestroyed;

void _watchUses()
{
    PluginSteps::on("alpha.getInstance",
                    []
                    {
                        require(!sDestroyed, "alpha is used before it is destroyed");
                        ++sUses;
                        return 0;
                    });
    PluginSteps::on("alpha.destroyed",
                    []
                    {
                        requireEqual(PluginSteps::count("alpha.getInstance"), sUses, "uses");
                        sDestroyed = true;
                        return 0;
                    });
}

/// The calls of one thread: they are served until the first refusal, and refused from then on.
class Caller
{
public:
    /// Returns whether the call was served.
    bool lookUp(const wchar_t* iId, int iServed = eIxlaOk)
    {
        const Requested requested(iId);
        if (requested.result == eIxlaCoreNotStarted)
        {
            require(!requested.instance, "a refused call returns nothing");
            fRefused = true;
            return false;
        }
        require(!fRefused, "no call is served after a refused one");
        require(hasFault() || requested.result == iServed, "the result of a served call");
        requireEqual(requested.result == 0 ? 1 : 0, requested.instance ? 1 : 0, "services");
        return true;
    }

    void query(const wchar_t* iId)
    {
        if (!ixlaIsInterfaceAvailable(iId))
        {
            fRefused = true;
            return;
        }
        require(!fRefused, "no interface is available after a refused call");
    }

private:
    bool fRefused = false;
};

void _stopsOnce()
{
    const int stopped = ixlaStop();
    require(hasFault() || stopped == 0, "the core stops");
    Caller caller;
    require(!caller.lookUp(L"test.alpha"), "lookups are refused after the stop");
    caller.query(kIxlaLoggerId);
    require(!ixlaIsInterfaceAvailable(L"test.alpha"), "no interface is available after the stop");
    requireEqual(eIxlaCoreNotStarted, ixlaStop(), "a second stop");
}
} // namespace

SCENARIO(OneLookupBesideAStop, .milliseconds = 100, .jumps = false, .small = true)
{
    CoreSetup core{"alpha"};
    core.keepLibraries();
    core.mustStart();
    requireEqual(0, Requested(L"test.alpha").result, "the first request succeeds");
    _watchUses();
    sUses = 1;
    std::thread other([] { Caller().lookUp(L"test.alpha"); });
    _stopsOnce();
    requireEqual(1, PluginSteps::count("alpha.destroyed"), "destroyed plugins");
    other.join();
}

SCENARIO(OneQueryBesideAStop, .milliseconds = 100, .jumps = false, .small = true)
{
    CoreSetup core;
    core.keepLibraries();
    core.mustStart();
    std::thread other(
        []
        {
            Caller caller;
            caller.query(kIxlaLoggerId);
            caller.query(kIxlaLoggerId);
        });
    _stopsOnce();
    other.join();
}

SCENARIO(FirstRequestBesideAStop, .milliseconds = 100, .jumps = false)
{
    CoreSetup core{"alpha"};
    core.keepLibraries();
    core.mustStart();
    _watchUses();
    PluginSteps::on("alpha.init",
                    []
                    {
                        require(!sDestroyed, "alpha is initialised before it is destroyed");
                        return 0;
                    });
    std::thread other(
        []
        {
            const bool served = Caller().lookUp(L"test.alpha");
            requireEqual(served ? 1 : 0, PluginSteps::count("alpha.init"), "initialisations");
        });
    _stopsOnce();
    requireEqual(1, PluginSteps::count("alpha.destroyed"), "destroyed plugins");
    other.join();
}

SCENARIO(LookupsAndQueriesBesideAStop, .milliseconds = 100, .jumps = false)
{
    CoreSetup core{"alpha", "beta"};
    core.keepLibraries();
    core.mustStart();
    const auto calls = []
    {
        Caller caller;
        for (int i = 0; i < 3; ++i)
        {
            caller.lookUp(L"test.alpha");
            caller.query(L"test.beta");
            caller.lookUp(L"test.nobody", eIxlaUnknownInterface);
            caller.lookUp(kIxlaConfigManagerId);
        }
    };
    std::thread first(calls);
    std::thread second(calls);
    _stopsOnce();
    const int inits = PluginSteps::count("alpha.init");
    const int uses = PluginSteps::count("alpha.getInstance");
    require(inits <= 1, "alpha is initialised at most once");
    requireEqual(1, PluginSteps::count("alpha.destroyed"), "destroyed plugins");
    requireEqual(1, PluginSteps::count("beta.destroyed"), "destroyed plugins");
    first.join();
    second.join();
    requireEqual(inits, PluginSteps::count("alpha.init"), "initialisations after the stop");
    requireEqual(uses, PluginSteps::count("alpha.getInstance"), "uses after the stop");
}

// A call may stay inside for longer than the stop waits: then no plugin is destroyed.
SCENARIO(LookupsWithLogsWhileTimePasses, .milliseconds = 12500, .faults = true)
{
    CoreSetup core{"alpha"};
    core.writeLogs();
    core.mustStart();
    {
        // Other threads would wait forever after a lock that fails at the end of an init.
        const schedules::Reliable reliable;
        Caller().lookUp(L"test.alpha");
    }
    const auto calls = []
    {
        Caller caller;
        caller.lookUp(L"test.alpha");
        caller.query(L"test.alpha");
        caller.lookUp(L"test.nobody", eIxlaUnknownInterface);
    };
    runTogether(_stopsOnce, calls, calls);
    const schedules::Reliable reliable;
    const int kept = core.countLines("core.log", "Calls that do not leave the core: ");
    require(hasFault() || PluginSteps::count("alpha.destroyed") == 1 - kept, "destroyed plugins");
    require(PluginSteps::count("alpha.destroyed") <= 1, "plugins are destroyed once");
}

// A stop never destroys what its own caller is inside of.
SCENARIO(StopInsideAnInitWithAWaiter, .milliseconds = 7500, .jumps = false)
{
    const CoreSetup core{"alpha"};
    core.mustStart();
    PluginSteps::on("alpha.init",
                    []
                    {
                        requireEqual(0, ixlaStop(), "the core stops");
                        return 0;
                    });
    const auto request = []
    {
        Caller().lookUp(L"test.alpha");
    };
    runTogether(request, request);
    requireEqual(1, PluginSteps::count("alpha.init"), "initialisations");
    requireEqual(0, PluginSteps::count("alpha.destroyed"), "destroyed plugins");
    requireEqual(eIxlaCoreNotStarted, ixlaStop(), "a second stop");
}
