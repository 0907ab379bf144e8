// SPDX-License-Identifier: MIT
#include "logger/FakeClock.h"

#include "portinglayer/PExport.h"

#include <ctime>
#include <sys/syscall.h>
#include <unistd.h>

namespace
{
/// As the logger's timespec, which has 64-bit seconds with both word sizes.
struct Time
{
    long long seconds;
    long long nanoseconds;
};

Time sTime{}; ///< zero means the real time
} // namespace

#ifdef SYS_clock_gettime64
#define READ_CLOCK "__clock_gettime64"
constexpr long kReadClock = SYS_clock_gettime64;
#else
#define READ_CLOCK "clock_gettime"
constexpr long kReadClock = SYS_clock_gettime;
#endif

// Replaces the C library's function.
extern "C" IXLA_EXPORT int readClock(clockid_t iClock, Time* oTime) noexcept __asm__(READ_CLOCK);
extern "C" int readClock(clockid_t iClock, Time* oTime) noexcept
{
    if (iClock == CLOCK_REALTIME && sTime.seconds != 0)
    {
        *oTime = sTime;
        return 0;
    }
    return static_cast<int>(syscall(kReadClock, iClock, oTime));
}

void FakeClock::show(long long iSeconds, long long iNanoseconds)
{
    sTime = {iSeconds, iNanoseconds};
}

void FakeClock::showReal()
{
    sTime = {};
}
