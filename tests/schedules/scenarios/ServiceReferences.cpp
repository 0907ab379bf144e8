// SPDX-License-Identifier: MIT
// Objects of the services, used and released for the last time on two threads.

#include "Scenario.h"
#include "scenarios/support/CountedListener.h"
#include "scenarios/support/HeldServices.h"
#include "scenarios/support/Threads.h"

#include "IConfigChanged.h"
#include "Ixla.h"
#include "helpers/PListener.h"

using schedules::require;
using schedules::requireEqual;

namespace
{
/// Two references of their own to one object.
template <class T>
struct References
{
    explicit References(T* iObject) : first(iObject), second(iObject)
    {
    }

    /// Each thread uses its reference and releases it.
    template <class TUse>
    void useAndRelease(const TUse& iUse)
    {
        const auto run = [&iUse](PBaseptr<T>& ioReference)
        {
            iUse(*ioReference);
            ioReference.clear();
        };
        runTogether([&] { run(first); }, [&] { run(second); });
    }

    PBaseptr<T> first;
    PBaseptr<T> second;
};

void _readPinned(IConfig& ioConfig)
{
    PString text;
    requireEqual(0, ioConfig.getString(L"pinned", text), "the read");
    require(text == L"own", "the const value");
}
} // namespace

SCENARIO(LastReferencesToAConfiguration, .jumps = false, .small = true)
{
    HeldServices services;
    requireEqual(0, services.manager->setString(L"net", L"pinned", L"set"), "the setter");
    References<IConfig> references(services.config.get());
    services.config.clear();
    references.useAndRelease(_readPinned);
}

SCENARIO(LastReferencesToAConfigurationOfAFile, .jumps = false, .small = true)
{
    const HeldServices services;
    const std::string path = services.core.path("config/net.prs");
    PBaseptr<IConfig> config;
    requireEqual(
        0, services.manager->loadByFile(std::wstring(path.begin(), path.end()).c_str(), config),
        "the load");
    References<IConfig> references(config.get());
    config.clear();
    references.useAndRelease(_readPinned);
}

SCENARIO(LastReferencesToAChange, .jumps = false, .small = true)
{
    const HeldServices services;
    PBaseptr<IConfigChanged> change;
    const PBaseptr<IEventListener> listener =
        ixlaListener([&](const PLiteral&, IBase* iChange, int)
                     { change = static_cast<IConfigChanged*>(iChange); });
    requireEqual(0, services.dispatcher->addListener(L"topic", listener.get()), "listening");
    requireEqual(0, services.manager->addListener(L"net", L"topic"), "the topic is registered");
    requireEqual(0, services.manager->setString(L"net", L"key", L"value"), "the setter");
    References<IConfigChanged> references(change.get());
    change.clear();
    references.useAndRelease(
        [](IConfigChanged& ioChange)
        {
            PString key;
            requireEqual(0, ioChange.getKey(key), "the key");
            require(key == L"key", "the key that was set");
        });
}

SCENARIO(LastReferencesToTheDispatcherAfterAStop, .milliseconds = 3000, .jumps = false)
{
    HeldServices services;
    CountedEvents counts;
    PBaseptr<IEventListener> listener = countedListener(counts, [] {});
    requireEqual(0, services.dispatcher->addListener(L"topic", listener.get()), "listening");
    requireEqual(0, ixlaStop(), "the core stops");
    References<IEventDispatcher> references(services.dispatcher.get());
    services.dispatcher.clear();
    references.useAndRelease([](IEventDispatcher& ioDispatcher)
                             { requireEqual(0, ioDispatcher.send(L"topic", nullptr, 0), "send"); });
    requireEqual(2, counts.handled, "events");
    requireEqual(0, counts.destroyed, "destroyed listeners");
    listener.clear();
    requireEqual(1, counts.destroyed, "the dispatcher has released the listener");
}

SCENARIO(LastReferencesToTheManagerAfterAStop, .milliseconds = 3000, .jumps = false)
{
    HeldServices services;
    requireEqual(0, ixlaStop(), "the core stops");
    References<IConfigManager> references(services.manager.get());
    services.manager.clear();
    services.config.clear();
    references.useAndRelease(
        [](IConfigManager& ioManager)
        {
            PBaseptr<IConfig> config;
            requireEqual(0, ioManager.loadByID(L"net", config), "a load");
            _readPinned(*config);
        });
}

SCENARIO(LastReferencesToTheLoggerAfterAStop, .milliseconds = 3000, .jumps = false)
{
    HeldServices services(HeldServices::eWithLogs);
    requireEqual(0, ixlaStop(), "the core stops");
    References<ILogger> references(services.logger.get());
    services.logger.clear();
    references.useAndRelease([](ILogger& ioLogger)
                             { requireEqual(0, ioLogger.info(0, L"late line"), "a line"); });
    requireEqual(2, services.core.countLines("log/ixlaplugins.log", "late line"), "lines");
}

SCENARIO(LastReferencesToANamedLogger, .jumps = false, .small = true)
{
    HeldServices services(HeldServices::eWithLogs);
    PBaseptr<ILogger> named;
    requireEqual(0, services.logger->getLogger(L"named", named), "getLogger");
    References<ILogger> references(named.get());
    // The cache keeps a logger only for the holders that share its count.
    requireEqual(0, services.logger->getLogger(L"other", named), "getLogger");
    references.useAndRelease([](ILogger& ioLogger)
                             { requireEqual(0, ioLogger.setLevel(1), "the level is set"); });
}
