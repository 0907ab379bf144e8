#include "alarm/PAlarm.h"

#include "Ixla.h"
#include "PGuarded.h"
#include "shared/PService.h"

namespace
{
constexpr wchar_t kLogName[] = L"alarm.log";
constexpr wchar_t kConfigTopic[] = L"com.example.ixla.alarm.config";
constexpr const wchar_t* kTopics[] = {kSampleTopic, kConfigTopic, kIxlaCoreExitTopic};
} // namespace

PAlarm::PAlarm()
    : fLoad(L"load in hundredths", kLoadLimitKey, L"load.highest"),
      fMemory(L"memory in percent", kMemoryLimitKey, L"memory.highest")
{
}

int PAlarm::start()
{
    const int result = findServices();
    if (result != eIxlaOk)
    {
        return result;
    }
    fLoad.load(*fConfig, *fLogger);
    fMemory.load(*fConfig, *fLogger);
    fRunning = true;
    return subscribe();
}

int PAlarm::findServices()
{
    PBaseptr<ILogger> pluginsLog;
    int result = findService(kIxlaLoggerId, pluginsLog);
    if (result == eIxlaOk)
    {
        // While plugin logging is disabled no named log is handed out; the shared one then takes
        // the lines and drops them.
        fLogger = pluginsLog;
        result = pluginsLog->getLogger(kLogName, fLogger);
    }
    if (result == eIxlaOk)
    {
        result = findService(kIxlaEventDispatcherId, fDispatcher);
    }
    if (result == eIxlaOk)
    {
        result = findService(kIxlaConfigManagerId, fManager);
    }
    return result == eIxlaOk ? fManager->loadByID(kAlarmId, fConfig) : result;
}

int PAlarm::subscribe()
{
    int result = fManager->addListener(kAlarmId, kConfigTopic);
    for (const wchar_t* topic : kTopics)
    {
        if (result == eIxlaOk)
        {
            result = fDispatcher->addListener(topic, this);
        }
    }
    return result;
}

// The dispatcher holds this object as its listener, and this object holds the dispatcher: both
// shares are given up here, or neither would ever end.
void PAlarm::stop()
{
    PBaseptr<IEventDispatcher> dispatcher;
    PBaseptr<IConfigManager> manager;
    {
        const std::lock_guard<std::mutex> lock(fMutex);
        fRunning = false;
        dispatcher = fDispatcher;
        manager = fManager;
        fDispatcher.clear();
        fManager.clear();
        fConfig.clear();
        fLogger.clear();
    }
    // After a start that failed half way some of these are not registered, which is as good.
    if (manager)
    {
        (void)manager->removeListener(kAlarmId, kConfigTopic);
    }
    for (const wchar_t* topic : kTopics)
    {
        if (dispatcher)
        {
            (void)dispatcher->removeListener(topic, this);
        }
    }
}

int PAlarm::handleEvent(const PLiteral& iTopic, IBase* iParam1, int)
{
    return ixlaGuarded([&] { return onEvent(iTopic, iParam1); });
}

int PAlarm::onEvent(const PLiteral& iTopic, IBase* iParam1)
{
    if (iTopic == kIxlaCoreExitTopic)
    {
        stop();
        return eIxlaOk;
    }
    const std::lock_guard<std::mutex> lock(fMutex);
    if (!fRunning || !iParam1)
    {
        return eIxlaInvalidArgument;
    }
    if (iTopic == kConfigTopic)
    {
        return onConfigChanged(*static_cast<IConfigChanged*>(iParam1));
    }
    onSample(*static_cast<ISample*>(iParam1));
    return eIxlaOk;
}

void PAlarm::onSample(const ISample& iSample)
{
    fAlarms += fLoad.check(iSample.getLoad(), *fManager, *fLogger) ? 1 : 0;
    fAlarms += fMemory.check(iSample.getMemory(), *fManager, *fLogger) ? 1 : 0;
}

int PAlarm::onConfigChanged(const IConfigChanged& iChange)
{
    PString key;
    const int result = iChange.getKey(key);
    if (result != eIxlaOk)
    {
        return result;
    }
    for (PWatchedFigure* figure : {&fLoad, &fMemory})
    {
        if (figure->isLimitKey(key))
        {
            figure->reloadLimit(*fConfig, *fLogger);
        }
    }
    return eIxlaOk;
}

int PAlarm::getHighestLoad() const
{
    return fLoad.getHighest();
}

int PAlarm::getHighestMemory() const
{
    return fMemory.getHighest();
}

int PAlarm::getEarlierLoad() const
{
    return fLoad.getEarlier();
}

int PAlarm::getEarlierMemory() const
{
    return fMemory.getEarlier();
}

int PAlarm::getAlarmCount() const
{
    return fAlarms;
}
