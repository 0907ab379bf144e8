// SPDX-License-Identifier: MIT
#include "logger/FakeClock.h"
#include "logger/LogTest.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <ctime>

namespace
{
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
        FakeClock::showReal();
    }

    /// The time in a line that is written at the given time.
    std::string timeAt(long long iSeconds, long long iNanoseconds)
    {
        FakeClock::show(iSeconds, iNanoseconds);
        info("a");
        return lines().back().substr(0, 23);
    }
};
} // namespace

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

TEST_F(LogClock, YearOfFiveDigitsLeavesTheTextOfTheLastSecond)
{
    EXPECT_EQ("2001-09-09 01:46:40.000", timeAt(1000000000, 0));
    EXPECT_EQ("2001-09-09 01:46:40.123", timeAt(253402300800, 123000000));
    EXPECT_EQ("2001-09-09 01:46:41.000", timeAt(1000000001, 0));
}
