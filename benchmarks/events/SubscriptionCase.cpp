// SPDX-License-Identifier: MIT
#include "events/SubscriptionCase.h"

#include "IEventDispatcher.h"
#include "PBaseptr.h"
#include "helpers/PCounted.h"
#include "support/CoreHost.h"
#include "support/Stopwatch.h"
#include "support/TextMap.h"

#include <boost/signals2/signal.hpp>
#include <list>
#include <memory>
#include <mutex>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace
{
constexpr wchar_t kTopic[] = L"com.kelvora.bench.subscribed";

/// Subscribes all outside the measured time, and ends all subscriptions inside it.
template <class TWork>
class Unsubscribe
{
public:
    explicit Unsubscribe(int iSize) : fWork(iSize)
    {
    }

    double timedTurn()
    {
        const bool added = fWork.addAll();
        Stopwatch watch;
        const bool removed = fWork.removeAll();
        const double seconds = watch.stop();
        return added && removed ? seconds : -1;
    }

private:
    TWork fWork;
};

/// Subscribes all inside the measured time.
template <class TWork>
class Subscribe
{
public:
    explicit Subscribe(int iSize) : fWork(iSize)
    {
    }

    double timedTurn()
    {
        Stopwatch watch;
        const bool added = fWork.addAll();
        const double seconds = watch.stop();
        return fWork.removeAll() && added ? seconds : -1;
    }

private:
    TWork fWork;
};

/// Takes the same time to add or remove any listener: a list in the order of subscription, and a
/// hash of the listeners. The fastest for this, but an event would have to copy the list.
class FloorListeners
{
public:
    explicit FloorListeners(int iSize)
    {
        for (int i = 0; i < iSize; ++i)
        {
            fListeners.push_back(std::make_shared<Listener>());
        }
    }

    bool addAll()
    {
        bool right = true;
        for (const std::shared_ptr<Listener>& listener : fListeners)
        {
            right = add(kTopic, listener) && right;
        }
        return right;
    }

    bool removeAll()
    {
        bool right = true;
        for (const std::shared_ptr<Listener>& listener : fListeners)
        {
            right = remove(kTopic, listener.get()) && right;
        }
        return right;
    }

private:
    struct Listener
    {
        virtual ~Listener() = default;
    };
    typedef std::list<std::shared_ptr<Listener>> Order;

    struct Topic
    {
        Order order;
        std::unordered_map<const Listener*, Order::iterator> places;
    };

    bool add(std::wstring_view iTopic, const std::shared_ptr<Listener>& iListener)
    {
        const std::lock_guard lock(fMutex);
        Topic& topic = fTopics[std::wstring(iTopic)];
        const auto [place, added] = topic.places.try_emplace(iListener.get());
        if (added)
        {
            place->second = topic.order.insert(topic.order.end(), iListener);
        }
        return added;
    }

    bool remove(std::wstring_view iTopic, const Listener* iListener)
    {
        std::shared_ptr<Listener> removed;
        const std::lock_guard lock(fMutex);
        const auto topic = fTopics.find(iTopic);
        if (topic == fTopics.end())
        {
            return false;
        }
        const auto place = topic->second.places.find(iListener);
        if (place == topic->second.places.end())
        {
            return false;
        }
        removed = std::move(*place->second);
        topic->second.order.erase(place->second);
        topic->second.places.erase(place);
        if (topic->second.order.empty())
        {
            fTopics.erase(topic);
        }
        return true;
    }

    std::mutex fMutex;
    TextMap<Topic> fTopics;
    std::vector<std::shared_ptr<Listener>> fListeners;
};

class QuietListener final : public PCounted<IEventListener>
{
public:
    int handleEvent(const PLiteral&, IBase*, int) override
    {
        return 0;
    }
};

class OurListeners
{
public:
    explicit OurListeners(int iSize)
    {
        CoreHost::need(HostSetup());
        fDispatcher = CoreHost::get<IEventDispatcher>(kIxlaEventDispatcherId);
        for (int i = 0; i < iSize; ++i)
        {
            fListeners.push_back(PBaseptr<IEventListener>::adopt(new QuietListener));
        }
    }

    bool addAll()
    {
        bool right = true;
        for (const PBaseptr<IEventListener>& listener : fListeners)
        {
            right = fDispatcher->addListener(kTopic, listener.get()) == 0 && right;
        }
        return right;
    }

    bool removeAll()
    {
        bool right = true;
        for (const PBaseptr<IEventListener>& listener : fListeners)
        {
            right = fDispatcher->removeListener(kTopic, listener.get()) == 0 && right;
        }
        return right;
    }

private:
    std::vector<PBaseptr<IEventListener>> fListeners;
    IEventDispatcher* fDispatcher;
};

/// Without a table of topics.
class Signals2Listeners
{
public:
    explicit Signals2Listeners(int iSize) : fConnections(static_cast<std::size_t>(iSize))
    {
    }

    bool addAll()
    {
        for (boost::signals2::connection& connection : fConnections)
        {
            connection = fSignal.connect([] {});
        }
        return true;
    }

    bool removeAll()
    {
        for (const boost::signals2::connection& connection : fConnections)
        {
            connection.disconnect();
        }
        return fSignal.empty();
    }

private:
    boost::signals2::signal<void()> fSignal;
    std::vector<boost::signals2::connection> fConnections;
};
} // namespace

void enterSubscriptions(Contest& ioContest)
{
    for (const int size : {100, 1000, 10000})
    {
        Case subscription{"subscribe", {size}, 2};
        subscription.countTurns = 1;
        subscription.operations = static_cast<unsigned int>(size);
        ioContest.enter<Subscribe<FloorListeners>>(subscription, "floor");
        ioContest.enter<Subscribe<OurListeners>>(subscription, "ours");
        ioContest.enter<Subscribe<Signals2Listeners>>(subscription, "signals2");

        subscription.name = "unsubscribe";
        ioContest.enter<Unsubscribe<FloorListeners>>(subscription, "floor");
        ioContest.enter<Unsubscribe<OurListeners>>(subscription, "ours");
        ioContest.enter<Unsubscribe<Signals2Listeners>>(subscription, "signals2");
    }
}
