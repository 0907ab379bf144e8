// SPDX-License-Identifier: MIT
// Tests of the example with a thread, from its users' view.

#include "ticker/ITicker.h"

#include "testkit/GTest.h"

namespace
{
TEST_F(IxlaTest, TickerTicksAtThePaceOfItsConfigurationUntilTheCoreStops)
{
    fCore.addPlugin(TICKER_LIBRARY);
    fCore.configure("com.example.ticker.pace", "period = 5\n");
    fCore.start();
    PEventRecorder& ticks = fCore.record(kTickTopic);
    EXPECT_EQ(5, fCore.service<IPace>(kPaceId)->getPeriod());
    EXPECT_EQ(3, ticks.waitFor(3).number);
    EXPECT_LE(3, fCore.service<ITicker>(kTickerId)->getTicks());
    EXPECT_TRUE(fCore.coreLog().errors().empty());
}
} // namespace
