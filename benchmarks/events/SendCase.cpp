#include "events/SendCase.h"

#include "IEventDispatcher.h"
#include "PBaseptr.h"
#include "helpers/PCounted.h"
#include "support/CoreHost.h"
#include "support/Shuffled.h"

#include <Poco/BasicEvent.h>
#include <Poco/Delegate.h>
#include <boost/signals2/signal.hpp>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

namespace
{
constexpr int kTopics = 100;

std::wstring _topic(int iNumber)
{
    return L"com.kelvora.bench.topic." + std::to_wstring(iNumber);
}

std::vector<std::wstring> _topics()
{
    std::vector<std::wstring> topics;
    for (int i = 0; i < kTopics; ++i)
    {
        topics.push_back(_topic(i));
    }
    return topics;
}

/// Locks, finds, copies the list, unlocks, calls; the copy keeps the listeners alive, as anybody
/// may unsubscribe them meanwhile.
class FloorSend
{
public:
    explicit FloorSend(int iSize)
        : fNames(_topics()), fOrder(kTopics), fListeners(static_cast<unsigned int>(iSize))
    {
        for (const std::wstring& name : fNames)
        {
            std::vector<std::shared_ptr<Listener>>& listeners = fTopics[name];
            for (int i = 0; i < iSize; ++i)
            {
                listeners.push_back(std::make_shared<Listener>());
            }
        }
    }

    bool turn(unsigned int iTurn)
    {
        unsigned int heard = 0;
        return send(fNames[fOrder[iTurn]], &heard, 1) && heard == fListeners;
    }

private:
    class Listener
    {
    public:
        virtual ~Listener() = default;

        virtual int handle(std::wstring_view, void* iParam1, int iParam2)
        {
            *static_cast<unsigned int*>(iParam1) += static_cast<unsigned int>(iParam2);
            return 0;
        }
    };

    bool send(std::wstring_view iTopic, void* iParam1, int iParam2)
    {
        std::vector<std::shared_ptr<Listener>> listeners;
        {
            const std::lock_guard lock(fMutex);
            const auto found = fTopics.find(iTopic);
            if (found == fTopics.end())
            {
                return false;
            }
            listeners = found->second;
        }
        for (auto listener = listeners.rbegin(); listener != listeners.rend(); ++listener)
        {
            (*listener)->handle(iTopic, iParam1, iParam2);
        }
        return true;
    }

    const std::vector<std::wstring> fNames;
    const Shuffled fOrder;
    const unsigned int fListeners;
    std::mutex fMutex;
    std::map<std::wstring, std::vector<std::shared_ptr<Listener>>, std::less<>> fTopics;
};

/// What an event carries: the count of those who heard it.
class Heard final : public IBase
{
public:
    virtual ~Heard() = default;

    // Lives on the stack of the sender.
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
        : fNames(_topics()), fOrder(kTopics), fListeners(static_cast<unsigned int>(iSize))
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

/// A signal for each topic, found in a map that nothing guards; otherwise like for like.
class Signals2Send
{
public:
    explicit Signals2Send(int iSize)
        : fNames(_topics()), fOrder(kTopics), fListeners(static_cast<unsigned int>(iSize))
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
    std::map<std::wstring, Signal, std::less<>> fTopics;
};

/// An event for each topic, found in a map that nothing guards. The listeners are called in the
/// order of their subscription.
class PocoSend
{
public:
    explicit PocoSend(int iSize)
        : fNames(_topics()), fOrder(kTopics), fListeners(static_cast<unsigned int>(iSize))
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
    std::map<std::wstring, Poco::BasicEvent<unsigned int*>, std::less<>> fTopics;
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
}
