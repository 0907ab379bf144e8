// SPDX-License-Identifier: MIT
// Search: many schedules of one scenario.
#ifndef IXLAL_SCHEDULES_SEARCH_H
#define IXLAL_SCHEDULES_SEARCH_H

#include "Runner.h"
#include "ScheduleFile.h"

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <unordered_set>

namespace schedules
{
/// When a search ends.
struct Limits
{
    std::uint64_t runs = 1000;   ///< schedules that are drawn
    std::uint64_t different = 0; ///< schedules; 0 for any number
    double seconds = 1e9;
};

/// What a search did.
struct Searched
{
    std::uint64_t drawn = 0;     ///< schedules, with those that were known to repeat another one
    std::uint64_t runs = 0;      ///< of them
    std::uint64_t different = 0; ///< of these
    std::uint64_t points = 0;    ///< in all
    double seconds = 0;
    bool complete = false;  ///< the exhaustive search tried all
    bool exhausted = false; ///< a random search found almost no new schedule any more
    std::optional<ScheduleFile> failure;
    Outcome outcome = Outcome::ePassed;
};

class Search
{
public:
    Search(Runner& ioRunner, const Scenario& iScenario);

    /// Random schedules from a seed, with faults if iFaults and the scenario allows them.
    Searched random(Plan iPlan, const Limits& iLimits, bool iFaults);

    /// Whether the schedules of so many plans run as predicted from earlier ones.
    bool predicts(Plan iPlan, unsigned iCount);

    /// All schedules with at most iPreemptions.
    Searched exhaustive(unsigned iPreemptions, const Limits& iLimits);

    /// Removes decisions without which the schedule fails alike.
    ScheduleFile minimised(const ScheduleFile& iFailure, Outcome iOutcome);

    /// The readable form of a schedule.
    std::string explained(const ScheduleFile& iSchedule);

    /// Runs it once.
    Outcome replay(const ScheduleFile& iSchedule);

private:
    bool isAtLimit(const Searched& iDone, const Limits& iLimits) const;
    static bool canPredict(const Plan& iPlan);
    Plan planOf(const ScheduleFile& iSchedule) const;
    FaultPlan drawFault(std::uint64_t iSeed, const std::uint32_t* iSeen) const;

    Runner& fRunner;
    const Scenario& fScenario;
};
} // namespace schedules

#endif
