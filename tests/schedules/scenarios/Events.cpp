// SPDX-License-Identifier: MIT
// The event dispatcher: add, remove and send from several threads.

#include "Scenario.h"
#include "scenarios/support/CoreSetup.h"
#include "scenarios/support/CountedListener.h"
#include "scenarios/support/Threads.h"

#include "IEventDispatcher.h"
#include "Ixla.h"
#include "PBaseptr.h"
#include "helpers/ServiceLookup.h"

#include <atomic>
#include <thread>

using schedules::require;
using schedules::requireEqual;

namespace
{
constexpr wchar_t kTopic[] = L"topic";

/// A started core without plugins of its own, and its dispatcher.
struct Dispatching
{
    Dispatching()
    {
        core.mustStart();
        const schedules::Reliable reliable;
        dispatcher = ixlaService<IEventDispatcher>();
    }

    int send(int iNumber = 0) const
    {
        return dispatcher->send(kTopic, nullptr, iNumber);
    }

    int add(const PBaseptr<IEventListener>& iListener) const
    {
        return dispatcher->addListener(kTopic, iListener.get());
    }

    int remove(const PBaseptr<IEventListener>& iListener) const
    {
        return dispatcher->removeListener(kTopic, iListener.get());
    }

    /// Adds a listener that only the dispatcher holds.
    template <class TFunction>
    void addOnly(CountedEvents& ioEvents, TFunction iFunction) const
    {
        const PBaseptr<IEventListener> listener = countedListener(ioEvents, iFunction);
        requireEqual(0, add(listener), "the listener is added");
    }

    const CoreSetup core;
    PBaseptr<IEventDispatcher> dispatcher;
};

bool _isSent(int iResult)
{
    return iResult == eIxlaOk || iResult == eIxlaNoListener;
}
} // namespace

SCENARIO(SendBesideARemoval, .jumps = false, .small = true)
{
    const Dispatching events;
    CountedEvents counts;
    events.addOnly(counts, [] {});
    const PBaseptr<IEventListener> other = countedListener(counts, [] {});
    requireEqual(0, events.add(other), "the second listener is added");
    std::thread sender([&] { requireEqual(0, events.send(), "the send"); });
    requireEqual(0, events.remove(other), "the removal");
    sender.join();
    require(counts.handled == 1 || counts.handled == 2, "each listener gets the event once");
    requireEqual(0, counts.destroyed, "destroyed listeners");
}

SCENARIO(EventsWithoutSlotsBesideARemoval, .jumps = false)
{
    const Dispatching events;
    constexpr wchar_t kOuter[] = L"outer";
    CountedEvents outerCounts;
    CountedEvents counts;
    events.addOnly(counts, [] {});
    const PBaseptr<IEventListener> other = countedListener(counts, [] {});
    requireEqual(0, events.add(other), "the second listener is added");
    int depth = 0;
    const PBaseptr<IEventListener> outer = countedListener(
        outerCounts,
        [&]
        {
            // The outer events take all slots of the thread.
            requireEqual(0,
                         ++depth < 4 ? events.dispatcher->send(kOuter, nullptr, 0) : events.send(),
                         "a send in a listener");
        });
    requireEqual(0, events.dispatcher->addListener(kOuter, outer.get()), "the outer listener");
    std::thread remover([&] { requireEqual(0, events.remove(other), "the removal"); });
    requireEqual(0, events.dispatcher->send(kOuter, nullptr, 0), "the outer send");
    remover.join();
    require(counts.handled == 1 || counts.handled == 2, "each listener gets the event once");
    requireEqual(0, counts.destroyed, "destroyed listeners");
}

SCENARIO(RemovalOfTheOnlyListenerBesideASend, .jumps = false, .small = true)
{
    const Dispatching events;
    CountedEvents counts;
    PBaseptr<IEventListener> listener = countedListener(counts, [] {});
    requireEqual(0, events.add(listener), "the listener is added");
    IEventListener* const added = listener.get();
    listener.clear();
    int sent = 1;
    std::thread sender([&] { sent = events.send(); });
    requireEqual(0, events.dispatcher->removeListener(kTopic, added), "the removal");
    sender.join();
    requireEqual(sent == eIxlaOk ? 1 : 0, counts.handled, "events of the listener");
    require(_isSent(sent), "the send delivers or finds no listener");
    requireEqual(1, counts.destroyed, "destroyed listeners");
    requireEqual(eIxlaNoListener, events.send(), "a send after the removal");
}

SCENARIO(OneListenerAddedFromTwoThreads, .jumps = false, .small = true)
{
    const Dispatching events;
    CountedEvents counts;
    const PBaseptr<IEventListener> listener = countedListener(counts, [] {});
    int second = 1;
    std::thread other([&] { second = events.add(listener); });
    const int first = events.add(listener);
    other.join();
    requireEqual(eIxlaListenerExists, first + second, "one thread adds, the other is refused");
    requireEqual(0, events.send(), "the send");
    requireEqual(1, counts.handled, "events of the listener");
    requireEqual(0, events.remove(listener), "the removal");
    requireEqual(eIxlaNoListener, events.remove(listener), "a second removal");
}

