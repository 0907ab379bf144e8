// SPDX-License-Identifier: MIT
#include "scenarios/support/PluginSteps.h"

#include "Scenario.h"

#include <map>
#include <mutex>

namespace
{
std::mutex sMutex;
std::map<std::string, int> sCounts;
std::map<std::string, std::function<int()>> sActions;

bool _isOfRelease(const std::string& iStep)
{
    return iStep.ends_with(".decRef") || iStep.ends_with("destroyed") ||
           iStep.ends_with("unmapped");
}
} // namespace

void PluginSteps::on(const std::string& iStep, std::function<int()> iAction)
{
    sActions[iStep] = std::move(iAction);
}

int PluginSteps::count(const std::string& iStep)
{
    const std::lock_guard lock(sMutex);
    return sCounts[iStep];
}

extern "C" __attribute__((visibility("default"))) int ixlalTestStep(const char* iStep)
{
    const std::string step = iStep;
    if (!_isOfRelease(step))
    {
        schedules::requireNoLocks(iStep);
    }
    {
        const std::lock_guard lock(sMutex);
        ++sCounts[step];
    }
    const auto action = sActions.find(step);
    return action == sActions.end() ? 0 : action->second();
}
