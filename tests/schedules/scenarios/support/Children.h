// SPDX-License-Identifier: MIT
// runInChild: the child processes of a scenario.
#ifndef IXLAL_SCHEDULES_CHILDREN_H
#define IXLAL_SCHEDULES_CHILDREN_H

#include "Scenario.h"

#include <sys/wait.h>
#include <unistd.h>

/// Forks, runs iWork in the child and waits until that has ended. The schedule fails when an
/// assertion of the child does.
template <class TWork>
void runInChild(const TWork& iWork)
{
    const pid_t child = fork();
    if (child == 0)
    {
        iWork();
        _exit(0);
    }
    int status = 1;
    schedules::requireEqual(child, waitpid(child, &status, 0), "the child has ended");
    schedules::requireEqual(0, status, "the end of the child");
}

#endif
