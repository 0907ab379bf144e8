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
/// Counts the step; returns what the plugin does in it, or null.
const std::function<int()>* _begin(const char* iStep)
{
    const schedules::Reliable reliable;
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
    return action == sActions.end() ? nullptr : &action->second;
}
} // namespace

void PluginSteps::on(const std::string& iStep, std::function<int()> iAction)
{
    const schedules::Reliable reliable;
    sActions[iStep] = std::move(iAction);
}

int PluginSteps::count(const std::string& iStep)
{
    const schedules::Reliable reliable;
    const std::lock_guard lock(sMutex);
    return sCounts[iStep];
}

extern "C" __attribute__((visibility("default"))) int ixlalTestStep(const char* iStep)
{
    const std::function<int()>* const action = _begin(iStep);
    return action ? (*action)() : 0;
}
