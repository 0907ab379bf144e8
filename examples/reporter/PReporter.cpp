#include "reporter/PReporter.h"

#include "Ixla.h"
#include "PGuarded.h"
#include "shared/ISample.h"
#include "shared/PService.h"

#include <cstdio>
#include <string>

namespace
{
constexpr wchar_t kConfigTopic[] = L"com.example.ixla.reporter.config";
constexpr const wchar_t* kTopics[] = {kSampleTopic, kConfigTopic, kIxlaCoreExitTopic};

std::string _showLoad(int iHundredths)
{
    if (iHundredths < 0)
    {
        return "none";
    }
    char text[32];
    std::snprintf(text, sizeof(text), "%d.%02d", iHundredths / 100, iHundredths % 100);
    return text;
}

std::string _showMemory(int iPercent)
{
    return iPercent < 0 ? "none" : std::to_string(iPercent) + " %";
}
} // namespace

int PReporter::start()
{
    int result = findService(kIxlaEventDispatcherId, fDispatcher);
    if (result == eIxlaOk)
    {
        result = findService(kIxlaConfigManagerId, fManager);
    }
    if (result == eIxlaOk)
    {
        result = findService(kAlarmId, fAlarm);
    }
    return result == eIxlaOk ? subscribe() : result;
}

int PReporter::subscribe()
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
void PReporter::stop()
{
    PBaseptr<IEventDispatcher> dispatcher;
    PBaseptr<IConfigManager> manager;
    PBaseptr<IAlarm> alarm;
    {
        const std::lock_guard<std::mutex> lock(fMutex);
        dispatcher = fDispatcher;
        manager = fManager;
        alarm = fAlarm;
        fDispatcher.clear();
        fManager.clear();
        fAlarm.clear();
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

int PReporter::handleEvent(const PLiteral& iTopic, IBase*, int)
{
    return ixlaGuarded(
        [&]
        {
            onEvent(iTopic);
            return eIxlaOk;
        });
}

void PReporter::onEvent(const PLiteral& iTopic)
{
    if (iTopic == kSampleTopic)
    {
        ++fSamples;
    }
    else if (iTopic == kConfigTopic)
    {
        ++fChanges;
    }
    else
    {
        printSummary();
        stop();
    }
}

void PReporter::printSummary()
{
    PBaseptr<IAlarm> alarm;
    {
        const std::lock_guard<std::mutex> lock(fMutex);
        alarm = fAlarm;
    }
    if (!alarm)
    {
        return;
    }
    std::printf("[reporter] samples: %d, alarms: %d, configuration changes: %d\n", fSamples.load(),
                alarm->getAlarmCount(), fChanges.load());
    std::printf("[reporter] highest so far: load %s, memory %s\n",
                _showLoad(alarm->getHighestLoad()).c_str(),
                _showMemory(alarm->getHighestMemory()).c_str());
    std::printf("[reporter] highest of earlier runs: load %s, memory %s\n",
                _showLoad(alarm->getEarlierLoad()).c_str(),
                _showMemory(alarm->getEarlierMemory()).c_str());
    std::fflush(stdout);
}
