// SPDX-License-Identifier: MIT
// Initialisations that fail or take long, with other threads that wait for them.

#include "Scenario.h"
#include "scenarios/support/CoreSetup.h"
#include "scenarios/support/PluginSteps.h"
#include "scenarios/support/Threads.h"

#include <atomic>
#include <chrono>
#include <pthread.h>
#include <stdexcept>
#include <thread>
#include <vector>

using schedules::require;
using schedules::requireEqual;

namespace
{
/// Written by an init and read after the request. Not atomic: the core has to order them.
int sWritten;

std::atomic<int> sFailedRequests;

constexpr unsigned long long kNanosecondsPerMillisecond = 1000000;

long long _milliseconds()
{
    return static_cast<long long>(schedules::nanoseconds() / kNanosecondsPerMillisecond);
}

void _initWritesAnd(int (*iEnd)())
{
    PluginSteps::on("alpha.init",
                    [iEnd]
                    {
                        sWritten = 7;
                        return iEnd();
                    });
}

void _requestFails()
{
    const Requested requested(L"test.alpha");
    requireEqual(eIxlaInitFailed, requested.result, "each request fails");
    require(!requested.instance, "no request gets a service");
    requireEqual(7, sWritten, "what init has written");
    ++sFailedRequests;
}

void _runThreeThreads(void (*iWork)())
{
    // Not on the first thread, because some inits end theirs.
    runTogether([] {}, iWork, iWork, iWork);
}

void _letAlphaTakeTwelveSeconds()
{
    PluginSteps::on("alpha.init",
                    []
                    {
                        std::this_thread::sleep_for(std::chrono::seconds(12));
                        sWritten = 12;
                        return 0;
                    });
}

void _requestOfTwelveSeconds()
{
    requireEqual(0, Requested(L"test.alpha").result, "each request succeeds");
    requireEqual(12, sWritten, "what init has written");
    requireEqual(12000, _milliseconds(), "the time of the result");
}

void _stopAfterAFailedInit(const char* iPlugin)
{
    const std::string plugin = iPlugin;
    requireEqual(1, PluginSteps::count(plugin + ".init"), "initialisations");
    requireEqual(0, PluginSteps::count(plugin + ".getInstance"), "requests to the plugin");
    requireEqual(0, ixlaStop(), "the core stops");
    requireEqual(1, PluginSteps::count(plugin + ".destroyed"), "destroyed plugins");
    requireEqual(1, PluginSteps::count(plugin + ".service destroyed"), "destroyed services");
}
} // namespace

SCENARIO(InitThatFailsWithOneWaiter, .milliseconds = 2500, .jumps = false, .small = true)
{
    const CoreSetup core{"alpha"};
    core.mustStart();
    _initWritesAnd([] { return -7; });
    runTogether(_requestFails, _requestFails);
    _stopAfterAFailedInit("alpha");
}

SCENARIO(InitThatFailsWithWaiters, .milliseconds = 2500)
{
    const CoreSetup core{"alpha"};
    core.mustStart();
    _initWritesAnd([] { return -7; });
    _runThreeThreads(_requestFails);
    _requestFails();
    _stopAfterAFailedInit("alpha");
}

SCENARIO(InitThatThrowsWithWaiters, .milliseconds = 2500)
{
    const CoreSetup core{"alpha"};
    core.mustStart();
    _initWritesAnd([]() -> int { throw std::runtime_error("init"); });
    _runThreeThreads(_requestFails);
    requireEqual(3, sFailedRequests, "requests that ended");
    _stopAfterAFailedInit("alpha");
}

SCENARIO(InitThatEndsItsThreadWithWaiters, .milliseconds = 2500)
{
    const CoreSetup core{"alpha"};
    core.mustStart();
    _initWritesAnd(
        []
        {
            pthread_exit(nullptr);
            return 0;
        });
    _runThreeThreads(_requestFails);
    requireEqual(2, sFailedRequests, "requests that ended");
    _requestFails();
    _stopAfterAFailedInit("alpha");
}

SCENARIO(GetInstanceThatEndsItsThread, .milliseconds = 2500)
{
    const CoreSetup core{"alpha"};
    core.mustStart();
    PluginSteps::on("alpha.getInstance",
                    []
                    {
                        static std::atomic<bool> ended;
                        if (!ended.exchange(true))
                        {
                            pthread_exit(nullptr);
                        }
                        return 0;
                    });
    static std::atomic<int> succeeded;
    _runThreeThreads(
        []
        {
            requireEqual(0, Requested(L"test.alpha").result, "the other requests succeed");
            ++succeeded;
        });
    requireEqual(2, succeeded, "requests that succeeded");
    requireEqual(1, PluginSteps::count("alpha.init"), "initialisations");
    requireEqual(0, ixlaStop(), "the core stops");
    requireEqual(1, PluginSteps::count("alpha.destroyed"), "destroyed plugins");
}

