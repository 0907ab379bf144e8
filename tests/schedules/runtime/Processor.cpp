// SPDX-License-Identifier: MIT
#include "Processor.h"

#include <sched.h>

namespace schedules
{
namespace
{
void _use(int iProcessor)
{
    cpu_set_t one;
    CPU_ZERO(&one);
    CPU_SET(iProcessor, &one);
    // Refused, the schedules are the same, but slower.
    static_cast<void>(sched_setaffinity(0, sizeof(one), &one));
}
} // namespace

void Processor::use(unsigned iNumber)
{
    cpu_set_t allowed;
    if (sched_getaffinity(0, sizeof(allowed), &allowed) != 0)
    {
        return;
    }
    unsigned skip = iNumber % static_cast<unsigned>(CPU_COUNT(&allowed));
    for (int i = 0; i < CPU_SETSIZE; ++i)
    {
        if (CPU_ISSET(i, &allowed) && skip-- == 0)
        {
            _use(i);
            return;
        }
    }
}

void Processor::useCurrent()
{
    if (const int processor = sched_getcpu(); processor >= 0)
    {
        _use(processor);
    }
}
} // namespace schedules
