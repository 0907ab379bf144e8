// SPDX-License-Identifier: MIT
#include "config/ReadCase.h"

#include "IConfigManager.h"
#include "PBaseptr.h"
#include "config/FloorConfig.h"
#include "support/CoreHost.h"
#include "support/Shuffled.h"
#include "support/TextMap.h"

#include <Poco/AutoPtr.h>
#include <Poco/NumberParser.h>
#include <Poco/Util/LayeredConfiguration.h>
#include <Poco/Util/MapConfiguration.h>
#include <algorithm>
#include <chrono>
#include <mutex>
#include <stop_token>
#include <string>
#include <string_view>
#include <thread>
#include <type_traits>
#include <vector>

namespace
{
enum ESource
{
    eOwn,
    eStored,
    eRunTime,
    ePinned
};

bool _isIn(ESource iPlace, ESource iSource)
{
    return iPlace == iSource || (iSource == ePinned && iPlace != eStored);
}

/// The keys to be read, or those that fill the gaps: in the order of the keys, every second one is
/// read.
std::string _key(int iNumber, bool iAsked)
{
    std::string digits = std::to_string(2 * iNumber + !iAsked);
    digits.insert(0, digits.size() < 5 ? 5 - digits.size() : 0, '0');
    return "service.limit." + digits;
}

/// Six digits; the last one is that of the number.
std::string _value(int iNumber)
{
    return std::to_string(100000 + iNumber % 900000);
}

/// The number of keys in the sources other than the configuration itself.
int _others(int iSize)
{
    return std::min(iSize, 10000);
}

std::wstring _widened(const std::string& iText)
{
    return {iText.begin(), iText.end()};
}

/// Three tables under one lock. TProbe is the key type of the lookup.
template <ESource tSource, class TValues, class TProbe>
class FloorRead
{
public:
    explicit FloorRead(int iSize)
    {
        for (int i = 0; i < iSize; ++i)
        {
            fill(fOwn, eOwn, i);
        }
        for (int i = 0; i < _others(iSize); ++i)
        {
            fill(fStored, eStored, i);
            fill(fRunTime, eRunTime, i);
        }
    }

    bool getString(std::wstring_view iKey, std::wstring& oValue)
    {
        const std::lock_guard lock(fMutex);
        const FloorRecord* const record = used(TProbe(iKey));
        if (record)
        {
            oValue.assign(record->value);
        }
        return record;
    }

    bool getInt32(std::wstring_view iKey, int& oValue)
    {
        static thread_local std::wstring sText;
        return getString(iKey, sText) && parse(sText, oValue);
    }

    void change()
    {
        const std::lock_guard lock(fMutex);
        fRunTime[L"changed"].value = L"1";
        fRunTime.erase(L"changed");
    }

    typedef std::wstring Text;
    typedef std::wstring_view Key;

private:
    static void fill(TValues& ioValues, ESource iPlace, int iNumber)
    {
        FloorRecord& record = ioValues[_widened(_key(iNumber, _isIn(iPlace, tSource)))];
        record.value = _widened(_value(iPlace == eRunTime && tSource == ePinned ? 0 : iNumber));
        record.pinned = iPlace == eOwn && tSource == ePinned;
    }

    static const FloorRecord* find(const TValues& iValues, const TProbe& iKey)
    {
        const auto found = iValues.find(iKey);
        return found != iValues.end() ? &found->second : nullptr;
    }

    const FloorRecord* used(const TProbe& iKey) const
    {
        const FloorRecord* const own = find(fOwn, iKey);
        if (own && own->pinned)
        {
            return own;
        }
        const FloorRecord* const stored = find(fStored, iKey);
        if (stored && stored->pinned)
        {
            return stored;
        }
        const FloorRecord* const runTime = find(fRunTime, iKey);
        return runTime ? runTime : stored ? stored : own;
    }

