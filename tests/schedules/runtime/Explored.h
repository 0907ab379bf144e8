// SPDX-License-Identifier: MIT
// Explored: predicts that a plan repeats a schedule that has run.
#ifndef IXLAL_SCHEDULES_EXPLORED_H
#define IXLAL_SCHEDULES_EXPLORED_H

#include "Plan.h"
#include "Report.h"

#include <cstddef>
#include <cstdint>
#include <unordered_map>
#include <vector>

namespace schedules
{
/// A tree of the steps of the schedules of one scenario by PCT. A schedule follows from the answers
/// of its strategy, which follow from the plan and the questions so far.
class Explored
{
public:
    /// Whether a schedule that has run has the same steps. Otherwise call ran with its report.
    bool has(const PlanBasics& iPlan);

    /// Adds the schedule of the plan of the last call of has. False if its steps are not as
    /// predicted; then it is not added.
    bool ran(const Report& iReport);

private:
    /// The steps of a schedule behind those that it shares with earlier ones.
    struct Branch
    {
        std::vector<Step> steps;
        bool isCut;
    };

    /// Where a schedule leaves a branch.
    struct Fork
    {
        std::uint64_t key() const;

        std::uint32_t branch;
        std::uint32_t step;
        unsigned answer;
    };

    bool isPredicted(const Report& iReport) const;

    std::vector<Branch> fBranches;
    std::unordered_map<std::uint64_t, std::uint32_t> fForks; ///< the branches that begin there
    Fork fFork{};
    std::size_t fShared = 0;  ///< steps of the last plan up to its fork
    bool fEndsInTree = false; ///< the last plan has no fork
};
} // namespace schedules

#endif
