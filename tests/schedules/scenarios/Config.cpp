// SPDX-License-Identifier: MIT
// The configuration manager: stores, setters, readers and topics from several threads.

#include "Scenario.h"
#include "scenarios/support/HeldServices.h"
#include "scenarios/support/Threads.h"

#include "Ixla.h"
#include "helpers/PListener.h"

#include <atomic>
#include <string>

using schedules::require;
using schedules::requireEqual;

namespace
{
constexpr wchar_t kTopic[] = L"topic";

void _store(const HeldServices& iServices, const wchar_t* iKey, const wchar_t* iValue)
{
    requireEqual(0, iServices.manager->storeString(L"net", iKey, iValue), "the value is stored");
}

void _set(const HeldServices& iServices, const wchar_t* iKey, const wchar_t* iValue)
{
    requireEqual(0, iServices.manager->setString(L"net", iKey, iValue), "the value is set");
}

/// The lines of the store file that contain iText.
int _stored(const HeldServices& iServices, const char* iText = "")
{
    const schedules::Reliable reliable;
    return iServices.core.countLines("config/store.txt", iText);
}

/// Reads iKey twice: its value changes from iBefore to iAfter at most once.
void _readChange(const HeldServices& iServices, const wchar_t* iKey, const wchar_t* iBefore,
                 const wchar_t* iAfter)
{
    const std::wstring first = iServices.read(iKey);
    const std::wstring second = iServices.read(iKey);
    require(first == iBefore || first == iAfter, "the first text");
    require(second == iAfter || (second == iBefore && first == iBefore), "the second text");
}
} // namespace

SCENARIO(StoresFromTwoThreads, .jumps = false, .small = true)
{
    const HeldServices services;
    runTogether(
        [&]
        {
            _store(services, L"both", L"first");
            _store(services, L"a", L"first");
        },
        [&]
        {
            _store(services, L"b", L"second");
            _store(services, L"both", L"second");
        });
    requireEqual(1, _stored(services, "net|a = first"), "the first thread's value");
    requireEqual(1, _stored(services, "net|b = second"), "the second thread's value");
    requireEqual(1, _stored(services, "net|both = "), "the value of both");
    requireEqual(6, _stored(services), "lines, with the three from before");
}

SCENARIO(StoresAndRemovalsFromTwoThreads, .jumps = false)
{
    const HeldServices services;
    IConfigManager& manager = *services.manager;
    runTogether(
        [&]
        {
            _store(services, L"a", L"first");
            requireEqual(0, manager.storeAttrString(L"net", L"a", L"unit", L"s"), "an attribute");
            requireEqual(0, manager.removeStoredKey(L"net", L"stored"), "a removal");
        },
        [&]
        {
            requireEqual(0, manager.removeStoredKey(L"net", L"pinned"), "a removal");
            _store(services, L"b", L"second");
        });
    requireEqual(1, _stored(services, "net|a = first"), "the first thread's value");
    requireEqual(1, _stored(services, "net|a:unit = s"), "its attribute");
    requireEqual(1, _stored(services, "net|b = second"), "the second thread's value");
    requireEqual(1, _stored(services, "net|set = stored"), "the value from before");
    requireEqual(4, _stored(services), "lines");
}

SCENARIO(StoresThatMayFail, .jumps = false, .faults = true)
{
    const HeldServices services;
    const auto store = [&](const wchar_t* iKey)
    {
        const int result = services.manager->storeString(L"net", iKey, L"value");
        require(result == 0 || (result < 0 && schedules::hasFault()), "a storer");
    };
    runTogether([&] { store(L"a"); }, [&] { store(L"b"); });
    // A store file that was lost is created again, and one that was cut short is an error.
    const int result = services.manager->storeString(L"net", L"later", L"value");
    require(result == 0 || schedules::hasFault(), "a later storer");
    require(result != 0 || _stored(services, "net|later = value") == 1, "the later value");
    require(_stored(services) == 6 || schedules::hasFault(), "lines");
}

SCENARIO(StoreBesideReads, .jumps = false, .small = true)
{
    const HeldServices services;
    runTogether([&] { _store(services, L"stored", L"new"); },
                [&]
                {
                    _readChange(services, L"stored", L"stored", L"new");
                    require(services.read(L"own") == L"own", "an own value");
                });
    requireEqual(1, _stored(services, "net|stored = new"), "the new value");
    requireEqual(3, _stored(services), "lines");
}

