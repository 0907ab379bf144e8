// SPDX-License-Identifier: MIT
// Clock: virtual time as the C library gives it.
#ifndef IXLAL_SCHEDULES_CLOCK_H
#define IXLAL_SCHEDULES_CLOCK_H

#include "Scheduler.h"

#include <ctime>

namespace schedules
{
/// The times of 32-bit code have two forms, with 32 and with 64 bits for the seconds.
struct Time64
{
    std::int64_t tv_sec;
    std::int32_t tv_nsec;
    std::int32_t unused;
};

class Clock
{
public:
    static constexpr std::uint64_t kSecond = 1000000000;
    static constexpr std::uint64_t kRealTimeOffset = 1800000000 * kSecond;
    static constexpr std::uint64_t kOtherOffset = 1000 * kSecond;

    /// What a clock shows.
    static std::uint64_t shown(clockid_t iClock)
    {
        return Scheduler::now() + offset(iClock);
    }

    /// The virtual time at which the clock shows this.
    template <class T>
    static std::uint64_t at(clockid_t iClock, const T& iTime)
    {
        const std::uint64_t time = duration(iTime);
        return time > offset(iClock) ? time - offset(iClock) : 0;
    }

    template <class T>
    static std::uint64_t duration(const T& iTime)
    {
        return static_cast<std::uint64_t>(iTime.tv_sec) * kSecond +
               static_cast<std::uint64_t>(iTime.tv_nsec);
    }

    template <class T>
    static void write(std::uint64_t iNanoseconds, T& oTime)
    {
        oTime.tv_sec = static_cast<decltype(oTime.tv_sec)>(iNanoseconds / kSecond);
        oTime.tv_nsec = static_cast<decltype(oTime.tv_nsec)>(iNanoseconds % kSecond);
    }

private:
    static std::uint64_t offset(clockid_t iClock)
    {
        return iClock == CLOCK_REALTIME || iClock == CLOCK_REALTIME_COARSE ? kRealTimeOffset
                                                                           : kOtherOffset;
    }
};
} // namespace schedules

#endif
