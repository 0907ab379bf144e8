// SPDX-License-Identifier: MIT
#include "Watchdog.h"

#include "Verdict.h"

#include <csignal>
#include <cstdio>
#include <cstring>
#include <sys/time.h>

namespace schedules
{
namespace
{
constexpr int kMostSeconds = 30; ///< of real time for one schedule

void _failed(int iSignal)
{
    if (iSignal == SIGALRM)
    {
        Verdict::fail(Outcome::eNoProgress, "a call blocks that the scheduler does not know");
    }
    char text[80];
    std::snprintf(text, sizeof(text), "signal %d (%s)", iSignal, sigabbrev_np(iSignal));
    Verdict::fail(Outcome::eCrash, text);
}

void _setTimer(int iSeconds)
{
    const itimerval limit{{0, 0}, {iSeconds, 0}};
    setitimer(ITIMER_REAL, &limit, nullptr);
}
} // namespace

void Watchdog::catchSignals()
{
    static char sStack[64 * 1024];
    const stack_t stack{sStack, 0, sizeof(sStack)};
    sigaltstack(&stack, nullptr);
    struct sigaction action = {};
    action.sa_handler = _failed;
    action.sa_flags = SA_ONSTACK | SA_NODEFER;
    for (const int number : {SIGSEGV, SIGBUS, SIGILL, SIGFPE, SIGABRT, SIGALRM})
    {
        sigaction(number, &action, nullptr);
    }
}

void Watchdog::start()
{
    _setTimer(kMostSeconds);
}

void Watchdog::stop()
{
    _setTimer(0);
}
} // namespace schedules