SCENARIO(RemovalOfAStoredKeyBesideReads, .jumps = false, .small = true)
{
    const HeldServices services;
    require(services.read(L"stored") == L"stored", "the stored value");
    runTogether(
        [&] { requireEqual(0, services.manager->removeStoredKey(L"net", L"stored"), "removal"); },
        [&]
        { _readChange(services, L"stored", L"stored", std::to_wstring(eIxlaNotFound).c_str()); });
    requireEqual(eIxlaNotFound, std::stoi(services.read(L"stored")), "the removed value");
    requireEqual(0, _stored(services, "net|stored"), "lines of the removed value");
}

SCENARIO(ListOfIDsBesideAStore, .jumps = false, .small = true)
{
    const HeldServices services;
    runTogether(
        [&] { requireEqual(0, services.manager->storeString(L"a", L"k", L"v"), "the storer"); },
        [&]
        {
            std::vector<PString> ids;
            requireEqual(0, services.manager->listIDs(ids), "the list");
            require(ids.size() == 1 || ids.size() == 2, "the IDs: net, and the stored one or not");
        });
}

SCENARIO(SetterBesideAReader, .jumps = false, .small = true)
{
    const HeldServices services;
    runTogether([&] { _set(services, L"set", L"run time"); },
                [&] { _readChange(services, L"set", L"stored", L"run time"); });
    require(services.read(L"set") == L"run time", "the run-time value comes before the stored one");
}

SCENARIO(RemovalOfARunTimeValueBesideReads, .jumps = false, .small = true)
{
    const HeldServices services;
    _set(services, L"set", L"run time");
    runTogether([&]
                { requireEqual(0, services.manager->removeSetKey(L"net", L"set"), "the removal"); },
                [&] { _readChange(services, L"set", L"run time", L"stored"); });
    require(services.read(L"set") == L"stored", "the stored value is back");
}

SCENARIO(ReadersBesideARemovalOfARunTimeValue, .milliseconds = 500, .jumps = false)
{
    const HeldServices services;
    _set(services, L"set", L"run time");
    // The readers know the store, so that they take no mutex.
    require(services.read(L"set") == L"run time", "the run-time value comes before the stored one");
    const auto read = [&]
    {
        _readChange(services, L"set", L"run time", L"stored");
    };
    runTogether([&]
                { requireEqual(0, services.manager->removeSetKey(L"net", L"set"), "the removal"); },
                read, read);
    require(services.read(L"set") == L"stored", "the stored value is back");
}

SCENARIO(ReadBesideTheRemovalOfAStoredKey, .milliseconds = 500, .jumps = false, .small = true)
{
    const HeldServices services;
    require(services.read(L"stored") == L"stored", "the stored value");
    runTogether(
        [&] { requireEqual(0, services.manager->removeStoredKey(L"net", L"stored"), "removal"); },
        [&]
        {
            const std::wstring text = services.read(L"stored");
            require(text == L"stored" || text == std::to_wstring(eIxlaNotFound), "the read");
        });
}

SCENARIO(ThreeLayersBesideAReader, .jumps = false)
{
    const HeldServices services;
    runTogether(
        [&]
        {
            for (const wchar_t* key : {L"own", L"pinned", L"set"})
            {
                _set(services, key, L"run time");
            }
        },
        [&]
        {
            _readChange(services, L"own", L"own", L"run time");
            _readChange(services, L"pinned", L"own", L"own");
            _readChange(services, L"stored", L"stored", L"stored");
        },
        [&] { _readChange(services, L"set", L"stored", L"run time"); });
    require(services.read(L"own") == L"run time", "the run-time value comes before the own one");
    require(services.read(L"pinned") == L"own", "the const value comes first");
    require(services.read(L"set") == L"run time", "the run-time value comes before the stored one");
    requireEqual(0, services.manager->removeSetKey(L"net", L"set"), "the removal");
    require(services.read(L"set") == L"stored", "the stored value is back");
}

// Each load uses the largest blocks of an arena, which stay in the process for the next one.
SCENARIO(LoadsOfALargeFileFromTwoThreads, .jumps = false)
{
    constexpr unsigned int kLength = 10000;
    const HeldServices services;
    std::string lines;
    for (int i = 0; i < 8; ++i)
    {
        lines += "key" + std::to_string(i) + " = " + std::string(kLength, 'x') + '\n';
    }
    services.core.writeConfig("large.prs", lines);
    const std::string path = services.core.path("config/large.prs");
    const PString file(std::wstring(path.begin(), path.end()).c_str());
    const auto load = [&]
    {
        for (int i = 0; i < 2; ++i)
        {
            PBaseptr<IConfig> config;
            requireEqual(0, services.manager->loadByFile(file, config), "the load");
            PString value;
            requireEqual(0, config->getString(L"key7", value), "the last key");
            requireEqual(kLength, value.len(), "the length of its value");
        }
    };
    runTogether(load, load);
}

