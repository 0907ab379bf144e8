// SPDX-License-Identifier: MIT
// Listeners of the exit event that take less and more time than the stop waits for them. A wait of
// the stop ends five seconds after its begin at the latest, and then every five seconds.

#include "Scenario.h"
#include "scenarios/support/CoreSetup.h"
#include "scenarios/support/PluginSteps.h"

#include "IEventDispatcher.h"
#include "PBaseptr.h"
#include "plugins/ITestService.h"

#include <chrono>
#include <future>
#include <optional>
#include <pthread.h>
#include <string>
#include <thread>

using schedules::require;
using schedules::requireEqual;

namespace
{
constexpr int kPause = 2500; ///< milliseconds, before the libraries are closed

/// Written by the listener. Not atomic: a stop that has waited for the listener has to see it.
int sHeard;

void _sleep(int iMilliseconds)
{
    std::this_thread::sleep_for(std::chrono::milliseconds(iMilliseconds));
}

long long _now()
{
    return static_cast<long long>(schedules::nanoseconds() / 1000000);
}

/// Subscribes the service of a test plugin to the exit event.
void _subscribe(const wchar_t* iId)
{
    PBaseptr<IEventDispatcher> dispatcher(
        static_cast<IEventDispatcher*>(Requested(kIxlaEventDispatcherId).instance));
    ITestService* const service = static_cast<ITestService*>(Requested(iId).instance);
    requireEqual(0, dispatcher->addListener(kIxlaCoreExitTopic, service), "the subscription");
}

/// A core whose plugin alpha listens to the exit event.
class ListeningCore
{
public:
    explicit ListeningCore(const char* iTimeoutSeconds)
    {
        fCore.set("core.notify.exit.timeout", iTimeoutSeconds);
    }

    void writeLogs()
    {
        fCore.writeLogs();
    }

    void keepLibraries()
    {
        fCore.keepLibraries();
    }

    void start() const
    {
        fCore.mustStart();
        _subscribe(L"test.alpha");
    }

    int countLines(const char* iText) const
    {
        return fCore.countLines("core.log", iText);
    }

    /// Stops; returns the milliseconds that it took before the pause.
    long long stop() const
    {
        const long long start = _now();
        requireEqual(0, ixlaStop(), "the core stops");
        requireEqual(1, PluginSteps::count("alpha.event"), "events");
        requireEqual(1, PluginSteps::count("alpha.destroyed"), "destroyed plugins");
        return _now() - start - kPause;
    }

    /// The stop has waited until the listener returned.
    void requireJoined() const
    {
        requireEqual(1, sHeard, "what the listener has written");
        requireEqual(1, PluginSteps::count("alpha.service destroyed"), "destroyed services");
        requireEqual(1, PluginSteps::count("alpha.unmapped"), "closed libraries");
    }

    /// The stop has abandoned the listener, whose library stays mapped.
    void requireAbandoned() const
    {
        requireEqual(0, PluginSteps::count("alpha.unmapped"), "closed libraries");
    }

private:
    CoreSetup fCore{"alpha"};
};

void _hearFor(int iMilliseconds)
{
    PluginSteps::on("alpha.event",
                    [iMilliseconds]
                    {
                        _sleep(iMilliseconds);
                        sHeard = 1;
                        return 0;
                    });
}
/// The stop waits for a listener of so many milliseconds.
void _listenAndJoin(const char* iTimeoutSeconds, int iMilliseconds)
{
    const ListeningCore core(iTimeoutSeconds);
    core.start();
    _hearFor(iMilliseconds);
    requireEqual(iMilliseconds, core.stop(), "milliseconds");
    core.requireJoined();
}

/// The stop abandons a listener, which returns during the pause.
void _listenAndAbandon(const char* iTimeoutSeconds, int iMilliseconds, int iWaited)
{
    const ListeningCore core(iTimeoutSeconds);
    core.start();
    _hearFor(iMilliseconds);
    requireEqual(iWaited, core.stop(), "milliseconds");
    core.requireAbandoned();
    requireEqual(1, PluginSteps::count("alpha.service destroyed"), "services after the pause");
}
} // namespace

SCENARIO(ExitListenerOf4999Milliseconds, .milliseconds = 7499, .jumps = false)
{
    _listenAndJoin("5", 4999);
}

