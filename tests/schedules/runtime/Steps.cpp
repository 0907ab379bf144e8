// SPDX-License-Identifier: MIT
#include "Steps.h"

#include "Verdict.h"

namespace schedules
{
namespace
{
bool sHasLeft;
} // namespace

void Steps::begin()
{
    Verdict::report().stepCount = 0;
    Verdict::report().stepsAreCut = false;
}

void Steps::add(Step::Kind iKind, unsigned iThread, std::uint32_t iReady, unsigned iAnswer)
{
    Report& report = Verdict::report();
    if (sHasLeft)
    {
        return;
    }
    if (report.stepCount == Report::kSteps || iReady >> Step::kMostThreads != 0)
    {
        cut();
    }
    if (!report.stepsAreCut)
    {
        report.steps[report.stepCount++] = Step(iKind, iThread, iReady, iAnswer);
    }
}

void Steps::cut()
{
    Verdict::report().stepsAreCut = true;
}

void Steps::leave()
{
    sHasLeft = true;
}
} // namespace schedules
