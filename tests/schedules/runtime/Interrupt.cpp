// SPDX-License-Identifier: MIT
#include "Interrupt.h"

#include <csignal>
#include <initializer_list>

namespace schedules
{
namespace
{
volatile std::sig_atomic_t sSignal;

void _came(int iSignal)
{
    sSignal = iSignal;
}
} // namespace

void Interrupt::catchSignals()
{
    struct sigaction action = {};
    action.sa_handler = _came;
    action.sa_flags = SA_RESTART;
    // Also where the shell ignores them for a program in the background.
    for (const int number : {SIGINT, SIGTERM, SIGHUP})
    {
        sigaction(number, &action, nullptr);
    }
}

int Interrupt::signal()
{
    return sSignal;
}
} // namespace schedules