    static bool parse(std::wstring_view iText, int& oValue)
    {
        const bool negative = !iText.empty() && iText.front() == L'-';
        iText.remove_prefix(negative);
        int value = 0;
        for (const wchar_t digit : iText)
        {
            if (digit < L'0' || digit > L'9' || __builtin_mul_overflow(value, 10, &value) ||
                __builtin_sub_overflow(value, digit - L'0', &value))
            {
                return false;
            }
        }
        return !iText.empty() && (negative || !__builtin_sub_overflow(0, value, &value)) &&
               (oValue = value, true);
    }

    std::mutex fMutex;
    TValues fOwn;
    TValues fStored;
    TValues fRunTime;
};

template <ESource tSource>
using FloorTree = FloorRead<tSource, FloorValues, std::wstring_view>;

template <ESource tSource>
using FloorHash = FloorRead<tSource, TextMap<FloorRecord>, HashedText>;

template <ESource tSource>
class OurRead
{
public:
    explicit OurRead(int iSize)
    {
        CoreHost::need(setup(iSize));
        fManager = CoreHost::get<IConfigManager>(kIxlaConfigManagerId);
        for (int i = 0; i < _others(iSize); ++i)
        {
            const std::wstring key = _widened(_key(i, _isIn(eRunTime, tSource)));
            fManager->setInt32(L"bench", key.c_str(), tSource == ePinned ? 0 : 100000 + i);
        }
        fManager->loadByID(L"bench", fConfig);
    }

    bool getString(const PLiteral& iKey, PString& oValue)
    {
        return fConfig->getString(iKey, oValue) == 0;
    }

    bool getInt32(const PLiteral& iKey, int& oValue)
    {
        return fConfig->getInt32(iKey, oValue) == 0;
    }

    void change()
    {
        fManager->setString(L"bench", L"changed", L"1");
        fManager->removeSetKey(L"bench", L"changed");
    }

    typedef PString Text;
    typedef PLiteral Key;

private:
    static HostSetup setup(int iSize)
    {
        HostSetup setup;
        for (int i = 0; i < iSize; ++i)
        {
            const std::string own = _key(i, _isIn(eOwn, tSource));
            setup.config += own + " = " + _value(i) + '\n';
            setup.config += tSource == ePinned ? own + ":const = true\n" : "";
        }
        for (int i = 0; i < _others(iSize); ++i)
        {
            setup.store += "bench|" + _key(i, _isIn(eStored, tSource)) + " = " + _value(i) + '\n';
        }
        return setup;
    }

    IConfigManager* fManager = nullptr;
    PBaseptr<IConfig> fConfig;
};

/// Three layers, each with its own lock and its own map of bytes. Reads raw values, without
/// expanding references to other values. Values cannot be pinned.
template <ESource tSource>
class PocoRead
{
public:
    explicit PocoRead(int iSize) : fLayers(new Poco::Util::LayeredConfiguration)
    {
        for (const ESource place : {eRunTime, eStored, eOwn})
        {
            Poco::AutoPtr layer(new Poco::Util::MapConfiguration);
            for (int i = 0; i < iSize; ++i)
            {
                layer->setString(_key(i, _isIn(place, tSource)), _value(i));
            }
            fLayers->add(layer);
        }
    }

    bool getString(const std::string& iKey, std::string& oValue)
    {
        oValue = fLayers->getRawString(iKey);
        return true;
    }

    bool getInt32(const std::string& iKey, int& oValue)
    {
        return Poco::NumberParser::tryParse(fLayers->getRawString(iKey), oValue);
    }

