// SPDX-License-Identifier: MIT
// Timers of the helpers beside their end.

#include "Scenario.h"
#include "scenarios/support/Threads.h"
#include "scenarios/support/Used.h"

#include "Ixla.h"
#include "helpers/PTimer.h"

#include <chrono>
#include <memory>
#include <thread>

using schedules::require;
using schedules::requireEqual;
using namespace std::chrono_literals;

SCENARIO(EndOfATimerBesideItsFiring, .small = true)
{
    auto used = std::make_unique<Used>();
    PWorker worker(L"timers");
    PTimer timer(worker);
    requireEqual(0, timer.once(0ms, [&] { used->run(); }), "the timer is set");
    timer.end();
    require(used->runs <= 1, "firings");
    used.reset();
}

SCENARIO(EndOfATimerBesideTwoPeriods)
{
    auto used = std::make_unique<Used>();
    PWorker worker(L"timers");
    PTimer timer(worker);
    requireEqual(0, timer.every(1ms, [&] { used->run(); }), "the timer is set");
    std::this_thread::sleep_for(2ms);
    timer.end();
    used.reset();
}

SCENARIO(EndOfAWorkerBesideItsTimer, .small = true)
{
    auto used = std::make_unique<Used>();
    PWorker worker(L"timers");
    PTimer timer(worker);
    requireEqual(0, timer.once(0ms, [&] { used->run(); }), "the timer is set");
    worker.end();
    used.reset();
    requireEqual(eIxlaNoInstance, timer.once(0ms, [&] { used->run(); }), "set after the end");
}

SCENARIO(EndOfATimerInItsCallableBesideItsEnd)
{
    auto used = std::make_unique<Used>();
    PWorker worker(L"timers");
    PTimer timer(worker);
    requireEqual(0,
                 timer.every(1ms,
                             [&]
                             {
                                 used->run();
                                 timer.end();
                                 used->run();
                             }),
                 "the timer is set");
    std::this_thread::sleep_for(1ms);
    timer.end();
    require(used->runs == 0 || used->runs == 2, "the callable runs as a whole or not at all");
    used.reset();
}

SCENARIO(EndOfATimerInACallableThatOutlastsItsPeriod, .small = true)
{
    auto used = std::make_unique<Used>();
    PWorker worker(L"timers");
    PTimer timer(worker);
    requireEqual(0,
                 timer.every(1ms,
                             [&]
                             {
                                 used->run();
                                 std::this_thread::sleep_for(2ms);
                                 timer.end();
                             }),
                 "the timer is set");
    std::this_thread::sleep_for(5ms);
    timer.end();
    require(used->runs <= 1, "firings");
    used.reset();
}

SCENARIO(AnotherCallableOfATimerBesideItsFiring)
{
    auto first = std::make_unique<Used>();
    Used second;
    PWorker worker(L"timers");
    PTimer timer(worker);
    requireEqual(0, timer.every(1ms, [&] { first->run(); }), "the timer is set");
    std::this_thread::sleep_for(1ms);
    requireEqual(0, timer.once(0ms, [&] { second.run(); }), "the timer is set again");
    first.reset();
    std::this_thread::sleep_for(1ms);
    timer.end();
    require(second.runs <= 1, "firings of the second callable");
}

SCENARIO(EndsOfTwoTimersOfAWorker)
{
    auto first = std::make_unique<Used>();
    auto second = std::make_unique<Used>();
    PWorker worker(L"timers");
    PTimer timers[] = {PTimer(worker), PTimer(worker)};
    requireEqual(0, timers[0].every(1ms, [&] { first->run(); }), "the first timer is set");
    requireEqual(0, timers[1].every(1ms, [&] { second->run(); }), "the second timer is set");
    runTogether(
        [&]
        {
            timers[0].end();
            first.reset();
        },
        [&]
        {
            timers[1].end();
            second.reset();
        });
}

// It must not be lost between the look at the timers and the wait.
SCENARIO(TimerThatIsSetBesideTheWaitOfItsWorker, .milliseconds = 1000, .jumps = false,
         .small = true)
{
    Used used;
    PWorker worker(L"timers");
    requireEqual(0, worker.start(), "the worker starts");
    PTimer timer(worker);
    requireEqual(0, timer.once(1ms, [&] { used.run(); }), "the timer is set");
    std::this_thread::sleep_for(10ms);
    timer.end();
    requireEqual(1, used.runs, "firings");
}
