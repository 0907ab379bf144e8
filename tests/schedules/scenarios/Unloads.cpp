// SPDX-License-Identifier: MIT
// The unloading of an idle plugin while other threads use the core and the loader.

#include "Scenario.h"
#include "scenarios/support/CoreSetup.h"
#include "scenarios/support/PluginSteps.h"
#include "scenarios/support/Threads.h"

#include "plugins/ITestService.h"

#include <dlfcn.h>
#include <future>
#include <string>
#include <thread>

using schedules::require;
using schedules::requireEqual;

namespace
{
/// What the init of a plugin writes and its destructor reads. Not atomic: the core orders them.
int sInits;

IPlugin* _request(const wchar_t* iId)
{
    const Requested requested(iId);
    requireEqual(0, requested.result, "the request succeeds");
    return static_cast<ITestService*>(requested.instance)->getPlugin();
}

void _requireReleased(const std::string& iPlugin)
{
    requireEqual(1, PluginSteps::count(iPlugin + ".destroyed"), "destroyed plugins");
    requireEqual(1, PluginSteps::count(iPlugin + ".service destroyed"), "destroyed services");
}

void _requireDestroyed(const std::string& iPlugin)
{
    _requireReleased(iPlugin);
    requireEqual(1, PluginSteps::count(iPlugin + ".unmapped"), "closed libraries");
}

void _unloadAlpha(IPlugin* iAlpha)
{
    requireEqual(0, ixlaUnloadPlugin(iAlpha), "the unloading");
    _requireDestroyed("alpha");
    requireEqual(eIxlaUnknownInterface, Requested(L"test.alpha").result, "a request afterwards");
    require(!ixlaIsInterfaceAvailable(L"test.alpha"), "its interface is not available");
}

void _useBeta()
{
    require(ixlaIsInterfaceAvailable(L"test.beta"), "the other plugin is available");
    _request(L"test.beta");
    require(!ixlaIsInterfaceAvailable(L"test.nobody"), "an unknown interface is not available");
}

void _stop()
{
    requireEqual(0, ixlaStop(), "the core stops");
    _requireDestroyed("alpha");
}

/// Opens and closes a library whose constructor and destructor request a service.
void _openEarlyLibrary()
{
    void* const library = dlopen(SCHEDULE_PLUGINS "/libearly.so", RTLD_NOW | RTLD_LOCAL);
    require(library, "the library is opened");
    requireEqual(0, dlclose(library), "the library is closed");
    for (const char* step : {"mapping", "mapped", "unmapping", "unmapped"})
    {
        requireEqual(1, PluginSteps::count(std::string("early.") + step), step);
    }
}

void _countInits()
{
    PluginSteps::on("alpha.init", [] { return ++sInits, 0; });
    PluginSteps::on("alpha.destroyed",
                    []
                    {
                        requireEqual(PluginSteps::count("alpha.init"), sInits, "inits");
                        return 0;
                    });
}

/// A start whose autostart list names both plugins, while another thread unloads alpha as soon as
/// the init of iBegun runs.
void _unloadDuringAutostart(const char* iList, const std::string& iBegun)
{
    CoreSetup core{"alpha", "beta"};
    core.set("core.autostart.list", iList);
    _countInits();
    std::promise<void> begun;
    PluginSteps::on(iBegun + ".init",
                    [&]
                    {
                        sInits += iBegun == "alpha" ? 1 : 0;
                        begun.set_value();
                        return 0;
                    });
    runTogether([&] { core.mustStart(); },
                [&]
                {
                    begun.get_future().wait();
                    requireEqual(0, ixlaUnloadPlugin(_request(L"test.alpha")), "the unloading");
                });
    requireEqual(1, PluginSteps::count("alpha.init"), "initialisations of alpha");
    requireEqual(1, PluginSteps::count("beta.init"), "initialisations of beta");
    _requireDestroyed("alpha");
    _useBeta();
    _stop();
    _requireDestroyed("beta");
}
} // namespace

SCENARIO(UnloadBesideOneLookup, .milliseconds = 2500, .jumps = false, .small = true)
{
    const CoreSetup core{"alpha", "beta"};
    core.mustStart();
    IPlugin* const alpha = _request(L"test.alpha");
    runTogether([&] { requireEqual(0, ixlaUnloadPlugin(alpha), "the unloading"); },
                [] { _request(L"test.beta"); });
    _requireDestroyed("alpha");
    _stop();
}

SCENARIO(UnloadBesideLookups, .milliseconds = 2500)
{
    const CoreSetup core{"alpha", "beta"};
    core.mustStart();
    _countInits();
    IPlugin* const alpha = _request(L"test.alpha");
    runTogether([&] { _unloadAlpha(alpha); }, _useBeta, _useBeta);
    requireEqual(1, PluginSteps::count("beta.init"), "initialisations of beta");
    requireEqual(eIxlaPluginNotFound, ixlaUnloadPlugin(alpha), "a second unloading");
    _stop();
}

