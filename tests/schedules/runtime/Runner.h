// SPDX-License-Identifier: MIT
// Runner: runs schedules of a scenario, each in a process of its own.
#ifndef IXLAL_SCHEDULES_RUNNER_H
#define IXLAL_SCHEDULES_RUNNER_H

#include "../Scenario.h"
#include "Plan.h"
#include "Report.h"

#include <vector>

namespace schedules
{
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
    [[noreturn]] void child(const Scenario& iScenario, const Plan& iPlan);
    void clear();

    Report* fReport;
};
} // namespace schedules

#endif
