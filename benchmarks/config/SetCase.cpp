#include "config/SetCase.h"

#include "IConfigChanged.h"
#include "IConfigManager.h"
#include "IEventDispatcher.h"
#include "PBaseptr.h"
#include "config/ConfigLines.h"
#include "config/FloorConfig.h"
#include "support/CoreHost.h"
#include "support/Stopwatch.h"

#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

namespace
{
/// Values that stand in the table all the time.
constexpr int kOthers = 1000;

/// Operations in one turn.
constexpr unsigned int kKeys = 256;

constexpr wchar_t kId[] = L"bench";
constexpr wchar_t kValue[] = L"42000";

std::wstring _topic(int iNumber)
{
    return L"com.kelvora.bench.changed." + std::to_wstring(iNumber);
}

std::wstring _key(unsigned int iNumber)
{
    return ConfigLines::wideKey(static_cast<int>(iNumber));
}

/// Tables of values by ID, and topics by ID, under one lock; the listeners of a topic under
/// another. An announcement carries texts of its own, as listeners may keep it.
class FloorSet
{
public:
    explicit FloorSet(int iTopics)
    {
        for (int i = 0; i < iTopics; ++i)
        {
            fTopics[kId].push_back(_topic(i));
            fListeners[_topic(i)].push_back(std::make_shared<Listener>(fHeard));
        }
    }

    bool set(std::wstring_view iId, std::wstring_view iKey, std::wstring_view iValue)
    {
        std::vector<std::wstring> topics;
        {
            const std::lock_guard lock(fMutex);
            insert(iId, iKey, iValue);
            const auto found = fTopics.find(iId);
            if (found != fTopics.end())
            {
                topics = found->second;
            }
        }
        return topics.empty() || announce(topics, iId, iKey);
    }

    bool remove(std::wstring_view iId, std::wstring_view iKey)
    {
        const std::lock_guard lock(fMutex);
        const auto table = fTables.find(iId);
        if (table != fTables.end())
        {
            const auto found = table->second.find(iKey);
            if (found != table->second.end())
            {
                table->second.erase(found);
            }
        }
        return true;
    }

    unsigned int heard() const
    {
        return fHeard;
    }

    typedef std::wstring_view Key;

private:
    struct Event
    {
        std::wstring id;
        std::wstring key;
        std::wstring attribute;
    };

    class Listener
    {
    public:
        explicit Listener(unsigned int& ioHeard) : fHeard(ioHeard)
        {
        }

        virtual ~Listener() = default;

        virtual int handle(std::wstring_view, const Event& iEvent, int)
        {
            fHeard += static_cast<unsigned int>(!iEvent.key.empty());
            return 0;
        }

    private:
        unsigned int& fHeard;
    };

    void insert(std::wstring_view iId, std::wstring_view iKey, std::wstring_view iValue)
    {
        auto table = fTables.find(iId);
        if (table == fTables.end())
        {
            table = fTables.try_emplace(std::wstring(iId)).first;
        }
        const auto place = table->second.lower_bound(iKey);
        if (place == table->second.end() || place->first != iKey)
        {
            table->second.try_emplace(place, std::wstring(iKey))->second.value = iValue;
        }
    }

    bool announce(const std::vector<std::wstring>& iTopics, std::wstring_view iId,
                  std::wstring_view iKey)
    {
        const auto event =
            std::make_shared<Event>(Event{std::wstring(iId), std::wstring(iKey), {}});
        for (const std::wstring& topic : iTopics)
        {
            send(topic, *event);
        }
        return true;
    }

    void send(std::wstring_view iTopic, const Event& iEvent)
    {
        std::vector<std::shared_ptr<Listener>> listeners;
        {
            const std::lock_guard lock(fSendMutex);
            const auto found = fListeners.find(iTopic);
            if (found != fListeners.end())
            {
                listeners = found->second;
            }
        }
        for (const std::shared_ptr<Listener>& listener : listeners)
        {
            listener->handle(iTopic, iEvent, 0);
        }
    }

    unsigned int fHeard = 0;
    std::mutex fMutex;
    std::map<std::wstring, FloorValues, std::less<>> fTables;
    std::map<std::wstring, std::vector<std::wstring>, std::less<>> fTopics;
    std::mutex fSendMutex;
    std::map<std::wstring, std::vector<std::shared_ptr<Listener>>, std::less<>> fListeners;
};

/// Lives as long as its contestant and counts what it hears.
class OurListener final : public IEventListener
{
public:
    virtual ~OurListener() = default;

    int incRef() override
    {
        return 1;
    }

    int decRef() override
    {
        return 1;
    }

    int handleEvent(const PLiteral&, IBase* iParam1, int) override
    {
        heard += static_cast<IConfigChanged*>(iParam1)->getType() == IConfigChanged::eValueSet;
        return 0;
    }