SCENARIO(AddRemoveAndSendFromThreeThreads, .jumps = false, .faults = true)
{
    const Dispatching events;
    CountedEvents counts;
    PBaseptr<IEventListener> stays = countedListener(counts, [] {});
    require(events.add(stays) == 0 || schedules::hasFault(), "the listener is added");
    const auto addAndRemove = [&]
    {
        const PBaseptr<IEventListener> own = countedListener(counts, [] {});
        const int added = events.add(own);
        const int removed = events.remove(own);
        require((added == 0 && removed == 0) || schedules::hasFault(), "own results");
        require(added == 0 || removed != 0, "only what was added is removed");
    };
    runTogether(addAndRemove, addAndRemove,
                [&]
                {
                    const int before = counts.handled;
                    const int sent = events.send();
                    require((sent == 0 && counts.handled > before) || schedules::hasFault(),
                            "the send");
                });
    require((counts.destroyed == 2 && counts.handled <= 3) || schedules::hasFault(),
            "only the first listener stays");
    require(events.remove(stays) == 0 || schedules::hasFault(), "the last removal");
    stays.clear();
    require(counts.destroyed == 3 || schedules::hasFault(), "destroyed listeners");
}

SCENARIO(ListenersThatRemoveThemselvesBesideASend, .jumps = false, .small = true)
{
    const Dispatching events;
    CountedEvents counts;
    std::atomic<int> removed{0};
    for (int i = 0; i < 2; ++i)
    {
        PBaseptr<IEventListener>* const own = new PBaseptr<IEventListener>;
        *own = countedListener(counts,
                               [&, own]
                               {
                                   // Two deliveries may run this listener; one of them removes it.
                                   const int result = events.remove(*own);
                                   removed += result == 0 ? 1 : 0;
                                   require(_isSent(result), "the removal of itself");
                               });
        requireEqual(0, events.add(*own), "the listener is added");
    }
    const auto send = [&]
    {
        require(_isSent(events.send()), "the send");
    };
    runTogether(send, send);
    requireEqual(2, removed, "removals");
    require(counts.handled >= 2 && counts.handled <= 4, "events");
    requireEqual(eIxlaNoListener, events.send(), "a later send");
}

SCENARIO(ListenersThatReleaseThemselvesBesideASend, .jumps = false, .small = true)
{
    const Dispatching events;
    CountedEvents counts;
    std::atomic<IEventListener*> only{nullptr};
    const auto removeIt = [&]
    {
        IEventListener* const listener = only.exchange(nullptr);
        return listener ? events.dispatcher->removeListener(kTopic, listener) : 0;
    };
    {
        const PBaseptr<IEventListener> listener = countedListener(
            counts, [&] { requireEqual(0, removeIt(), "the only reference is released"); });
        only = listener.get();
        requireEqual(0, events.add(listener), "the listener is added");
    }
    const auto send = [&]
    {
        require(_isSent(events.send()), "the send");
    };
    runTogether(send, send);
    requireEqual(1, counts.destroyed, "destroyed listeners");
    require(counts.handled == 1 || counts.handled == 2, "events");
    requireEqual(eIxlaNoListener, events.send(), "a later send");
}

SCENARIO(ListenersThatAddAndSendFromThreeThreads, .jumps = false)
{
    const Dispatching events;
    CountedEvents counts;
    CountedEvents added;
    constexpr wchar_t kOther[] = L"other topic";
    const PBaseptr<IEventListener> inner = countedListener(added, [] {});
    requireEqual(0, events.dispatcher->addListener(kOther, inner.get()), "the inner listener");
    const PBaseptr<IEventListener> outer = countedListener(
        counts,
        [&]
        {
            const PBaseptr<IEventListener> fresh = countedListener(added, [] {});
            requireEqual(0, events.dispatcher->addListener(kOther, fresh.get()), "an addition");
            requireEqual(0, events.dispatcher->send(kOther, nullptr, 0), "a send in a listener");
            requireEqual(0, events.dispatcher->removeListener(kOther, fresh.get()), "a removal");
        });
    requireEqual(0, events.add(outer), "the outer listener");
    const auto send = [&]
    {
        requireEqual(0, events.send(), "the send");
    };
    runTogether(send, send, send);
    requireEqual(3, counts.handled, "events of the outer listener");
    // Each inner send reaches the inner listener, its own and perhaps those of the other threads.
    require(added.handled >= 6 && added.handled <= 12, "events of the inner listeners");
    requireEqual(3, added.destroyed, "destroyed listeners");
    requireEqual(0, events.dispatcher->send(kOther, nullptr, 0), "a later send");
}

SCENARIO(EventsInTheOrderOfASendersSends, .jumps = false, .small = true)
{
    const Dispatching events;
    // Not atomic: a send returns after its listener, so one thread's events are ordered.
    int last = 0;
    int value = 0;
    CountedEvents counts;
    const PBaseptr<IEventListener> listener = countedListener(counts, [&] { last = value; });
    requireEqual(0, events.add(listener), "the listener is added");
    std::thread other(
        [&]
        {
            const PBaseptr<IEventListener> own = countedListener(counts, [] {});
            requireEqual(0, events.dispatcher->addListener(L"unrelated", own.get()), "added");
            requireEqual(0, events.dispatcher->removeListener(L"unrelated", own.get()), "removed");
        });
    for (value = 1; value <= 3; ++value)
    {
        requireEqual(0, events.send(), "the send");
        requireEqual(value, last, "the value that the listener saw");
    }
    other.join();
    requireEqual(3, counts.handled, "events");
}
