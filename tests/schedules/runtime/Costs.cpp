// SPDX-License-Identifier: MIT
#include "Costs.h"

#include "../Scenario.h"
#include "Scheduler.h"
#include "Verdict.h"

#include <algorithm>
#include <cstdio>
#include <iterator>

namespace schedules
{
namespace
{
/// Of two threads that do the same.
Changes sChanges[2];

CostReport& _next()
{
    Report& report = Verdict::report();
    if (report.costCount == std::size(report.costs))
    {
        Verdict::fail(Outcome::eAssertion, "there are too many operations");
    }
    return report.costs[report.costCount++];
}
} // namespace

void Changes::write(std::uintptr_t iAddress)
{
    const std::uintptr_t line = iAddress / kLineBytes;
    if (hasLine(line))
    {
        return;
    }
    if (lineCount == kMostLines)
    {
        Verdict::fail(Outcome::eAssertion, "the operation changes too many lines");
    }
    lines[lineCount++] = line;
}

void Changes::change(std::uintptr_t iAddress)
{
    ++atomic;
    write(iAddress);
}

bool Changes::hasLine(std::uintptr_t iLine) const
{
    return std::find(lines, lines + lineCount, iLine) != lines + lineCount;
}

void Costs::record(unsigned iSlot)
{
    Changes& changes = sChanges[iSlot];
    changes.atomic = 0;
    changes.locks = 0;
    changes.lineCount = 0;
    Scheduler::current()->changes = &changes;
}

void Costs::stop()
{
    Scheduler::current()->changes = nullptr;
}

void Costs::report(const char* iOperation)
{
    const Changes& changes = sChanges[0];
    CostReport& costs = _next();
    std::snprintf(costs.operation, sizeof(costs.operation), "%s", iOperation);
    costs.atomic = changes.atomic;
    costs.locks = changes.locks;
    costs.sharedLines = static_cast<std::uint32_t>(
        std::count_if(changes.lines, changes.lines + changes.lineCount,
                      [](std::uintptr_t line) { return sChanges[1].hasLine(line); }));
}

void recordChanges(unsigned iThread)
{
    Costs::record(iThread);
}

void stopRecording()
{
    Costs::stop();
}

void reportCosts(const char* iOperation)
{
    Costs::report(iOperation);
}
} // namespace schedules
