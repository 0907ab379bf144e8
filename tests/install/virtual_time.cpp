// SPDX-License-Identifier: MIT
// An hour of the ticker, which is linked into this program, in virtual time.

#include "ITicker.h"

#include "testkit/PTestClock.h"
#include "testkit/PTestCore.h"

#include <chrono>
#include <cstdio>

int main()
{
    PTestClock clock;
    PTestCore core;
    core.addPlugin(ixlaGetPlugin);
    core.start();
    const auto ticker = core.service<ITicker>(kTickerId);
    clock.advance(std::chrono::hours(1));
    std::printf("ticks: %d\n", ticker->getTicks());
}
