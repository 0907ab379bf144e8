// SPDX-License-Identifier: MIT
#include "alarm/PAlarm.h"

#include "helpers/PPlugin.h"
#include "helpers/PluginInfo.h"
#include "helpers/ServiceLookup.h"

namespace
{
constexpr wchar_t kLogName[] = L"alarm.log";

class AlarmPlugin : public PPlugin
{
public:
    AlarmPlugin()
    {
        offer<PAlarm>(kAlarmId);
    }
};
} // namespace

IXLA_PLUGIN(AlarmPlugin)
IXLA_PLUGIN_INFO(IXLA_INFO_NAME("alarm"), IXLA_INFO_VERSION("1.0.0"),
                 IXLA_INFO_DESCRIPTION("Compares samples with thresholds"),
                 IXLA_INFO_AUTHOR("The ixlal authors"), IXLA_INFO_LICENSE("MIT"),
                 IXLA_INFO_OFFERS("com.example.ixla.alarm", "counts alarms, knows highest values"))

PAlarm::PAlarm()
    : fLoad(L"load in hundredths", kLoadLimitKey, L"load.highest"),
      fMemory(L"memory in percent", kMemoryLimitKey, L"memory.highest")
{
}

int PAlarm::onInit()
{
    const int result = findServices();
    if (result != eIxlaOk)
    {
        return result;
    }
    fLoad.load(*fConfig, *fLogger);
    fMemory.load(*fConfig, *fLogger);
    return subscribe();
}

int PAlarm::findServices()
{
    int result = eIxlaOk;
    fManager = ixlaService<IConfigManager>(result);
    if (result == eIxlaOk)
    {
        result = fManager->loadByID(kAlarmId, fConfig);
    }
    if (result == eIxlaOk)
    {
        const PBaseptr<ILogger> pluginsLog = ixlaService<ILogger>(result);
        // While plugin logging is disabled getLogger returns no logger; the shared log is used,
        // which drops all lines.
        fLogger = pluginsLog;
        result = pluginsLog ? pluginsLog->getLogger(kLogName, fLogger) : result;
    }
    return result;
}

int PAlarm::subscribe()
{
    const int result = fSamples.subscribe(kSampleTopic,
                                          [this](const PLiteral&, IBase* iSample, int)
                                          {
                                              if (iSample)
                                              {
                                                  onSample(static_cast<ISample&>(*iSample));
                                              }
                                          });
    if (result != eIxlaOk)
    {
        return result;
    }
    return fChanges.subscribe(kAlarmId,
                              [this](const IConfigChanged& iChange) { onConfigChanged(iChange); });
}

void PAlarm::onSample(const ISample& iSample)
{
    const std::lock_guard<std::mutex> lock(fMutex);
    fAlarms += fLoad.check(iSample.getLoad(), *fManager, *fLogger) ? 1 : 0;
    fAlarms += fMemory.check(iSample.getMemory(), *fManager, *fLogger) ? 1 : 0;
}

void PAlarm::onConfigChanged(const IConfigChanged& iChange)
{
    PString key;
    if (iChange.getKey(key) != eIxlaOk)
    {
        return;
    }
    const std::lock_guard<std::mutex> lock(fMutex);
    for (PWatchedFigure* figure : {&fLoad, &fMemory})
    {
        if (figure->isLimitKey(key))
        {
            figure->reloadLimit(*fConfig, *fLogger);
        }
    }
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
