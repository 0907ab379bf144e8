// SPDX-License-Identifier: MIT
#include "host/PStopSignal.h"

#include <cerrno>
#include <ctime>

PStopSignal::PStopSignal()
{
    sigemptyset(&fSignals);
    sigaddset(&fSignals, SIGINT);
    sigaddset(&fSignals, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &fSignals, nullptr);
}

bool PStopSignal::waitFor(std::chrono::milliseconds iLimit) const
{
    const auto end = std::chrono::steady_clock::now() + iLimit;
    int result = -1;
    do
    {
        const auto left = std::chrono::duration_cast<std::chrono::nanoseconds>(
            end - std::chrono::steady_clock::now());
        if (left.count() <= 0)
        {
            return false;
        }
        timespec limit = {};
        limit.tv_sec = static_cast<time_t>(left.count() / 1000000000);
        limit.tv_nsec = static_cast<long>(left.count() % 1000000000);
        result = sigtimedwait(&fSignals, nullptr, &limit);
    } while (result < 0 && errno == EINTR);
    return result > 0;
}

void PStopSignal::wait() const
{
    int caught = 0;
    while (sigwait(&fSignals, &caught) != 0)
    {
    }
}
