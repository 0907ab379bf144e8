// SPDX-License-Identifier: MIT
// The gate from the loggers to their plugin alone.

#include "Scenario.h"
#include "scenarios/support/Threads.h"

#include "logging/PGate.h"

#include <memory>

using schedules::require;
using schedules::requireEqual;

namespace
{
/// What calls use while they are inside, and what is destroyed after the close. Not atomic: the
/// gate has to order the uses of one caller and the destruction.
struct Guarded
{
    PGate gate;
    std::unique_ptr<int> values[2] = {std::make_unique<int>(0), std::make_unique<int>(0)};

    void call(int iCaller)
    {
        if (gate.enter())
        {
            useAndLeave(iCaller);
        }
    }

    void useAndLeave(int iCaller)
    {
        ++*values[iCaller];
        gate.leave();
    }

    void close()
    {
        gate.close();
        for (std::unique_ptr<int>& value : values)
        {
            require(*value <= 1, "calls before the close");
            value.reset();
        }
        require(!gate.enter(), "a closed gate admits nobody");
    }
};
} // namespace

SCENARIO(LoggerGateWithOneCallBesideItsClose, .jumps = false, .small = true)
{
    Guarded guarded;
    runTogether([&] { guarded.close(); }, [&] { guarded.call(0); });
    requireEqual(0, static_cast<long long>(schedules::nanoseconds()), "time that passed");
}

SCENARIO(LoggerGateWithTwoCallsBesideItsClose, .jumps = false)
{
    Guarded guarded;
    runTogether([&] { guarded.close(); }, [&] { guarded.call(0); }, [&] { guarded.call(1); });
    requireEqual(0, static_cast<long long>(schedules::nanoseconds()), "time that passed");
}

// The end of the first call does not end the wait for the second one.
SCENARIO(LoggerGateClosedWithTwoCallsInside, .jumps = false, .small = true)
{
    Guarded guarded;
    require(guarded.gate.enter() && guarded.gate.enter(), "an open gate admits calls");
    runTogether([&] { guarded.close(); }, [&] { guarded.useAndLeave(0); },
                [&] { guarded.useAndLeave(1); });
    requireEqual(0, static_cast<long long>(schedules::nanoseconds()), "time that passed");
}

SCENARIO(LoggerGateEnteredTwiceBesideItsClose, .jumps = false, .small = true)
{
    Guarded guarded;
    runTogether([&] { guarded.close(); },
                [&]
                {
                    if (guarded.gate.enter())
                    {
                        // A call inside may enter again, unless the gate was closed meanwhile.
                        guarded.call(0);
                        require(*guarded.values[1] == 0, "the close waits for the outer call");
                        guarded.gate.leave();
                    }
                });
    requireEqual(0, static_cast<long long>(schedules::nanoseconds()), "time that passed");
}
