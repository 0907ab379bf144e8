// SPDX-License-Identifier: MIT
// A fork while another thread uses the core and its services.

#include "Scenario.h"
#include "scenarios/support/Children.h"
#include "scenarios/support/CoreSetup.h"

#include "IConfigManager.h"
#include "IEventDispatcher.h"
#include "ILogger.h"
#include "Ixla.h"
#include "PBaseptr.h"
#include "helpers/ServiceLookup.h"

#include <cerrno>
#include <thread>

using schedules::require;
using schedules::requireEqual;

namespace
{
struct Held
{
    PBaseptr<IConfigManager> manager = ixlaService<IConfigManager>();
    PBaseptr<IEventDispatcher> dispatcher = ixlaService<IEventDispatcher>();
    PBaseptr<ILogger> logger = ixlaService<ILogger>();
};

/// What any call of a child has to answer, and never to wait for.
void _useInChild(const Held& iHeld)
{
    requireEqual(-EOWNERDEAD, iHeld.manager->setString(L"id", L"key", L"child"), "a setter");
    requireEqual(-EOWNERDEAD, iHeld.manager->storeString(L"id", L"key", L"child"), "a storer");
    requireEqual(-EOWNERDEAD, iHeld.dispatcher->send(L"topic", nullptr, 0), "a send");
    requireEqual(-EOWNERDEAD, iHeld.logger->error(0, L"child"), "a log line");
    requireEqual(eIxlaCoreNotStarted, Requested(kIxlaLoggerId).result, "a lookup");
    require(!ixlaIsInterfaceAvailable(kIxlaLoggerId), "no interface is available");
    requireEqual(eIxlaCoreNotStarted, ixlaStop(), "a stop");
}
} // namespace

SCENARIO(ForkBesideCalls, .milliseconds = 3000)
{
    CoreSetup core;
    core.set("core.plugins.log.enable", "true");
    core.mustStart();
    {
        const Held held;
        std::thread user(
            [&]
            {
                requireEqual(0, held.manager->setString(L"id", L"key", L"value"), "the setter");
                requireEqual(0, held.logger->error(0, L"parent"), "the log line");
                requireEqual(0, Requested(kIxlaLoggerId).result, "the lookup");
            });
        runInChild([&] { _useInChild(held); });
        user.join();
        requireEqual(0, held.logger->error(0, L"parent"), "a log line after the fork");
    }
    requireEqual(0, ixlaStop(), "the core stops");
    requireEqual(2, core.countLines("log/ixlaplugins.log", "parent"), "lines of the parent");
    requireEqual(0, core.countLines("log/ixlaplugins.log", "child"), "lines of the child");
}