SCENARIO(TwoUnloadsOfOnePlugin, .milliseconds = 2500, .jumps = false)
{
    const CoreSetup core{"alpha", "beta"};
    core.mustStart();
    IPlugin* const alpha = _request(L"test.alpha");
    int first = 0;
    int second = 0;
    runTogether([&] { first = ixlaUnloadPlugin(alpha); }, [&] { second = ixlaUnloadPlugin(alpha); },
                _useBeta);
    requireEqual(eIxlaPluginNotFound, first + second, "one of two unloadings finds the plugin");
    require(first == 0 || second == 0, "one unloading succeeds");
    _stop();
    _requireDestroyed("beta");
}

SCENARIO(UnloadsOfTwoPlugins, .milliseconds = 2500, .jumps = false)
{
    const CoreSetup core{"alpha", "beta"};
    core.mustStart();
    IPlugin* const alpha = _request(L"test.alpha");
    IPlugin* const beta = _request(L"test.beta");
    runTogether([&] { _unloadAlpha(alpha); },
                [&] { requireEqual(0, ixlaUnloadPlugin(beta), "the other unloading"); },
                [] { requireEqual(0, Requested(kIxlaLoggerId).result, "a request"); });
    _requireDestroyed("beta");
    _stop();
}

SCENARIO(UnloadBesideAStop, .milliseconds = 100, .jumps = false)
{
    CoreSetup core{"alpha", "beta"};
    core.keepLibraries();
    core.mustStart();
    _countInits();
    IPlugin* const alpha = _request(L"test.alpha");
    _request(L"test.beta");
    runTogether([] { requireEqual(0, ixlaStop(), "the core stops"); },
                [&]
                {
                    const int result = ixlaUnloadPlugin(alpha);
                    require(result == 0 || result == eIxlaCoreNotStarted, "the unloading");
                    const int second = ixlaUnloadPlugin(alpha);
                    require(second == eIxlaCoreNotStarted ||
                                (result == 0 && second == eIxlaPluginNotFound),
                            "a second unloading");
                });
    _requireReleased("alpha");
    _requireReleased("beta");
}

SCENARIO(UnloadBesideTheRestOfTheAutostartList, .milliseconds = 2500, .jumps = false)
{
    _unloadDuringAutostart("beta,alpha", "beta");
}

SCENARIO(UnloadAfterTheInitOfTheAutostartList, .milliseconds = 2500, .jumps = false)
{
    _unloadDuringAutostart("alpha,beta", "alpha");
}

SCENARIO(UnloadBesideALibraryThatCallsTheCore, .milliseconds = 2500, .jumps = false, .small = true)
{
    const CoreSetup core{"alpha"};
    core.mustStart();
    IPlugin* const alpha = _request(L"test.alpha");
    runTogether([&] { _unloadAlpha(alpha); }, _openEarlyLibrary);
    _stop();
}

SCENARIO(StartBesideALibraryThatCallsTheCore, .milliseconds = 2500, .jumps = false)
{
    CoreSetup core{"alpha"};
    core.set("core.autostart.list", "alpha");
    runTogether([&] { core.mustStart(); }, _openEarlyLibrary);
    requireEqual(1, PluginSteps::count("alpha.init"), "initialisations");
    _stop();
}

SCENARIO(StopBesideALibraryThatCallsTheCore, .milliseconds = 2500, .jumps = false, .small = true)
{
    const CoreSetup core{"alpha"};
    core.mustStart();
    _request(L"test.alpha");
    runTogether(_stop, _openEarlyLibrary);
}

// Both plugins are initialised before, because other threads would wait forever after a lock that
// fails at the end of an init.
SCENARIO(UnloadAndLookupsThatFail, .milliseconds = 12500, .faults = true)
{
    const CoreSetup core{"alpha", "beta"};
    core.mustStart();
    IPlugin* alpha = nullptr;
    {
        const schedules::Reliable reliable;
        alpha = _request(L"test.alpha");
        _request(L"test.beta");
    }
    int unloaded = 0;
    runTogether([&] { unloaded = ixlaUnloadPlugin(alpha); },
                []
                {
                    const int result = Requested(L"test.beta").result;
                    require(result == 0 || schedules::hasFault(), "the request succeeds");
                    require(ixlaIsInterfaceAvailable(L"test.beta"), "it is available");
                });
    require(unloaded == 0 || schedules::hasFault(), "the unloading succeeds");
    const int stopped = ixlaStop();
    require(stopped == 0 || schedules::hasFault(), "the core stops");
    const schedules::Reliable reliable;
    require(PluginSteps::count("alpha.destroyed") <= 1, "plugins are destroyed once");
    require(PluginSteps::count("beta.destroyed") <= 1, "plugins are destroyed once");
    requireEqual(eIxlaCoreNotStarted, ixlaStop(), "a second stop");
}
