// SPDX-License-Identifier: MIT
// Tests of the ticker with its code linked into the test, in virtual time.

#include "ticker/ITicker.h"

#include "testkit/GTest.h"
#include "testkit/PTestClock.h"

namespace
{
using namespace std::chrono_literals;

class TickerUnitTest : public IxlaTest
{
protected:
    TickerUnitTest()
    {
        fCore.addPlugin(ixlaGetPlugin); // the factory that IXLA_PLUGIN defines
    }

    PTestClock fClock;
};

TEST_F(TickerUnitTest, TicksEverySecondByDefault)
{
    fCore.start();
    const auto ticker = fCore.service<ITicker>(kTickerId);
    fClock.advance(2999ms);
    EXPECT_EQ(2, ticker->getTicks());
    fClock.advance(1ms);
    EXPECT_EQ(3, ticker->getTicks());
}

TEST_F(TickerUnitTest, TicksAtThePaceOfItsConfiguration)
{
    fCore.configure("com.example.ticker.pace", "period = 250\n");
    fCore.start();
    PEventRecorder& ticks = fCore.record(kTickTopic);
    fCore.service<ITicker>(kTickerId);
    fClock.advance(1s);
    EXPECT_EQ(4u, ticks.count());
}

TEST_F(TickerUnitTest, LogsTheExceptionOfAListener)
{
    fCore.start();
    const auto ticker = fCore.service<ITicker>(kTickerId);
    PSubscription subscription;
    EXPECT_THAT(subscription.subscribe(kTickTopic, [](const PLiteral&, IBase*, int)
                                       { throw std::runtime_error("no bell"); }),
                IsOk());
    fClock.advance(1s);
    EXPECT_THAT(fCore.log().texts(),
                testing::Contains("E [com.example.ticker.tick] Exception: no bell"));
}

TEST_F(TickerUnitTest, RefusesAPeriodOfZero)
{
    fCore.configure("com.example.ticker.pace", "period = 0\n");
    fCore.start();
    EXPECT_THROW(fCore.service<ITicker>(kTickerId), PTestError);
}
} // namespace
