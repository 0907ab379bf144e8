// SPDX-License-Identifier: MIT
// The gate to the core alone.

#include "Scenario.h"

#include "core/PCallGate.h"

#include <thread>

using schedules::requireEqual;

namespace
{
/// What calls use while they are inside. Not atomic: the gate has to order its uses.
struct Guarded
{
    PCallGate gate;
    int value = 0;
};
} // namespace

SCENARIO(GateWithOneCallBesideItsClose, .jumps = false, .small = true)
{
    static Guarded guarded;
    guarded.gate.open();
    std::thread caller(
        []
        {
            if (guarded.gate.enter())
            {
                guarded.value = 1;
                guarded.gate.leave();
            }
        });
    requireEqual(0, static_cast<long long>(guarded.gate.close(5000)), "calls inside");
    guarded.value = 2;
    caller.join();
    requireEqual(2, guarded.value, "the value");
    requireEqual(0, static_cast<long long>(schedules::nanoseconds()), "time that passed");
}

SCENARIO(GateWithTwoCallsBesideItsClose, .jumps = false)
{
    static Guarded sGuarded;
    static int sSecond = 0;
    sGuarded.gate.open();
    const auto call = [](int& oValue)
    {
        if (sGuarded.gate.enter())
        {
            oValue = 1;
            sGuarded.gate.leave();
        }
    };
    std::thread caller([&] { call(sGuarded.value); });
    std::thread other([&] { call(sSecond); });
    requireEqual(0, static_cast<long long>(sGuarded.gate.close(5000)), "calls inside");
    sGuarded.value = 2;
    sSecond = 2;
    caller.join();
    other.join();
    requireEqual(4, sGuarded.value + sSecond, "the values");
    requireEqual(0, static_cast<long long>(schedules::nanoseconds()), "time that passed");
}

SCENARIO(GateWithACallInsideACallBesideItsClose, .jumps = false, .small = true)
{
    static Guarded guarded;
    guarded.gate.open();
    std::thread caller(
        []
        {
            if (!guarded.gate.enter())
            {
                return;
            }
            if (guarded.gate.enter())
            {
                guarded.value = 1;
                guarded.gate.leave();
            }
            guarded.value = 1;
            guarded.gate.leave();
        });
    requireEqual(0, static_cast<long long>(guarded.gate.close(5000)), "calls inside");
    guarded.value = 2;
    caller.join();
    requireEqual(2, guarded.value, "the value");
    requireEqual(0, static_cast<long long>(schedules::nanoseconds()), "time that passed");
}
