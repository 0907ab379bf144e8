// SPDX-License-Identifier: MIT
#include "support/SharedLine.h"

#include "support/SecondThread.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <vector>

namespace
{
constexpr int kSamples = 200;
constexpr unsigned int kChanges = 20000;

struct alignas(64) Line
{
    std::atomic<unsigned int> count{0};
};

bool _change(Line& ioLine, unsigned int iTimes)
{
    for (unsigned int i = 0; i < iTimes; ++i)
    {
        ++ioLine.count;
    }
    return true;
}

/// The time for each change of both threads, or 0 if one of them had to wait for a processor.
double _sample(Line& ioLine, Rival& ioRival)
{
    Together together(ioRival);
    _change(ioLine, kChanges);
    together.stop();
    const std::chrono::duration<double, std::nano> time = together.time();
    return together.bothRan() ? time.count() / (kChanges + together.rivalTurns()) : 0;
}
} // namespace

double SharedLine::nanoseconds()
{
    Line line;
    Rival rival([&line](unsigned int) { return _change(line, Rival::kTurns); });
    std::vector<double> times;
    for (int i = 0; i < kSamples; ++i)
    {
        if (const double time = _sample(line, rival); time > 0)
        {
            times.push_back(time);
        }
    }
    std::sort(times.begin(), times.end());
    return times.empty() ? 0 : times[times.size() / 2];
}
