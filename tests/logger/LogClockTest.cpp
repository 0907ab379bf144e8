// SPDX-License-Identifier: MIT
#include "logger/LogTest.h"
#include "portinglayer/PExport.h"

#include <gtest/gtest.h>

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

Time sShown{}; ///< the time of the fake clock; zero means the real time

class LogClock : public LogTest
{
protected:
    LogClock()
    {
        setenv("TZ", "UTC0", 1);
        tzset();
        init();
    }

    ~LogClock() override
    {
        sShown = {};
    }

    /// The time in a line that is written at the given time.
    std::string timeAt(long long iSeconds, long long iNanoseconds)
    {
        sShown = {iSeconds, iNanoseconds};
        info("a");
        return lines().back().substr(0, 23);
    }
};
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
    if (iClock == CLOCK_REALTIME && sShown.seconds != 0)
    {
        *oTime = sShown;
        return 0;
    }
    return static_cast<int>(syscall(kReadClock, iClock, oTime));
}

TEST_F(LogClock, ThatAdvancesIsShown)
{
    EXPECT_EQ("2001-09-09 01:46:40.000", timeAt(1000000000, 999999));
    EXPECT_EQ("2001-09-09 01:46:40.987", timeAt(1000000000, 987654321));
    EXPECT_EQ("2001-09-09 01:46:41.001", timeAt(1000000001, 1000000));
}

TEST_F(LogClock, ThatIsSetBackIsShown)
{
    EXPECT_EQ("2001-09-09 01:46:40.000", timeAt(1000000000, 0));
    EXPECT_EQ("2001-09-09 01:46:39.999", timeAt(999999999, 999000000));
}
