// SPDX-License-Identifier: MIT
// Operations on held services while another thread stops the core. They work throughout.

#include "Scenario.h"
#include "scenarios/support/CountedListener.h"
#include "scenarios/support/HeldServices.h"
#include "scenarios/support/Threads.h"

#include "IConfigChanged.h"
#include "Ixla.h"
#include "helpers/PListener.h"
#include "helpers/ServiceLookup.h"

#include <string>
#include <vector>

using schedules::require;
using schedules::requireEqual;

namespace
{
constexpr wchar_t kTopic[] = L"net changed";
constexpr int kRounds = 3;

void _stop()
{
    requireEqual(0, ixlaStop(), "the core stops");
}

std::wstring _key(int iNumber)
{
    return L"key" + std::to_wstring(iNumber);
}

void _readValues(const HeldServices& iServices)
{
    require(iServices.read(L"own") == L"own", "the own value");
    require(iServices.read(L"pinned") == L"own", "the const value");
    require(iServices.read(L"set") == L"set", "the run-time value");
    require(iServices.read(L"stored") == L"stored", "the stored value");
}

/// Reads values of all three sources, and the files.
void _read(const HeldServices& iServices)
{
    _readValues(iServices);
    PBaseptr<IConfig> loaded;
    requireEqual(0, iServices.manager->loadByID(L"net", loaded), "a load by ID");
    PString own;
    requireEqual(0, loaded->getString(L"own", own), "a read of the loaded configuration");
}

void _setSources(const HeldServices& iServices)
{
    for (const wchar_t* key : {L"pinned", L"set"})
    {
        requireEqual(0, iServices.manager->setString(L"net", key, L"set"), "the value is set");
    }
}

/// Sets values and notes those whose change was announced, on the thread that sets them.
class Setter
{
public:
    explicit Setter(const HeldServices& iServices) : fServices(iServices)
    {
        fListener = ixlaListener([this](const PLiteral&, IBase* iChange, int) { note(iChange); });
        requireEqual(0, iServices.dispatcher->addListener(kTopic, fListener.get()), "listening");
        requireEqual(0, iServices.manager->addListener(L"net", kTopic), "the topic is registered");
    }

    void run() const
    {
        for (int i = 0; i < kRounds; ++i)
        {
            const std::wstring key = _key(i);
            requireEqual(0, fServices.manager->setString(L"net", key.c_str(), L"value"),
                         "a setter");
            require(fServices.read(key.c_str()) == L"value", "the value that was just set");
        }
    }

    /// The changes until the stop are announced, those after it are not.
    void check() const
    {
        require(fAnnounced.size() <= kRounds, "announced changes");
        for (std::size_t i = 0; i < fAnnounced.size(); ++i)
        {
            require(fAnnounced[i] == _key(static_cast<int>(i)), "the order of the changes");
        }
        const std::size_t before = fAnnounced.size();
        requireEqual(0, fServices.manager->setString(L"net", L"late", L"value"), "a late setter");
        require(fServices.read(L"late") == L"value", "a late value");
        require(fAnnounced.size() == before, "a late change is not announced");
    }

private:
    void note(IBase* iChange)
    {
        schedules::requireNoLocks("the listener of a change");
        PString key;
        requireEqual(0, static_cast<IConfigChanged*>(iChange)->getKey(key), "the changed key");
        fAnnounced.emplace_back(key.ptr(), key.len());
    }

    const HeldServices& fServices;
    PBaseptr<IEventListener> fListener;
    std::vector<std::wstring> fAnnounced; ///< not synchronised: setters call on their own thread
};

void _store(const HeldServices& iServices)
{
    for (int i = 0; i < kRounds; ++i)
    {
        requireEqual(0, iServices.manager->storeString(L"net", _key(i).c_str(), L"value"),
                     "a storer");
    }
}

void _checkStored(const HeldServices& iServices)
{
    for (int i = 0; i < kRounds; ++i)
    {
        const std::string line = "net|key" + std::to_string(i) + " = value";
        requireEqual(1, iServices.core.countLines("config/store.txt", line), "a stored value");
    }
    requireEqual(1, iServices.core.countLines("config/store.txt", "net|stored = stored"),
                 "the value that was stored before");
}

void _write(ILogger& ioLogger, int iNumber)
{
    requireEqual(0, ioLogger.info(0, L"line %d.", iNumber), "a line");
}

void _checkLines(const HeldServices& iServices, const std::string& iFile)
{
    for (int i = 0; i < kRounds; ++i)
    {
        requireEqual(1, iServices.core.countLines(iFile, "line " + std::to_string(i) + "."),
                     "the line in the file");
    }
}

/// Counts without synchronisation: the events of one sender are on its thread.
struct Sends
{
    explicit Sends(const HeldServices& iServices) : services(iServices)
    {
        listener = countedListener(counts, [this] { ++events; });
        requireEqual(0, services.dispatcher->addListener(L"topic", listener.get()), "listening");
    }

    void run()
    {
        for (int i = 1; i <= kRounds; ++i)
        {
            requireEqual(0, services.dispatcher->send(L"topic", nullptr, i), "a send");
            requireEqual(i, events, "events that the listener got");
        }
    }

    /// Removes the listener; nobody else has a reference to it.
    void end()
    {
        requireEqual(0, services.dispatcher->removeListener(L"topic", listener.get()), "removal");
        listener.clear();
        requireEqual(1, counts.destroyed, "destroyed listeners");
    }