// The listener returns at the moment at which the stop's wait ends.
SCENARIO(ExitListenerOf5000Milliseconds, .milliseconds = 7500, .jumps = false)
{
    const ListeningCore core("5");
    core.start();
    _hearFor(5000);
    requireEqual(5000, core.stop(), "milliseconds");
    if (PluginSteps::count("alpha.unmapped") != 0)
    {
        core.requireJoined();
        return;
    }
    core.requireAbandoned();
    requireEqual(1, PluginSteps::count("alpha.service destroyed"), "services after the pause");
}

// As above. The log says what the stop has done.
SCENARIO(ExitListenerOf5000MillisecondsWithLogs, .milliseconds = 7500, .jumps = false)
{
    ListeningCore core("5");
    core.writeLogs();
    core.start();
    _hearFor(5000);
    requireEqual(5000, core.stop(), "milliseconds");
    const int joined = PluginSteps::count("alpha.unmapped");
    requireEqual(joined, core.countLines("[stopFlow] Join return"), "lines about the end");
    const int timeouts = core.countLines("[stopFlow] Waiting finished with timeout!");
    require(joined + timeouts >= 1, "the stop joins or abandons the listener");
    requireEqual(0, core.countLines(" E Core "), "error lines");
}

SCENARIO(ExitListenerOf5001Milliseconds, .milliseconds = 7500, .jumps = false)
{
    _listenAndAbandon("5", 5001, 5000);
}

SCENARIO(ExitListenerThatOutlivesTheCore, .milliseconds = 61000, .jumps = false)
{
    const ListeningCore core("5");
    core.start();
    _hearFor(60000);
    requireEqual(5000, core.stop(), "milliseconds");
    core.requireAbandoned();
    requireEqual(0, PluginSteps::count("alpha.service destroyed"), "services with a listener");
    _sleep(53500);
    requireEqual(1, PluginSteps::count("alpha.service destroyed"), "services without listener");
    requireEqual(0, PluginSteps::count("alpha.unmapped"), "closed libraries");
}

// The stop looks at its limit of one second after five. The listener that subscribed last is called
// first.
SCENARIO(ExitListenerThatDoesNotReturnBeforeAnother, .milliseconds = 7501, .jumps = false)
{
    CoreSetup core{"alpha", "beta"};
    core.set("core.notify.exit.timeout", "1");
    core.writeLogs();
    core.mustStart();
    _subscribe(L"test.beta");
    _subscribe(L"test.alpha");
    static std::promise<void> mayReturn;
    PluginSteps::on("alpha.event", [] { return mayReturn.get_future().wait(), 0; });
    requireEqual(0, ixlaStop(), "the core stops");
    requireEqual(5000 + kPause, _now(), "milliseconds");
    requireEqual(eIxlaCoreNotStarted, ixlaStop(), "a second stop");
    for (const char* text : {"[stopFlow] Waiting finished with timeout!",
                             "[stopFlow] Waiting finished fNotifyExit: 1", "[stopFlow] Done."})
    {
        requireEqual(1, core.countLines("core.log", text), text);
    }
    requireEqual(0, PluginSteps::count("beta.event"), "events of the second listener");
    mayReturn.set_value();
    _sleep(1);
    for (const std::string plugin : {"alpha", "beta"})
    {
        requireEqual(1, PluginSteps::count(plugin + ".event"), "events");
        requireEqual(1, PluginSteps::count(plugin + ".destroyed"), "destroyed plugins");
        requireEqual(1, PluginSteps::count(plugin + ".service destroyed"), "destroyed services");
        requireEqual(0, PluginSteps::count(plugin + ".unmapped"), "closed libraries");
    }
}

// The second core has the same dispatcher topics, libraries and files.
SCENARIO(AbandonedExitListenerDuringASecondCore, .milliseconds = 12000, .jumps = false)
{
    const ListeningCore core("5");
    core.start();
    _hearFor(8000);
    requireEqual(5000, core.stop(), "milliseconds");
    core.requireAbandoned();
    core.start();
    _sleep(1000);
    requireEqual(1, PluginSteps::count("alpha.service destroyed"), "services of the first core");
    requireEqual(1, PluginSteps::count("alpha.destroyed"), "plugins of the first core");
    PluginSteps::on("alpha.event", [] { return 0; });
    requireEqual(0, ixlaStop(), "the second core stops");
    requireEqual(2, PluginSteps::count("alpha.event"), "events");
    requireEqual(2, PluginSteps::count("alpha.service destroyed"), "services of both cores");
    requireEqual(2, PluginSteps::count("alpha.destroyed"), "plugins of both cores");
}

