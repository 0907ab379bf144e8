// SPDX-License-Identifier: MIT
// VectorClock: which operations of each thread happened before a point of an execution.
#ifndef IXLAL_SCHEDULES_VECTORCLOCK_H
#define IXLAL_SCHEDULES_VECTORCLOCK_H

#include <algorithm>
#include <cstdint>

namespace schedules
{
/// The number of threads that one schedule may start.
constexpr unsigned kMaxThreads = 32;

/// A thread and its time in one word: the unit in which a race cell remembers an access. 0 is an
/// access before the schedule began, which happened before everything.
class Epoch
{
public:
    constexpr Epoch() = default;
    constexpr Epoch(unsigned iThread, std::uint32_t iTime) : fBits(iThread << kTimeBits | iTime)
    {
    }

    unsigned thread() const
    {
        return fBits >> kTimeBits;
    }
    std::uint32_t time() const
    {
        return fBits & ((1u << kTimeBits) - 1);
    }
    bool isNone() const
    {
        return fBits == 0;
    }
    bool operator==(const Epoch&) const = default;

private:
    static constexpr unsigned kTimeBits = 26;
    std::uint32_t fBits = 0;
};

/// The latest time of each thread that happened before. Plain data: copied and zeroed as memory.
struct VectorClock
{
    std::uint32_t times[kMaxThreads];

    void join(const VectorClock& iOther)
    {
        for (unsigned i = 0; i < kMaxThreads; ++i)
        {
            times[i] = std::max(times[i], iOther.times[i]);
        }
    }

    bool covers(Epoch iEpoch) const
    {
        return times[iEpoch.thread()] >= iEpoch.time();
    }
};
} // namespace schedules

#endif
