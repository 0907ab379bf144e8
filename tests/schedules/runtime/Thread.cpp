// SPDX-License-Identifier: MIT
#include "Thread.h"

namespace schedules
{
const char* opName(Op iOp)
{
    static const char* const sNames[] = {"runs",          "loads",      "stores",
                                         "changes",       "fences",     "locks",
                                         "tries to lock", "unlocks",    "waits on",
                                         "notifies",      "waits on",   "wakes",
                                         "starts",        "joins",      "sleeps",
                                         "yields",        "runs once",  "enters the loader with",
                                         "uses a file",   "reads from", "forks",
                                         "ends"};
    return sNames[static_cast<unsigned>(iOp)];
}
} // namespace schedules
