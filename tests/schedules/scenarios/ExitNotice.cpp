// SPDX-License-Identifier: MIT
// The notice alone that the notifier thread and the stopping core share.

#include "Scenario.h"
#include "scenarios/support/Threads.h"

#include "core/PExitNotice.h"

using schedules::require;
using schedules::requireEqual;

namespace
{
/// What the notifier uses before it sends, and reports to. Not atomic: the notice has to order it
/// before the destruction by the stop.
struct Core
{
    PExitNotice notice;
    int copied = 0;
    int reports = 0;
    bool destroyed = false;
};

void _notify(Core& ioCore)
{
    require(!ioCore.destroyed, "the core exists until the notifier sends");
    ++ioCore.copied;
    ioCore.notice.sending();
    if (ioCore.notice.beginReport())
    {
        require(!ioCore.destroyed, "the core exists while the notifier reports");
        ++ioCore.reports;
        ioCore.notice.done();
    }
}

void _destroy(Core& ioCore, bool iAbandoned)
{
    requireEqual(1, ioCore.copied, "references that the notifier has copied");
    requireEqual(iAbandoned ? 0 : 1, ioCore.reports, "reports");
    ioCore.destroyed = true;
}
} // namespace

SCENARIO(ExitNoticeBesideItsAbandonment, .jumps = false, .small = true)
{
    static Core core;
    runTogether(
        []
        {
            if (core.notice.abandon())
            {
                _destroy(core, core.notice.isAbandoned());
            }
        },
        [] { _notify(core); });
    requireEqual(core.notice.isAbandoned() ? 0 : 1, core.reports, "reports in the end");
}

SCENARIO(ExitNoticeThatTheStopWaitsFor, .milliseconds = 0, .jumps = false, .small = true)
{
    static Core core;
    runTogether(
        []
        {
            core.notice.abandonOrAwait();
            _destroy(core, core.notice.isAbandoned());
        },
        [] { _notify(core); });
    require(core.notice.abandon(), "the core may be destroyed in the end");
}
