// SPDX-License-Identifier: MIT
#include "Report.h"

namespace schedules
{
const char* outcomeName(Outcome iOutcome)
{
    static const char* const sNames[] = {
        "no result",      "passed",        "assertion",   "deadlock",  "race",
        "use after free", "wrong release", "lock order",  "lock held", "misuse",
        "crash",          "no end",        "no progress", "too slow"};
    return sNames[static_cast<unsigned>(iOutcome)];
}
} // namespace schedules
