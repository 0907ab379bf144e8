// SPDX-License-Identifier: MIT
// Checkpoint: the place in a scenario from which all its schedules are forked.
#ifndef IXLAL_SCHEDULES_CHECKPOINT_H
#define IXLAL_SCHEDULES_CHECKPOINT_H

#include "Plan.h"
#include "Report.h"

#include <cstdint>

namespace schedules
{
/// What the runner wants next, in memory that it shares with the process at the checkpoint.
struct Order
{
    PlanBasics plan;
    std::uint32_t decisionCount;
    Decision decisions[Report::kDecisions];
};

/// Until its first thread starts, a scenario runs the same way in every schedule. Its process stops
/// there, and forks a child for each order: the child is the scenario's process from then on.
class Checkpoint
{
public:
    /// The byte that the runner gets: the process stands at the checkpoint, or a child has ended.
    static constexpr char kReady = 'r';

    /// The next start of a thread is the checkpoint. A byte on iOrders wants a child for iOrder,
    /// its end ends the process.
    static void arm(const Order& iOrder, int iOrders, int iReady);

    /// Before the start of a thread. Returns at once when not armed, otherwise in each child.
    static void reach();

    /// A file is changed. Behind the checkpoint, it has to be restored for the next child.
    static void fileChanges();

private:
    static void serve();
    static void becomeChild();
};
} // namespace schedules

#endif