SCENARIO(WaitersForAnInitOfTwelveSeconds, .milliseconds = 14500, .jumps = false)
{
    constexpr int kWaiters = 10;
    CoreSetup core{"alpha"};
    core.writeLogs();
    core.mustStart();
    _letAlphaTakeTwelveSeconds();
    std::vector<std::thread> threads;
    for (int i = 0; i < 1 + kWaiters; ++i)
    {
        threads.emplace_back(_requestOfTwelveSeconds);
    }
    std::this_thread::sleep_for(std::chrono::seconds(11));
    requireEqual(0, Requested(kIxlaLoggerId).result, "another request meanwhile");
    requireEqual(11000, _milliseconds(), "the time of its result");
    for (std::thread& thread : threads)
    {
        thread.join();
    }
    requireEqual(1, PluginSteps::count("alpha.init"), "initialisations");
    requireEqual(1 + kWaiters, PluginSteps::count("alpha.getInstance"), "requests to the plugin");
    const auto lines = [&](const char* iText)
    {
        return core.countLines("core.log", iText);
    };
    requireEqual(kWaiters, lines("] Waiting other thread to init plugin..."), "begun waits");
    // After 5 s and after 10 s, by all threads that wait.
    requireEqual(2 * kWaiters, lines("I Core [intiPlugin][pg:"), "lines about the wait");
    requireEqual(2 * kWaiters, lines("] Still waiting: "), "lines about the wait");
    requireEqual(kWaiters, lines("] Waiting finished iCorePg.fInitState: 2"), "ended waits");
    requireEqual(0, lines(" E Core "), "errors");
    requireEqual(0, ixlaStop(), "the core stops");
    requireEqual(14500, _milliseconds(), "the time of the stop");
    requireEqual(1, PluginSteps::count("alpha.destroyed"), "destroyed plugins");
}

// The inits of others wake the waiter after 3 s and after 9 s.
SCENARIO(WaiterThatOtherInitsWake, .milliseconds = 14500, .jumps = false)
{
    CoreSetup core{"alpha", "beta", "gamma"};
    core.writeLogs();
    core.mustStart();
    _letAlphaTakeTwelveSeconds();
    const auto stillWaiting = [&]
    {
        return core.countLines("core.log", "] Still waiting: ");
    };
    runTogether(
        [&]
        {
            std::this_thread::sleep_for(std::chrono::seconds(3));
            requireEqual(0, Requested(L"test.beta").result, "the request of beta");
            std::this_thread::sleep_for(std::chrono::milliseconds(4999));
            requireEqual(0, stillWaiting(), "lines after 7,999 ms");
            std::this_thread::sleep_for(std::chrono::milliseconds(1001));
            requireEqual(1, stillWaiting(), "lines after a whole wait of 5 s");
            requireEqual(0, Requested(L"test.gamma").result, "the request of gamma");
            std::this_thread::sleep_for(std::chrono::seconds(1));
            requireEqual(2, stillWaiting(), "lines after another wakeup");
        },
        _requestOfTwelveSeconds, _requestOfTwelveSeconds);
    requireEqual(2, stillWaiting(), "lines about the wait");
    requireEqual(0, ixlaStop(), "the core stops");
}

// The stop pauses for 2.5 s, so the init of 3 s keeps a call inside for another 0.5 s.
SCENARIO(InitThatFailsDuringAStop, .milliseconds = 3000, .jumps = false)
{
    const CoreSetup core{"alpha"};
    core.mustStart();
    PluginSteps::on("alpha.init",
                    []
                    {
                        std::this_thread::sleep_for(std::chrono::seconds(3));
                        sWritten = 7;
                        return -7;
                    });
    const auto request = []
    {
        const int result = Requested(L"test.alpha").result;
        require(result == eIxlaInitFailed || result == eIxlaCoreNotStarted,
                "the request fails or is refused");
        if (result == eIxlaInitFailed)
        {
            requireEqual(7, sWritten, "what init has written");
        }
    };
    std::thread first(request);
    std::thread second(request);
    requireEqual(0, ixlaStop(), "the core stops");
    const int inits = PluginSteps::count("alpha.init");
    requireEqual(inits == 0 ? 2500 : 3000, _milliseconds(), "the time of the stop");
    requireEqual(1, PluginSteps::count("alpha.destroyed"), "destroyed plugins");
    first.join();
    second.join();
    requireEqual(inits, PluginSteps::count("alpha.init"), "initialisations after the stop");
}
