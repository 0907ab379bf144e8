// SPDX-License-Identifier: MIT
// PluginSteps: what the test plugins do in a scenario.
#ifndef IXLAL_SCHEDULES_PLUGINSTEPS_H
#define IXLAL_SCHEDULES_PLUGINSTEPS_H

#include <functional>
#include <string>

/// Every step of a test plugin ("alpha.init", "alpha.destroyed") is counted and checked to run
/// without a lock, but for the steps of its release, which the core calls with its lock in an
/// unload.
struct PluginSteps
{
    /// The plugin does iAction in this step and returns its result. Before the threads start.
    static void on(const std::string& iStep, std::function<int()> iAction);

    static int count(const std::string& iStep);
};

#endif
