// SPDX-License-Identifier: MIT
// Services of a stopped core while another thread starts and stops a second one.

#include "Scenario.h"
#include "scenarios/support/CountedListener.h"
#include "scenarios/support/HeldServices.h"
#include "scenarios/support/Threads.h"

#include "Ixla.h"
#include "helpers/PSubscription.h"
#include "helpers/ServiceLookup.h"

using schedules::require;
using schedules::requireEqual;

namespace
{
void _stop()
{
    requireEqual(0, ixlaStop(), "the core stops");
}

void _startAndStop(const HeldServices& iServices)
{
    iServices.core.mustStart();
    int result = 0;
    const PBaseptr<ILogger> logger = ixlaService<ILogger>(result);
    requireEqual(0, result, "the second core has a logger");
    require(logger.get() != iServices.logger.get(), "it is another one");
    requireEqual(0, logger->info(0, L"second core."), "a line of the second core");
    _stop();
}
} // namespace

SCENARIO(ConfigurationOfAStoppedCoreBesideASecondCore, .milliseconds = 6000)
{
    const HeldServices services;
    _stop();
    runTogether([&] { _startAndStop(services); },
                [&]
                {
                    require(services.read(L"own") == L"own", "the own value");
                    require(services.read(L"stored") == L"stored", "the stored value");
                    requireEqual(0, services.manager->setString(L"net", L"set", L"late"),
                                 "a setter");
                    require(services.read(L"set") == L"late", "the value that was set");
                    PBaseptr<IConfig> loaded;
                    requireEqual(0, services.manager->loadByID(L"net", loaded), "a load");
                });
    require(services.read(L"set") == L"late", "the value that was set");
}

SCENARIO(DispatcherOfAStoppedCoreBesideASecondCore, .milliseconds = 6000)
{
    HeldServices services;
    CountedEvents counts;
    PBaseptr<IEventListener> listener = countedListener(counts, [] {});
    requireEqual(0, services.dispatcher->addListener(L"topic", listener.get()), "listening");
    int events = 0;
    PSubscription subscription;
    requireEqual(0,
                 subscription.subscribe(L"topic", [&](const PLiteral&, IBase*, int) { ++events; }),
                 "the subscription");
    _stop();
    runTogether([&] { _startAndStop(services); },
                [&]
                {
                    IEventDispatcher& dispatcher = *services.dispatcher;
                    requireEqual(0, dispatcher.send(L"topic", nullptr, 0), "a send");
                    requireEqual(0, subscription.end(), "the end of the subscription");
                    requireEqual(0, dispatcher.send(L"topic", nullptr, 0), "another send");
                    requireEqual(0, dispatcher.removeListener(L"topic", listener.get()), "removal");
                    services.dispatcher.clear();
                    listener.clear();
                });
    requireEqual(1, events, "events of the subscription");
    requireEqual(2, counts.handled, "events of the listener");
    requireEqual(1, counts.destroyed, "destroyed listeners");
}

SCENARIO(LoggersOfTwoCoresWithOneFile, .milliseconds = 6000)
{
    const HeldServices services(HeldServices::eWithLogs);
    PBaseptr<ILogger> named;
    requireEqual(0, services.logger->getLogger(L"named", named), "getLogger");
    _stop();
    runTogether([&] { _startAndStop(services); },
                [&]
                {
                    requireEqual(0, services.logger->info(0, L"first core."), "a line");
                    requireEqual(0, named->info(0, L"named."), "a line of the named logger");
                    PBaseptr<ILogger> other;
                    requireEqual(eIxlaNoInstance, named->getLogger(L"other", other), "getLogger");
                });
    requireEqual(1, services.core.countLines("log/ixlaplugins.log", "first core."), "lines");
    requireEqual(1, services.core.countLines("log/ixlaplugins.log", "second core."), "lines");
    requireEqual(1, services.core.countLines("log/named", "named."), "lines");
}