    typedef std::string Text;
    typedef std::string Key;

private:
    Poco::AutoPtr<Poco::Util::LayeredConfiguration> fLayers;
};

/// Reads the keys in turn. The keys are created before.
template <class TRead>
class Keys
{
public:
    explicit Keys(int iSize) : fRead(iSize), fOrder(iSize)
    {
        for (int i = 0; i < iSize; ++i)
        {
            fNames.push_back(_key(i, true));
            fWideNames.push_back(_widened(fNames.back()));
        }
        for (std::size_t i = 0; i < fNames.size(); ++i)
        {
            if constexpr (std::is_same_v<typename TRead::Key, std::string>)
            {
                fKeys.emplace_back(fNames[i]);
            }
            else
            {
                fKeys.emplace_back(fWideNames[i].c_str());
            }
        }
    }

protected:
    TRead fRead;
    const Shuffled fOrder;
    std::vector<std::string> fNames;
    std::vector<std::wstring> fWideNames;
    std::vector<typename TRead::Key> fKeys;
};

/// Reads into a text that its thread reuses.
template <class TRead>
class ReadText : protected Keys<TRead>
{
public:
    explicit ReadText(int iSize) : Keys<TRead>(iSize)
    {
    }

    bool turn(unsigned int iTurn)
    {
        static thread_local typename TRead::Text sText;
        const unsigned int number = this->fOrder[iTurn];
        return this->fRead.getString(this->fKeys[number], sText) &&
               sText[5] == static_cast<wchar_t>('0' + number % 10);
    }
};

/// The same while another thread sets and removes a run-time value every millisecond.
template <class TRead>
class ReadBesideSetter : private ReadText<TRead>
{
public:
    explicit ReadBesideSetter(int iSize)
        : ReadText<TRead>(iSize), fSetter([this](const std::stop_token& iStop) { change(iStop); })
    {
    }

    using ReadText<TRead>::turn;

private:
    void change(const std::stop_token& iStop)
    {
        while (!iStop.stop_requested())
        {
            this->fRead.change();
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
    }

    std::jthread fSetter;
};

template <class TRead>
class ReadNumber : private Keys<TRead>
{
public:
    explicit ReadNumber(int iSize) : Keys<TRead>(iSize)
    {
    }

    bool turn(unsigned int iTurn)
    {
        const unsigned int number = this->fOrder[iTurn];
        int value = 0;
        return this->fRead.getInt32(this->fKeys[number], value) &&
               value == static_cast<int>(100000 + number);
    }
};

template <ESource tSource>
void _enter(Contest& ioContest, const std::string& iSource)
{
    Case text{"read " + iSource + " text", {100, 10000}, 4000, true};
    text.countTurns = 1024;
    ioContest.enter<ReadText<FloorTree<tSource>>>(text, "floor, tree");
    ioContest.enter<ReadText<FloorHash<tSource>>>(text, "floor, hash");
    ioContest.enter<ReadText<OurRead<tSource>>>(text, "ours");

    Case number{"read " + iSource + " number", {100, 10000}, 4000};
    number.countTurns = 1024;
    ioContest.enter<ReadNumber<FloorTree<tSource>>>(number, "floor, tree");
    ioContest.enter<ReadNumber<FloorHash<tSource>>>(number, "floor, hash");
    ioContest.enter<ReadNumber<OurRead<tSource>>>(number, "ours");

    if constexpr (tSource == eOwn)
    {
        const Case beside{"read beside a setter", {100, 10000}, 4000, true};
        ioContest.enter<ReadBesideSetter<FloorTree<tSource>>>(beside, "floor, tree");
        ioContest.enter<ReadBesideSetter<FloorHash<tSource>>>(beside, "floor, hash");
        ioContest.enter<ReadBesideSetter<OurRead<tSource>>>(beside, "ours");

        const Case large{text.name, {1000000}, 4000};
        ioContest.enter<ReadText<FloorHash<tSource>>>(large, "floor, hash");
        ioContest.enter<ReadText<OurRead<tSource>>>(large, "ours");
    }

    if constexpr (tSource != ePinned)
    {
        ioContest.enter<ReadText<PocoRead<tSource>>>(text, "poco");
        ioContest.enter<ReadNumber<PocoRead<tSource>>>(number, "poco");
    }
}
} // namespace

void enterRead(Contest& ioContest)
{
    _enter<eOwn>(ioContest, "own");
    _enter<eStored>(ioContest, "stored");
    _enter<eRunTime>(ioContest, "run-time");
    _enter<ePinned>(ioContest, "pinned");
}
