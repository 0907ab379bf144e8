// SPDX-License-Identifier: MIT
// What the frequent operations change in memory: atomic read-modify-writes, locks, and lines that
// all threads share limit how they scale with the processors.

#include "Scenario.h"
#include "scenarios/support/CoreSetup.h"
#include "scenarios/support/HeldServices.h"

#include "IEventListener.h"
#include "PBaseptr.h"
#include "helpers/PCounted.h"
#include "logger/PLogger.h"

#include <string>
#include <thread>

using schedules::require;
using schedules::requireEqual;

namespace
{
class QuietListener final : public PCounted<IEventListener>
{
public:
    int handleEvent(const PLiteral&, IBase*, int) override
    {
        return 0;
    }
};

/// Two threads run the operation, and count what it changes when it is repeated.
template <class F>
void _countCosts(const char* iOperation, F iOperate)
{
    const auto count = [&](unsigned iThread)
    {
        iOperate();
        iOperate();
        schedules::recordChanges(iThread);
        iOperate();
        schedules::stopRecording();
    };
    count(0);
    std::thread(count, 1).join();
    schedules::reportCosts(iOperation);
}

void _subscribe(IEventDispatcher& ioDispatcher, const std::wstring& iTopic, int iCount)
{
    for (int i = 0; i < iCount; ++i)
    {
        const auto listener = PBaseptr<IEventListener>::adopt(new QuietListener);
        requireEqual(0, ioDispatcher.addListener(iTopic.c_str(), listener.get()), "a subscription");
    }
}
} // namespace

SCENARIO(CostsOfLookups, .costs = true)
{
    const CoreSetup core{"alpha"};
    core.mustStart();
    _countCosts("lookup",
                [] { requireEqual(0, Requested(kIxlaEventDispatcherId).result, "a lookup"); });
    _countCosts("availability",
                [] { require(ixlaIsInterfaceAvailable(L"test.alpha"), "an interface"); });
    requireEqual(0, ixlaStop(), "the core stops");
}

SCENARIO(CostsOfReads, .costs = true)
{
    const HeldServices services;
    for (const wchar_t* key : {L"own", L"pinned", L"stored"})
    {
        const std::wstring name = L"read " + std::wstring(key);
        _countCosts(std::string(name.begin(), name.end()).c_str(),
                    [&]
                    {
                        PString value;
                        requireEqual(0, services.config->getString(key, value), "a read");
                    });
    }
    _countCosts("set",
                [&] { requireEqual(0, services.manager->setString(L"net", L"set", L"x"), "set"); });
    requireEqual(0, ixlaStop(), "the core stops");
}

SCENARIO(CostsOfSends, .costs = true)
{
    const HeldServices services;
    for (const int listeners : {1, 10, 100})
    {
        const std::wstring topic = std::to_wstring(listeners);
        const std::string name = "send to " + std::to_string(listeners);
        _subscribe(*services.dispatcher, topic, listeners);
        _countCosts(
            name.c_str(),
            [&] { requireEqual(0, services.dispatcher->send(topic.c_str(), nullptr, 0), "send"); });
    }
    requireEqual(0, ixlaStop(), "the core stops");
}

SCENARIO(CostsOfLogLines, .costs = true)
{
    const HeldServices services(HeldServices::eWithLogs);
    _countCosts("log line", [&] { services.logger->info(0, L"line %d", 1); });
    services.logger->setLevel(0);
    _countCosts("filtered log line", [&] { services.logger->info(1, L"line %d", 1); });
    requireEqual(0, ixlaStop(), "the core stops");
}
