// SPDX-License-Identifier: MIT
// Runner: runs schedules of a scenario, each in a process of its own.
#ifndef IXLAL_SCHEDULES_RUNNER_H
#define IXLAL_SCHEDULES_RUNNER_H

#include "../Scenario.h"
#include "Checkpoint.h"
#include "DirectoryImage.h"
#include "Plan.h"
#include "Report.h"

#include <optional>
#include <set>
#include <sys/types.h>
#include <vector>

namespace schedules
{
/// Schedules that begin alike are forked from a checkpoint, unless they have a fault or are
/// explained, or the scenario has something open there that cannot be restored.
class Runner
{
public:
    Runner();
    ~Runner();
    Runner(const Runner&) = delete;
    Runner& operator=(const Runner&) = delete;

    /// Runs one schedule. The report is valid until the next one. The outcome is eCrash when the
    /// process ended without one.
    const Report& run(const Scenario& iScenario, const Plan& iPlan);

    /// The decisions of the last report.
    std::vector<Decision> decisions() const;

private:
    void clear();
    bool canUseCheckpoint(const Scenario& iScenario, const Plan& iPlan) const;
    bool enterCheckpoint(const Scenario& iScenario, const Plan& iPlan);
    bool awaitReady() const;
    void leaveCheckpoint();
    void runFromCheckpoint(const Plan& iPlan);
    void restoreFiles();
    void runWhole(const Scenario& iScenario, const Plan& iPlan);

    Report* fReport;
    Order* fOrder;
    std::set<const Scenario*> fWithoutCheckpoint;
    std::optional<DirectoryImage> fFiles; ///< at the checkpoint
    const Scenario* fScenario = nullptr;  ///< whose process stands at its checkpoint
    pid_t fAtCheckpoint = 0;
    int fOrders = -1;
    int fReady = -1;
};
} // namespace schedules

#endif
