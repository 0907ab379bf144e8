// SPDX-License-Identifier: MIT
// ScheduleFile: a schedule as text, to be kept and run again.
#ifndef IXLAL_SCHEDULES_SCHEDULEFILE_H
#define IXLAL_SCHEDULES_SCHEDULEFILE_H

#include "Plan.h"

#include <string>

namespace schedules
{
/// One word and its values per line:
///   scenario NAME
///   fault KIND INDEX       that call of its kind fails
///   switch THREAD CHOICE NEXT
///   jump THREAD CHOICE     time moves to the next deadline
/// A thread's choices are counted from 1: it has one before each of its operations and at each
/// wait. Lines that begin with # are comments.
struct ScheduleFile
{
    std::string scenario;
    FaultPlan fault;
    std::vector<Decision> decisions;

    /// Throws std::runtime_error with the line that it does not understand.
    static ScheduleFile read(const std::string& iPath);

    /// iComment may have several lines.
    void write(const std::string& iPath, const std::string& iComment) const;
};

const char* faultName(FaultPlan::Kind iKind);
} // namespace schedules

#endif
