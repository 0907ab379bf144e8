// SPDX-License-Identifier: MIT
#include "Checkpoint.h"

#include "OpenFiles.h"
#include "Raw.h"
#include "Scheduler.h"
#include "Verdict.h"
#include "Watchdog.h"

#include <cstdlib>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

namespace schedules
{
namespace
{
const Order* sOrder;
int sOrders = -1;
int sReady = -1;
bool sIsChild;
bool sSharesStreams;

/// What the report said at the checkpoint.
ReportCounts sCounts;

bool _await(int iDescriptor)
{
    char byte = 0;
    return Raw::get().syscall(SYS_read, iDescriptor, &byte, 1) == 1;
}

void _tell(int iDescriptor)
{
    const char byte = Checkpoint::kReady;
    if (Raw::get().syscall(SYS_write, iDescriptor, &byte, 1) != 1)
    {
        _exit(1);
    }
}
} // namespace

void Checkpoint::arm(const Order& iOrder, int iOrders, int iReady)
{
    sOrder = &iOrder;
    sOrders = iOrders;
    sReady = iReady;
}

void Checkpoint::reach()
{
    if (sOrder && !sIsChild)
    {
        sCounts = Verdict::report().counts;
        Watchdog::stop();
        sSharesStreams = !OpenFiles::remember(sOrders, sReady);
        serve();
        becomeChild();
    }
}

/// Returns in each child.
void Checkpoint::serve()
{
    for (;;)
    {
        Verdict::report().sharesStreams = sSharesStreams;
        _tell(sReady);
        if (!_await(sOrders))
        {
            _exit(0);
        }
        // Without the handlers of a fork: the code of the scenario must not notice this one.
        const pid_t child = _Fork();
        if (child <= 0)
        {
            sIsChild = child == 0;
            return;
        }
        int status = 0;
        waitpid(child, &status, 0);
        OpenFiles::restore();
    }
}

void Checkpoint::becomeChild()
{
    if (!sIsChild)
    {
        Verdict::fail(Outcome::eMisuse, "no process can be created");
    }
    Watchdog::start();
    Verdict::report().counts = sCounts;
    Scheduler::replan(sOrder->plan, sOrder->decisions, sOrder->decisionCount);
}

void Checkpoint::fileChanges()
{
    if (sIsChild)
    {
        Verdict::report().changesFiles = true;
    }
}
} // namespace schedules
