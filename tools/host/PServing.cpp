// SPDX-License-Identifier: MIT
#include "host/PServing.h"

#include <algorithm>
#include <iterator>
#include <poll.h>
#include <unistd.h>

namespace
{
constexpr std::chrono::milliseconds kLongestPoll(std::chrono::hours(24));
} // namespace

PServing::PServing(PHostProcess& ioProcess) : fProcess(ioProcess)
{
}

std::string PServing::begin()
{
    const int seconds = fProcess.options().fSeconds;
    if (!fEnd && seconds != PHostOptions::eNoLimit)
    {
        fEnd = Clock::now() + std::chrono::seconds(seconds);
    }
    return "ready, process " + std::to_string(getpid());
}

void PServing::wait()
{
    while (!isOver())
    {
        waitFor(-1, std::nullopt);
    }
}

bool PServing::goesOn()
{
    return false;
}

void PServing::waitFor(int iDescriptor, std::optional<std::chrono::milliseconds> iPause) const
{
    std::chrono::milliseconds pause = std::min(iPause.value_or(kLongestPoll), kLongestPoll);
    if (fEnd)
    {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(*fEnd - Clock::now());
        pause = std::clamp(left, std::chrono::milliseconds(0), pause);
    }
    pollfd descriptors[] = {{fProcess.signals().descriptor(), POLLIN, 0}, {iDescriptor, POLLIN, 0}};
    // A failure is like a time that has passed: the caller looks at its condition.
    static_cast<void>(poll(descriptors, std::size(descriptors), static_cast<int>(pause.count())));
}

bool PServing::isOver() const
{
    return fProcess.signals().hasCome() || (fEnd && Clock::now() >= *fEnd);
}

PHostProcess& PServing::process() const
{
    return fProcess;
}
