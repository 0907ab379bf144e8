// SPDX-License-Identifier: MIT
#include "events/SendCase.h"

#include "IEventDispatcher.h"
#include "PBaseptr.h"
#include "events/FloorDispatcher.h"
#include "helpers/PCounted.h"
#include "support/CoreHost.h"
#include "support/Shuffled.h"
#include "support/TextMap.h"

#include <Poco/BasicEvent.h>
#include <Poco/Delegate.h>
#include <boost/signals2/signal.hpp>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace
{
/// The number of topics. Many listeners have one topic.
int _topicCount(int iListeners)
{
    return iListeners > 100 ? 1 : 100;
}

std::wstring _topic(int iNumber)
{
    return L"com.kelvora.bench.topic." + std::to_wstring(iNumber);
}

std::vector<std::wstring> _topics(int iListeners)
{
    std::vector<std::wstring> topics;
    for (int i = 0; i < _topicCount(iListeners); ++i)
    {
        topics.push_back(_topic(i));
    }
    return topics;
}

class FloorSend
{
public:
    explicit FloorSend(int iSize)
        : fNames(_topics(iSize)),
          fOrder(_topicCount(iSize)),
          fListeners(static_cast<unsigned int>(iSize))
    {
        for (const std::wstring& name : fNames)
        {
            for (int i = 0; i < iSize; ++i)
            {
                fDispatcher.add(name, std::make_shared<Listener>());
            }
        }
    }

    bool turn(unsigned int iTurn)
    {
        unsigned int heard = 0;
        return fDispatcher.send(fNames[fOrder[iTurn]], heard, 1) && heard == fListeners;
    }

private:
    class Listener final : public FloorDispatcher<unsigned int>::Listener
    {
    public:
        // Not optimised across the call, because in a host the compiler does not see this code.
        [[gnu::noipa]] int handle(std::wstring_view, unsigned int& ioHeard, int iCount) override
        {
            ioHeard += static_cast<unsigned int>(iCount);
            return 0;
        }
    };

    const std::vector<std::wstring> fNames;
    const Shuffled fOrder;
    const unsigned int fListeners;
    FloorDispatcher<unsigned int> fDispatcher;
};

/// The parameter of an event: counts the listeners that got it.
class Heard final : public IBase
{
public:
    virtual ~Heard() = default;

    // A local variable of the sender, so references are not counted.
    int incRef() override
    {
        return 1;
    }

    int decRef() override
    {
        return 1;
    }

    unsigned int count = 0;
};

class OurListener final : public PCounted<IEventListener>
{
public:
    int handleEvent(const PLiteral&, IBase* iParam1, int iParam2) override
    {
        static_cast<Heard*>(iParam1)->count += static_cast<unsigned int>(iParam2);
        return 0;
    }
};

class OurSend
{
public:
    explicit OurSend(int iSize)
        : fNames(_topics(iSize)),
          fOrder(_topicCount(iSize)),
          fListeners(static_cast<unsigned int>(iSize))
    {
        CoreHost::need(HostSetup());
        fDispatcher = CoreHost::get<IEventDispatcher>(kIxlaEventDispatcherId);
        for (const std::wstring& name : fNames)
        {
            fTopics.emplace_back(name.c_str());
            subscribe(fTopics.back(), iSize);
        }
    }

    ~OurSend()
    {
        for (const auto& [topic, listener] : fSubscriptions)
        {
            fDispatcher->removeListener(topic, listener.get());
        }
    }

    bool turn(unsigned int iTurn)
    {
        Heard heard;
        return fDispatcher->send(fTopics[fOrder[iTurn]], &heard, 1) == 0 &&
               heard.count == fListeners;
    }

private:
    void subscribe(const PString& iTopic, int iListeners)
    {
        for (int i = 0; i < iListeners; ++i)
        {
            fSubscriptions.emplace_back(iTopic, PBaseptr<IEventListener>::adopt(new OurListener));
            fDispatcher->addListener(iTopic, fSubscriptions.back().second.get());
        }
    }

    const std::vector<std::wstring> fNames;
    const Shuffled fOrder;
    const unsigned int fListeners;
    std::vector<PString> fTopics;
    std::vector<std::pair<PString, PBaseptr<IEventListener>>> fSubscriptions;
    IEventDispatcher* fDispatcher;
};

/// A signal for each topic, found in the floor's table without a lock; otherwise the same work.
class Signals2Send
{
public:
    explicit Signals2Send(int iSize)
        : fNames(_topics(iSize)),
          fOrder(_topicCount(iSize)),
          fListeners(static_cast<unsigned int>(iSize))
    {
        for (const std::wstring& name : fNames)
        {
            Signal& signal = fTopics[name];
            for (int i = 0; i < iSize; ++i)
            {
                signal.connect([](std::wstring_view, unsigned int* ioHeard, int iCount)
                               { *ioHeard += static_cast<unsigned int>(iCount); });
            }
        }
    }

    bool turn(unsigned int iTurn)
    {
        unsigned int heard = 0;
        const std::wstring_view topic = fNames[fOrder[iTurn]];
        fTopics.find(topic)->second(topic, &heard, 1);
        return heard == fListeners;
    }

private:
    typedef boost::signals2::signal<void(std::wstring_view, unsigned int*, int)> Signal;

    const std::vector<std::wstring> fNames;
    const Shuffled fOrder;
    const unsigned int fListeners;
    TextMap<Signal> fTopics;
};

/// An event for each topic, found in the floor's table without a lock. The listeners are called in
/// the order of their subscription.
class PocoSend
{
public:
    explicit PocoSend(int iSize)
        : fNames(_topics(iSize)),
          fOrder(_topicCount(iSize)),
          fListeners(static_cast<unsigned int>(iSize))
    {
        fTargets.resize(fListeners);
        for (const std::wstring& name : fNames)
        {
            for (Target& target : fTargets)
            {
                fTopics[name] += Poco::delegate(&target, &Target::hear);
            }
        }
    }

    ~PocoSend()
    {
        for (auto& [name, event] : fTopics)
        {
            event.clear();
        }
    }

    bool turn(unsigned int iTurn)
    {
        unsigned int heard = 0;
        unsigned int* param = &heard;
        fTopics.find(std::wstring_view(fNames[fOrder[iTurn]]))->second(this, param);
        return heard == fListeners;
    }

private:
    class Target
    {
    public:
        void hear(const void*, unsigned int*& ioHeard)
        {
            ++*ioHeard;
        }
    };

    const std::vector<std::wstring> fNames;
    const Shuffled fOrder;
    const unsigned int fListeners;
    std::vector<Target> fTargets;
    TextMap<Poco::BasicEvent<unsigned int*>> fTopics;
};
} // namespace

void enterSend(Contest& ioContest)
{
    Case send{"send", {1, 10, 100}, 400};
    send.twoThreads = true;
    send.countTurns = 256;
    ioContest.enter<FloorSend>(send, "floor");
    ioContest.enter<OurSend>(send, "ours");
    ioContest.enter<Signals2Send>(send, "signals2");
    ioContest.enter<PocoSend>(send, "poco");

    const Case many{"send", {10000}, 4};
    ioContest.enter<FloorSend>(many, "floor");
    ioContest.enter<OurSend>(many, "ours");
    ioContest.enter<Signals2Send>(many, "signals2");
    ioContest.enter<PocoSend>(many, "poco");
}
