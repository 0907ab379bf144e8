// SPDX-License-Identifier: MIT
// PLogLimit: limits how often a line is written to a log.
#ifndef IXLAL_SDK_PLOGLIMIT_H
#define IXLAL_SDK_PLOGLIMIT_H

#include <atomic>
#include <chrono>
#include <cstdint>

/// Admits one line in an interval and counts the others. Allocates no memory and takes no lock.
/// Without a destructor, so that threads may still log while static objects are destroyed.
/// [any thread]
class PLogLimit
{
public:
    /// The clock of the intervals.
    typedef std::chrono::steady_clock Clock;

    /// Admits the first line.
    constexpr PLogLimit() noexcept : fNext(INT64_MIN), fSuppressed(0)
    {
    }

    PLogLimit(const PLogLimit&) = delete;
    PLogLimit& operator=(const PLogLimit&) = delete;

    /// Whether a line may be written at iNow: the first one, and then each one that comes at least
    /// iInterval after the last admitted one. oSuppressed is then the number of lines that were
    /// refused in between, otherwise it is unchanged. When several threads ask at once, one of them
    /// gets the line and the others are refused.
    bool admits(Clock::time_point iNow, Clock::duration iInterval,
                unsigned int& oSuppressed) noexcept
    {
        const std::int64_t now = iNow.time_since_epoch().count();
        std::int64_t next = fNext.load(std::memory_order_relaxed);
        if (now < next || !fNext.compare_exchange_strong(next, now + iInterval.count(),
                                                         std::memory_order_relaxed))
        {
            fSuppressed.fetch_add(1, std::memory_order_relaxed);
            return false;
        }
        oSuppressed = fSuppressed.exchange(0, std::memory_order_relaxed);
        return true;
    }

    /// The same now.
    bool admits(Clock::duration iInterval, unsigned int& oSuppressed) noexcept
    {
        return admits(Clock::now(), iInterval, oSuppressed);
    }

private:
    std::atomic<std::int64_t> fNext; ///< when the next line is admitted, in ticks of the clock
    std::atomic<unsigned int> fSuppressed;
};

#endif
