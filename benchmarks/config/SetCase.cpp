// SPDX-License-Identifier: MIT
#include "config/SetCase.h"

#include "IConfigChanged.h"
#include "IConfigManager.h"
#include "IEventDispatcher.h"
#include "PBaseptr.h"
#include "config/ConfigLines.h"
#include "config/FloorConfig.h"
#include "events/FloorDispatcher.h"
#include "support/CoreHost.h"
#include "support/Stopwatch.h"
#include "support/TextMap.h"

#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

namespace
{
/// The operations of one turn.
constexpr unsigned int kKeys = 256;

/// One of so many neighbours in the table is set; the others always exist.
constexpr unsigned int kEvery = 5;

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

/// The event of a change: owns its texts, in one block, because listeners may keep it.
class FloorEvent
{
public:
    FloorEvent(std::wstring_view iId, std::wstring_view iKey) : fId(iId.size())
    {
        fText.reserve(iId.size() + iKey.size());
        fText.append(iId).append(iKey);
    }

    std::wstring_view key() const
    {
        return std::wstring_view(fText).substr(fId);
    }

private:
    std::wstring fText;
    std::size_t fId;
};

/// Tables of values by ID and of topics by ID under one lock; the listeners of a topic under
/// another one. An announcement shares the list of topics. TValues has the values of an ID.
template <class TValues>
class FloorSet
{
public:
    explicit FloorSet(int iTopics)
    {
        if (iTopics == 0)
        {
            return;
        }
        auto topics = std::make_shared<Topics>();
        for (int i = 0; i < iTopics; ++i)
        {
            topics->push_back(_topic(i));
            fDispatcher.add(topics->back(), std::make_shared<Listener>(fHeard));
        }
        fTopics[kId] = topics;
    }

    bool set(std::wstring_view iId, std::wstring_view iKey, std::wstring_view iValue)
    {
        std::shared_ptr<const Topics> topics;
        {
            const std::lock_guard lock(fMutex);
            insert(iId, iKey, iValue);
            const auto found = fTopics.find(iId);
            if (found != fTopics.end())
            {
                topics = found->second;
            }
        }
        return !topics || announce(*topics, iId, iKey);
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
    typedef std::vector<std::wstring> Topics;
    typedef std::shared_ptr<const FloorEvent> Event;

    class Listener final : public FloorDispatcher<const Event>::Listener
    {
    public:
        explicit Listener(unsigned int& ioHeard) : fHeard(ioHeard)
        {
        }

        // Not optimised across the call, because in a host the compiler does not see this code.
        [[gnu::noipa]] int handle(std::wstring_view, const Event& iEvent, int) override
        {
            fHeard += static_cast<unsigned int>(!iEvent->key().empty());
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
        TValues& values = table->second;
        if constexpr (requires { values.lower_bound(iKey); })
        {
            const auto place = values.lower_bound(iKey);
            if (place == values.end() || place->first != iKey)
            {
                values.try_emplace(place, std::wstring(iKey))->second.value = iValue;
            }
        }
        else if (values.find(iKey) == values.end())
        {
            values.try_emplace(std::wstring(iKey)).first->second.value = iValue;
        }
    }

    bool announce(const Topics& iTopics, std::wstring_view iId, std::wstring_view iKey)
    {
        const Event event = std::make_shared<FloorEvent>(iId, iKey);
        for (const std::wstring& topic : iTopics)
        {
            fDispatcher.send(topic, event, 0);
        }
        return true;
    }

    unsigned int fHeard = 0;
    std::mutex fMutex;
    TextMap<TValues> fTables;
    TextMap<std::shared_ptr<const Topics>> fTopics;
    FloorDispatcher<const Event> fDispatcher;
};

typedef FloorSet<FloorValues> FloorTree;
typedef FloorSet<TextMap<FloorRecord>> FloorHash;

/// Counts its events. Lives as long as its contestant.
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

/// The common part of the cases: a table with other values, and keys to be set between them.
template <class TWork>
class SetTable
{
public:
    explicit SetTable(int iTopics) : fTopics(static_cast<unsigned int>(iTopics)), fWork(iTopics)
    {
        for (unsigned int i = 0; i < kEvery * kKeys; ++i)
        {
            if (i % kEvery != 0)
            {
                fWork.set(fId, _key(i).c_str(), fValue);
            }
        }
        for (unsigned int i = 0; i < kKeys; ++i)
        {
            // Shuffled, so that neighbours in the table are not set in succession.
            fNames.push_back(_key(i * 37 % kKeys * kEvery));
        }
        for (const std::wstring& name : fNames)
        {
            fKeys.emplace_back(name.c_str());
        }
    }

protected:
    /// Sets one key and checks that its listeners were called.
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

/// Sets values that do not exist, and removes them outside the measured time.
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

/// Sets values that already exist, which has no effect.
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
    ioContest.enter<SetNew<FloorTree>>(set, "floor, tree");
    ioContest.enter<SetNew<FloorHash>>(set, "floor, hash");
    ioContest.enter<SetNew<OurSet>>(set, "ours");

    Case again{"set again", {0, 10}, 1000};
    again.countTurns = 1024;
    ioContest.enter<SetAgain<FloorTree>>(again, "floor, tree");
    ioContest.enter<SetAgain<FloorHash>>(again, "floor, hash");
    ioContest.enter<SetAgain<OurSet>>(again, "ours");

    Case remove{"remove", {0}, 4};
    remove.countTurns = 4;
    remove.operations = kKeys;
    ioContest.enter<Remove<FloorTree>>(remove, "floor, tree");
    ioContest.enter<Remove<FloorHash>>(remove, "floor, hash");
    ioContest.enter<Remove<OurSet>>(remove, "ours");
}
