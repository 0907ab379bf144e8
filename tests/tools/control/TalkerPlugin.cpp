// SPDX-License-Identifier: MIT
// A plugin with a log of its own, talk.log, that listens to events and changes.

#include "IConfigManager.h"
#include "IEventDispatcher.h"
#include "helpers/PConfigSubscription.h"
#include "helpers/PPlugin.h"
#include "helpers/PSubscription.h"

#include <cerrno>
#include <chrono>
#include <thread>

namespace
{
constexpr wchar_t kTalkerId[] = L"test.talker";

class Talker : public PService<IBase>
{
public:
    int onInit() override
    {
        fDispatcher = ixlaService<IEventDispatcher>();
        int result = ixlaService<ILogger>()->getLogger(L"talk.log", fLog);
        if (result == eIxlaOk)
        {
            result = ixlaService<IConfigManager>()->loadByID(kTalkerId, fConfig);
        }
        bool fails = false;
        if (result == eIxlaOk && fConfig->getBool(L"fail", fails) == eIxlaOk && fails)
        {
            result = -EIO;
        }
        if (result == eIxlaOk)
        {
            result = fTalk.subscribe(L"test.talk", [this](const PLiteral&, IBase*, int iNumber)
                                     { (void)fLog->info(iNumber, L"level %d", iNumber); });
        }
        if (result == eIxlaOk)
        {
            result = fSleep.subscribe(
                L"test.sleep", [](const PLiteral&, IBase*, int iMilliseconds)
                { std::this_thread::sleep_for(std::chrono::milliseconds(iMilliseconds)); });
        }
        if (result == eIxlaOk)
        {
            result = fStorm.subscribe(L"test.storm", [this](const PLiteral&, IBase*, int iCount)
                                      { begin(iCount); });
        }
        return result == eIxlaOk
                   ? fChanges.subscribe(kTalkerId,
                                        [this](const IConfigChanged& iChange) { hear(iChange); })
                   : result;
    }

    void onExit() override
    {
        if (fThread.joinable())
        {
            fThread.join();
        }
    }

private:
    void begin(int iCount)
    {
        onExit(); // ends an earlier storm
        fThread = std::thread([this, iCount] { storm(iCount); });
    }

    /// Sends many events with an object, and logs how long the slowest took.
    void storm(int iCount)
    {
        typedef std::chrono::steady_clock Clock;
        long long slowest = 0;
        for (int i = 0; i < iCount; ++i)
        {
            const Clock::time_point begin = Clock::now();
            (void)fDispatcher->send(L"test.drop", this, i);
            const std::chrono::milliseconds took =
                std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - begin);
            slowest = took.count() > slowest ? took.count() : slowest;
        }
        (void)fLog->info(0, L"sent %d, slowest %lld ms", iCount, slowest);
    }

    void hear(const IConfigChanged& iChange)
    {
        PString key;
        PString value;
        (void)iChange.getKey(key);
        (void)fConfig->getString(key, value);
        (void)fLog->info(0, L"changed: %ls = %ls", key.ptr(), value.ptr());
    }

    PBaseptr<IEventDispatcher> fDispatcher;
    PBaseptr<ILogger> fLog;
    PBaseptr<IConfig> fConfig;
    std::thread fThread;
    PSubscription fTalk;
    PSubscription fSleep;
    PSubscription fStorm;
    PConfigSubscription fChanges;
};

class TalkerPlugin : public PPlugin
{
public:
    TalkerPlugin()
    {
        offer<Talker>(kTalkerId);
    }
};
} // namespace

IXLA_PLUGIN(TalkerPlugin)