SCENARIO(SettersOfOneKeyFromTwoThreads, .jumps = false, .small = true)
{
    const HeldServices services;
    std::wstring seen[2];
    runTogether(
        [&]
        {
            _set(services, L"key", L"first");
            seen[0] = services.read(L"key");
        },
        [&]
        {
            _set(services, L"key", L"second");
            seen[1] = services.read(L"key");
        });
    require(seen[0] == L"first" || seen[0] == L"second", "the value that the key got");
    require(seen[0] == seen[1], "both threads read the same value");
    require(services.read(L"key") == seen[0], "the first value stays");
}

SCENARIO(SettersThatMayFail, .jumps = false, .faults = true)
{
    const HeldServices services;
    std::atomic<int> failures{0};
    const auto set = [&](const wchar_t* iKey)
    {
        const int result = services.manager->setString(L"net", iKey, L"value");
        const schedules::Reliable reliable;
        failures += result == 0 ? 0 : 1;
        const std::wstring expected = result == 0 ? L"value" : std::to_wstring(eIxlaNotFound);
        require(services.read(iKey) == expected, "a setter that fails changes nothing");
    };
    runTogether([&] { set(L"first"); }, [&] { set(L"second"); });
    require(failures == 0 || (failures == 1 && schedules::hasFault()), "setters that failed");
}

SCENARIO(AttributesBesideTheRemovalOfTheirKey, .jumps = false)
{
    const HeldServices services;
    IConfigManager& manager = *services.manager;
    _set(services, L"key", L"value");
    runTogether(
        [&]
        {
            const int result = manager.setAttrString(L"net", L"key", L"unit", L"s");
            require(result == 0 || result == eIxlaNoValueForAttribute, "the attribute");
        },
        [&]
        {
            PString unit;
            const int result = services.config->getAttrString(L"key", L"unit", unit);
            require(result == eIxlaNotFound || (result == 0 && unit == L"s"), "the read");
        },
        [&] { requireEqual(0, manager.removeSetKey(L"net", L"key"), "the removal"); });
    PString unit;
    requireEqual(eIxlaNotFound, services.config->getAttrString(L"key", L"unit", unit), "the end");
}

SCENARIO(SettersAnnounceWhatTheySet, .jumps = false, .small = true)
{
    const HeldServices services;
    std::atomic<int> events{0};
    const PBaseptr<IEventListener> listener = ixlaListener(
        [&](const PLiteral&, IBase*, int)
        {
            schedules::requireNoLocks("the listener of a change");
            require(services.read(L"own") == L"run time", "the value is set before its event");
            requireEqual(0, services.manager->setString(L"other", L"key", L"value"), "a setter");
            ++events;
        });
    requireEqual(0, services.dispatcher->addListener(kTopic, listener.get()), "listening");
    requireEqual(0, services.manager->addListener(L"net", kTopic), "the topic is registered");
    const auto set = [&]
    {
        _set(services, L"own", L"run time");
    };
    runTogether(set, set);
    requireEqual(2, events, "events");
}

SCENARIO(TopicsBesideASetter, .jumps = false)
{
    const HeldServices services;
    IConfigManager& manager = *services.manager;
    std::atomic<int> early{0};
    std::atomic<int> late{0};
    const auto listen = [&](const wchar_t* iTopic, std::atomic<int>& ioEvents)
    {
        const PBaseptr<IEventListener> listener =
            ixlaListener([&ioEvents](const PLiteral&, IBase*, int) { ++ioEvents; });
        requireEqual(0, services.dispatcher->addListener(iTopic, listener.get()), "listening");
    };
    listen(kTopic, early);
    listen(L"late", late);
    requireEqual(0, manager.addListener(L"net", kTopic), "the topic is registered");
    std::atomic<int> refused{0};
    const auto change = [&]
    {
        const int added = manager.addListener(L"net", L"late");
        require(added == 0 || added == eIxlaAlreadyRegistered, "an addition");
        const int removed = manager.removeListener(L"net", L"late");
        require(removed == 0 || removed == eIxlaNotFound, "a removal");
        refused += (added != 0 ? 1 : 0) - (removed != 0 ? 1 : 0);
    };
    runTogether(change, change,
                [&]
                {
                    _set(services, L"a", L"value");
                    _set(services, L"b", L"value");
                });
    requireEqual(2, early, "events of the topic that stays");
    require(late <= 2, "events of the other topic");
    requireEqual(0, refused, "each topic that was added is removed once");
    requireEqual(eIxlaNotFound, manager.removeListener(L"net", L"late"), "a late removal");
}