    unsigned int heard = 0;
};

class OurSet
{
public:
    explicit OurSet(int iTopics)
    {
        CoreHost::need(HostSetup());
        fManager = CoreHost::get<IConfigManager>(kIxlaConfigManagerId);
        fDispatcher = CoreHost::get<IEventDispatcher>(kIxlaEventDispatcherId);
        for (int i = 0; i < iTopics; ++i)
        {
            fTopics.emplace_back(_topic(i).c_str());
            fManager->addListener(kId, fTopics.back());
            fDispatcher->addListener(fTopics.back(), &fListener);
        }
    }

    ~OurSet()
    {
        for (const PString& topic : fTopics)
        {
            fDispatcher->removeListener(topic, &fListener);
            fManager->removeListener(kId, topic);
        }
    }

    OurSet(const OurSet&) = delete;
    OurSet& operator=(const OurSet&) = delete;

    bool set(const PLiteral& iId, const PLiteral& iKey, const PLiteral& iValue)
    {
        return fManager->setString(iId, iKey, iValue) == 0;
    }

    bool remove(const PLiteral& iId, const PLiteral& iKey)
    {
        return fManager->removeSetKey(iId, iKey) == 0;
    }

    unsigned int heard() const
    {
        return fListener.heard;
    }

    typedef PLiteral Key;

private:
    IConfigManager* fManager;
    IEventDispatcher* fDispatcher;
    OurListener fListener;
    std::vector<PString> fTopics;
};

/// What the cases have in common: a table with other values, and keys to be set in it.
template <class TWork>
class SetTable
{
public:
    explicit SetTable(int iTopics) : fTopics(static_cast<unsigned int>(iTopics)), fWork(iTopics)
    {
        for (unsigned int i = 0; i < kOthers; ++i)
        {
            fWork.set(fId, _key(kKeys + i).c_str(), fValue);
        }
        for (unsigned int i = 0; i < kKeys; ++i)
        {
            // Neighbours in the table don't follow one another.
            fNames.push_back(_key(i * 37 % kKeys));
        }
        for (const std::wstring& name : fNames)
        {
            fKeys.emplace_back(name.c_str());
        }
    }

protected:
    /// One key, with all that its listeners do.
    bool set(const typename TWork::Key& iKey)
    {
        const unsigned int before = fWork.heard();
        return fWork.set(fId, iKey, fValue) && fWork.heard() - before == fTopics;
    }

    bool setAll()
    {
        bool right = true;
        for (const typename TWork::Key& key : fKeys)
        {
            right = set(key) && right;
        }
        return right;
    }

    bool removeAll()
    {
        bool right = true;
        for (const typename TWork::Key& key : fKeys)
        {
            right = fWork.remove(fId, key) && right;
        }
        return right;
    }

    const unsigned int fTopics;
    TWork fWork;
    const typename TWork::Key fId{kId};
    const typename TWork::Key fValue{kValue};
    std::vector<std::wstring> fNames;
    std::vector<typename TWork::Key> fKeys;
};

/// Sets values that are not there, and removes them after the time is taken.
template <class TWork>
class SetNew : private SetTable<TWork>
{
public:
    using SetTable<TWork>::SetTable;

    double timedTurn()
    {
        Stopwatch watch;
        const bool set = this->setAll();
        const double seconds = watch.stop();
        return this->removeAll() && set ? seconds : -1;
    }
};

/// Sets values that are there, which stay as they are.
template <class TWork>
class SetAgain : private SetTable<TWork>
{
public:
    explicit SetAgain(int iTopics) : SetTable<TWork>(iTopics)
    {
        this->setAll();
    }

    ~SetAgain()
    {
        this->removeAll();
    }

    SetAgain(const SetAgain&) = delete;
    SetAgain& operator=(const SetAgain&) = delete;

    bool turn(unsigned int iTurn)
    {
        return this->set(this->fKeys[iTurn % kKeys]);
    }
};

template <class TWork>
class Remove : private SetTable<TWork>
{
public:
    using SetTable<TWork>::SetTable;

    double timedTurn()
    {
        const bool set = this->setAll();
        Stopwatch watch;
        const bool removed = this->removeAll();
        const double seconds = watch.stop();
        return set && removed ? seconds : -1;
    }
};
} // namespace

void enterSet(Contest& ioContest)
{
    Case set{"set", {0, 10}, 4};
    set.countTurns = 4;
    set.operations = kKeys;
    ioContest.enter<SetNew<FloorSet>>(set, "floor");
    ioContest.enter<SetNew<OurSet>>(set, "ours");

    Case again{"set again", {0, 10}, 1000};
    again.countTurns = 1024;
    ioContest.enter<SetAgain<FloorSet>>(again, "floor");
    ioContest.enter<SetAgain<OurSet>>(again, "ours");

    Case remove{"remove", {0}, 4};
    remove.countTurns = 4;
    remove.operations = kKeys;
    ioContest.enter<Remove<FloorSet>>(remove, "floor");
    ioContest.enter<Remove<OurSet>>(remove, "ours");
}