// The second wait of the stop ends after ten seconds.
SCENARIO(ExitListenerOf9999MillisecondsWithALimitOf6Seconds, .milliseconds = 12499, .jumps = false)
{
    _listenAndJoin("6", 9999);
}

SCENARIO(ExitListenerOf10001MillisecondsWithALimitOf6Seconds, .milliseconds = 12500, .jumps = false)
{
    _listenAndAbandon("6", 10001, 10000);
}

SCENARIO(ExitListenerThatEndsItsThread, .milliseconds = 3500, .jumps = false)
{
    const ListeningCore core("5");
    core.start();
    PluginSteps::on("alpha.event",
                    []
                    {
                        _sleep(1000);
                        sHeard = 1;
                        pthread_exit(nullptr);
                        return 0;
                    });
    requireEqual(1000, core.stop(), "milliseconds");
    core.requireJoined();
}

// The notifier holds the dispatcher, and with it the listeners: the stop waits for its end before
// it destroys the plugins.
SCENARIO(ListenersAreDestroyedBeforePlugins, .milliseconds = 0, .jumps = false)
{
    ListeningCore core("5");
    core.keepLibraries();
    core.start();
    PluginSteps::on("alpha.destroyed",
                    []
                    {
                        const int services = PluginSteps::count("alpha.service destroyed");
                        requireEqual(1, services, "destroyed services");
                        return 0;
                    });
    requireEqual(0, ixlaStop(), "the core stops");
    requireEqual(1, PluginSteps::count("alpha.event"), "events");
    requireEqual(1, PluginSteps::count("alpha.destroyed"), "destroyed plugins");
}

// The listener and another thread call the core while it stops: lookups are served.
SCENARIO(ExitListenerThatCallsTheCore, .milliseconds = 2500, .jumps = false)
{
    const ListeningCore core("5");
    core.start();
    PluginSteps::on("alpha.event",
                    []
                    {
                        requireEqual(0, Requested(L"test.alpha").result, "a lookup");
                        require(ixlaIsInterfaceAvailable(kIxlaLoggerId), "an interface");
                        const PString argument(L"core.log.level=0");
                        requireEqual(eIxlaCoreExists, ixlaStart(&argument, 1), "a start");
                        requireEqual(eIxlaCoreNotStarted, ixlaStop(), "a second stop");
                        sHeard = 1;
                        return 0;
                    });
    std::thread other(
        []
        {
            const int result = Requested(L"test.alpha").result;
            require(result == 0 || result == eIxlaCoreNotStarted, "a lookup of another thread");
        });
    requireEqual(0, core.stop(), "milliseconds");
    core.requireJoined();
    other.join();
}

// Any wait may end early, and any call may fail, so that the stop joins or abandons the listener,
// also before its event, or has none.
SCENARIO(ExitListenerWhileTimePasses, .milliseconds = 20000, .faults = true)
{
    std::optional<schedules::Reliable> reliable(std::in_place);
    const ListeningCore core("5");
    core.start();
    _hearFor(10);
    reliable.reset();
    const int stopped = ixlaStop();
    reliable.emplace();
    require(stopped == 0 || schedules::hasFault(), "the core stops");
    if (PluginSteps::count("alpha.unmapped") != 0)
    {
        require(PluginSteps::count("alpha.event") == 1 || schedules::hasFault(), "an event");
        requireEqual(PluginSteps::count("alpha.event"), sHeard, "what the listener has written");
    }
    else if (!schedules::hasFault())
    {
        core.requireAbandoned();
    }
    _sleep(1000);
    requireEqual(eIxlaCoreNotStarted, Requested(L"test.alpha").result, "a request afterwards");
    requireEqual(eIxlaCoreNotStarted, ixlaStop(), "a second stop");
}
