// SPDX-License-Identifier: MIT
#include "reporter/PReporter.h"

#include "helpers/PPlugin.h"
#include "helpers/PluginInfo.h"
#include "helpers/ServiceLookup.h"
#include "shared/ISample.h"

#include <cstdio>
#include <string>

namespace
{
class ReporterPlugin : public PPlugin
{
public:
    ReporterPlugin()
    {
        offer<PReporter>(L"com.example.ixla.reporter");
    }
};

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

IXLA_PLUGIN(ReporterPlugin)
IXLA_PLUGIN_INFO(IXLA_INFO_NAME("reporter"), IXLA_INFO_VERSION("1.0.0"),
                 IXLA_INFO_DESCRIPTION("Prints a summary when the core stops"),
                 IXLA_INFO_AUTHOR("The ixlal authors"), IXLA_INFO_LICENSE("MIT"),
                 IXLA_INFO_OFFERS("com.example.ixla.reporter", "starts with the core"),
                 IXLA_INFO_REQUIRES("com.example.ixla.alarm"))

int PReporter::onInit()
{
    int result =
        fSampleEvents.subscribe(kSampleTopic, [this](const PLiteral&, IBase*, int) { ++fSamples; });
    if (result == eIxlaOk)
    {
        result = fChangeEvents.subscribe(kAlarmId, [this](const IConfigChanged&) { ++fChanges; });
    }
    if (result == eIxlaOk)
    {
        fAlarm = ixlaService<IAlarm>(kAlarmId, result);
    }
    return result;
}

void PReporter::onExit()
{
    if (!fAlarm)
    {
        return; // onInit failed
    }
    std::printf("[reporter] samples: %d, alarms: %d, configuration changes: %d\n", fSamples.load(),
                fAlarm->getAlarmCount(), fChanges.load());
    std::printf("[reporter] highest so far: load %s, memory %s\n",
                _showLoad(fAlarm->getHighestLoad()).c_str(),
                _showMemory(fAlarm->getHighestMemory()).c_str());
    std::printf("[reporter] highest of earlier runs: load %s, memory %s\n",
                _showLoad(fAlarm->getEarlierLoad()).c_str(),
                _showMemory(fAlarm->getEarlierMemory()).c_str());
    std::fflush(stdout);
}