    const HeldServices& services;
    CountedEvents counts;
    PBaseptr<IEventListener> listener;
    int events = 0;
};
} // namespace

SCENARIO(ReadsBesideAStop, .milliseconds = 3000)
{
    const HeldServices services;
    _setSources(services);
    runTogether(_stop, [&] { _read(services); });
    _read(services);
}

SCENARIO(SettersBesideAStop, .milliseconds = 3000)
{
    const HeldServices services;
    Setter setter(services);
    runTogether(_stop, [&] { setter.run(); });
    setter.check();
}

SCENARIO(ReadsOfAConfigurationHeldAloneBesideAStop, .milliseconds = 3000)
{
    HeldServices services;
    _setSources(services);
    services.logger.clear();
    services.dispatcher.clear();
    services.manager.clear();
    runTogether(_stop,
                [&]
                {
                    _readValues(services);
                    services.config.clear();
                });
}

SCENARIO(SettersOfAManagerHeldAloneBesideAStop, .milliseconds = 3000)
{
    HeldServices services;
    Setter setter(services);
    services.logger.clear();
    services.dispatcher.clear();
    runTogether(_stop, [&] { setter.run(); });
    setter.check();
}

SCENARIO(StorersBesideAStop, .milliseconds = 3000)
{
    const HeldServices services;
    runTogether(_stop, [&] { _store(services); });
    _checkStored(services);
    requireEqual(0, services.manager->removeStoredKey(L"net", L"stored"), "a late removal");
    requireEqual(0, services.core.countLines("config/store.txt", "net|stored"), "a removed value");
}

SCENARIO(LogLinesBesideAStop, .milliseconds = 3000)
{
    const HeldServices services(HeldServices::eWithLogs);
    runTogether(_stop,
                [&]
                {
                    for (int i = 0; i < kRounds; ++i)
                    {
                        _write(*services.logger, i);
                    }
                });
    _checkLines(services, "log/ixlaplugins.log");
    _write(*services.logger, kRounds);
    requireEqual(1, services.core.countLines("log/ixlaplugins.log", "line 3."), "a late line");
}

SCENARIO(NamedLogLinesBesideAStop, .milliseconds = 3000, .jumps = false)
{
    const HeldServices services(HeldServices::eWithLogs);
    int written = 0;
    bool isOver = false;
    runTogether(_stop,
                [&]
                {
                    for (int i = 0; i < kRounds; ++i)
                    {
                        PBaseptr<ILogger> named;
                        const int result = services.logger->getLogger(L"named", named);
                        require(result == eIxlaOk || result == eIxlaNoInstance, "getLogger");
                        require(!isOver || result == eIxlaNoInstance, "no logger after the end");
                        isOver = result != eIxlaOk;
                        require(isOver != static_cast<bool>(named), "the holder is filled");
                        if (named)
                        {
                            _write(*named, written++);
                        }
                    }
                });
    requireEqual(written, services.core.countLines("log/named", "line "), "lines");
    PBaseptr<ILogger> named;
    requireEqual(eIxlaNoInstance, services.logger->getLogger(L"named", named), "a late getLogger");
}

SCENARIO(SendsBesideAStop, .milliseconds = 3000)
{
    const HeldServices services;
    Sends sends(services);
    runTogether(_stop, [&] { sends.run(); });
    sends.end();
}

SCENARIO(SendsOfADispatcherHeldAloneBesideAStop, .milliseconds = 3000)
{
    HeldServices services(HeldServices::eWithLogs);
    Sends sends(services);
    services.config.clear();
    services.manager.clear();
    services.logger.clear();
    runTogether(_stop,
                [&]
                {
                    sends.run();
                    sends.end();
                    services.dispatcher.clear();
                });
}

SCENARIO(LookupsOfHeldServicesBesideAStop, .milliseconds = 3000)
{
    const HeldServices services;
    bool isOver = false;
    runTogether(_stop,
                [&]
                {
                    for (int i = 0; i < kRounds; ++i)
                    {
                        int result = 0;
                        const PBaseptr<ILogger> found = ixlaService<ILogger>(result);
                        require(result == (found ? eIxlaOk : eIxlaCoreNotStarted), "a lookup");
                        require(!isOver || !found, "no service after the end");
                        require(!found || found.get() == services.logger.get(), "the same service");
                        isOver = !found;
                    }
                });
    require(!ixlaService<ILogger>(), "no service after the stop");
}

SCENARIO(AllServicesBesideAStop, .milliseconds = 3000)
{
    const HeldServices services(HeldServices::eWithLogs);
    _setSources(services);
    Setter setter(services);
    Sends sends(services);
    runTogether(
        _stop,
        [&]
        {
            setter.run();
            _store(services);
        },
        [&]
        {
            _read(services);
            sends.run();
        },
        [&]
        {
            for (int i = 0; i < kRounds; ++i)
            {
                _write(*services.logger, i);
                PBaseptr<ILogger> named;
                const int result = services.logger->getLogger(L"named", named);
                require(result == eIxlaOk || result == eIxlaNoInstance, "getLogger");
            }
        });
    sends.end();
    setter.check();
    _read(services);
    _checkLines(services, "log/ixlaplugins.log");
    _checkStored(services);
}
