// SPDX-License-Identifier: MIT
// runTogether: the threads of a scenario.
#ifndef IXLAL_SCHEDULES_THREADS_H
#define IXLAL_SCHEDULES_THREADS_H

#include "Scenario.h"

#include <functional>
#include <optional>
#include <thread>

/// Runs iFirst on the calling thread and each other function on a thread of its own; returns when
/// all have ended. The threads can always be started.
template <class TFirst, class... TMore>
void runTogether(const TFirst& iFirst, const TMore&... iMore)
{
    std::optional<schedules::Reliable> reliable(std::in_place);
    std::thread threads[] = {std::thread(std::cref(iMore))...};
    reliable.reset();
    iFirst();
    for (std::thread& thread : threads)
    {
        thread.join();
    }
}

#endif
