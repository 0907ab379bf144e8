// SPDX-License-Identifier: MIT
// The end of a subscription beside deliveries.

#include "Scenario.h"
#include "scenarios/support/CoreSetup.h"
#include "scenarios/support/Threads.h"

#include "Ixla.h"
#include "helpers/PConfigSubscription.h"
#include "helpers/PSubscription.h"

#include <atomic>
#include <memory>

using schedules::require;
using schedules::requireEqual;

namespace
{
constexpr wchar_t kTopic[] = L"topic";

/// What a callable uses; destroyed once its subscription has ended. Not synchronised: the end of
/// the subscription has to order the last event before the destruction.
struct Owner
{
    Owner() = default;
    Owner(const Owner&) = delete;
    Owner& operator=(const Owner&) = delete;

    ~Owner()
    {
        isAlive = 0;
    }

    void handle()
    {
        schedules::requireNoLocks("the callable of a subscription");
        requireEqual(1, isAlive, "the owner is alive");
        ++events;
    }

    int isAlive = 1;
    int events = 0;
};

/// A started core, its dispatcher and its manager.
struct Started
{
    Started()
    {
        core.mustStart();
        const schedules::Reliable reliable;
        dispatcher = ixlaService<IEventDispatcher>();
        manager = ixlaService<IConfigManager>();
    }

    int send() const
    {
        return dispatcher->send(kTopic, nullptr, 0);
    }

    const CoreSetup core;
    PBaseptr<IEventDispatcher> dispatcher;
    PBaseptr<IConfigManager> manager;
};

void _subscribe(PSubscription& ioSubscription, Owner& ioOwner)
{
    requireEqual(0,
                 ioSubscription.subscribe(kTopic, [&ioOwner](const PLiteral&, IBase*, int)
                                          { ioOwner.handle(); }),
                 "the subscription begins");
}

bool _isSent(int iResult)
{
    return iResult == eIxlaOk || iResult == eIxlaNoListener;
}
} // namespace

SCENARIO(EndOfASubscriptionBesideADelivery, .jumps = false, .small = true)
{
    const Started started;
    auto owner = std::make_unique<Owner>();
    PSubscription subscription;
    _subscribe(subscription, *owner);
    runTogether(
        [&]
        {
            requireEqual(0, subscription.end(), "the end");
            require(!subscription, "the subscription has ended");
            require(owner->events <= 1, "events until the end");
            owner.reset();
        },
        [&] { require(_isSent(started.send()), "the send"); });
    requireEqual(eIxlaNoListener, started.send(), "a send after the end");
}

SCENARIO(EndOfASubscriptionBesideTwoDeliveries, .jumps = false)
{
    const Started started;
    auto events = std::make_unique<std::atomic<int>>(0);
    PSubscription subscription;
    requireEqual(0,
                 subscription.subscribe(kTopic,
                                        [&](const PLiteral&, IBase*, int)
                                        {
                                            require(events != nullptr, "the owner is alive");
                                            ++*events;
                                        }),
                 "the subscription begins");
    const auto send = [&]
    {
        require(_isSent(started.send()), "the send");
    };
    runTogether(
        [&]
        {
            requireEqual(0, subscription.end(), "the end");
            require(*events <= 2, "events until the end");
            events.reset();
        },
        send, send);
}

SCENARIO(DeliveryGateBesideTwoVisits, .milliseconds = 0, .jumps = false)
{
    PDeliveryGate gate;
    int used[2] = {};
    const auto visit = [&](int& ioUsed)
    {
        const PDeliveryGate::Visit inside(gate);
        if (inside)
        {
            std::this_thread::yield();
            ioUsed = 1;
        }
    };
    runTogether(
        [&]
        {
            gate.close();
            used[0] = 2;
            used[1] = 2;
        },
        [&] { visit(used[0]); }, [&] { visit(used[1]); });
}

SCENARIO(EndOfASubscriptionInItsCallable, .jumps = false, .small = true)
{
    const Started started;
    std::atomic<int> events{0};
    PSubscription subscription;
    requireEqual(0,
                 subscription.subscribe(kTopic,
                                        [&](const PLiteral&, IBase*, int)
                                        {
                                            // One PSubscription belongs to one thread at a time.
                                            requireEqual(0, events++ == 0 ? subscription.end() : 0,
                                                         "the end");
                                        }),
                 "the subscription begins");
    const auto send = [&]
    {
        require(_isSent(started.send()), "the send");
    };
    runTogether(send, send);
    require(events == 1 || events == 2, "events");
    require(!subscription, "the subscription has ended");
    requireEqual(eIxlaNoListener, started.send(), "a send after the end");
}

SCENARIO(AnotherSubscriptionBesideADelivery, .jumps = false, .small = true)
{
    const Started started;
    Owner first;
    PSubscription subscription;
    _subscribe(subscription, first);
    Owner second;
    runTogether(
        [&]
        {
            _subscribe(subscription, second);
            require(first.events <= 1, "events until the second subscription");
        },
        [&] { require(_isSent(started.send()), "the send"); });
    require(first.events + second.events <= 1, "the event reaches one of them at most");
    requireEqual(0, started.send(), "a later send");
    require(second.events == 1 || second.events == 2, "events of the second subscription");
}

SCENARIO(EndOfASubscriptionBesideAStop, .milliseconds = 3000)
{
    const Started started;
    auto owner = std::make_unique<Owner>();
    PSubscription subscription;
    _subscribe(subscription, *owner);
    runTogether([] { requireEqual(0, ixlaStop(), "the core stops"); },
                [&]
                {
                    requireEqual(0, started.send(), "the send");
                    requireEqual(1, owner->events, "events");
                    requireEqual(0, subscription.end(), "the end");
                    owner.reset();
                    requireEqual(eIxlaNoListener, started.send(), "a send after the end");
                });
}

SCENARIO(EndOfAConfigSubscriptionBesideASetter, .jumps = false, .small = true)
{
    const Started started;
    auto owner = std::make_unique<Owner>();
    PConfigSubscription subscription;
    requireEqual(0,
                 subscription.subscribe(L"net",
                                        [&](const IConfigChanged& iChange)
                                        {
                                            PString key;
                                            requireEqual(0, iChange.getKey(key), "the key");
                                            require(key == L"key", "the key that was set");
                                            owner->handle();
                                        }),
                 "the subscription begins");
    runTogether(
        [&]
        {
            requireEqual(0, subscription.end(), "the end");
            require(owner->events <= 1, "events until the end");
            owner.reset();
        },
        [&] { requireEqual(0, started.manager->setString(L"net", L"key", L"v"), "the setter"); });
    requireEqual(0, started.manager->setString(L"net", L"key", L"v"), "a setter after the end");
}
