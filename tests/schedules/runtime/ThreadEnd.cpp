// SPDX-License-Identifier: MIT
#include "ThreadEnd.h"

#include "Scheduler.h"

#include <climits>
#include <pthread.h>

namespace schedules
{
namespace
{
pthread_key_t sEnd;

/// Asks for another round of destructors until the last one.
void _end(void* iThread)
{
    Thread& thread = *static_cast<Thread*>(iThread);
    if (++thread.rounds < PTHREAD_DESTRUCTOR_ITERATIONS)
    {
        pthread_setspecific(sEnd, iThread);
        return;
    }
    Scheduler::leave(thread);
}
} // namespace

void ThreadEnd::prepare()
{
    pthread_key_create(&sEnd, _end);
}

void ThreadEnd::follow(Thread& ioThread)
{
    pthread_setspecific(sEnd, &ioThread);
}
} // namespace schedules
