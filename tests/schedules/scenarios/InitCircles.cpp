// SPDX-License-Identifier: MIT
// Plugins that request each other, or themselves, while they are initialised.

#include "Scenario.h"
#include "scenarios/support/CoreSetup.h"
#include "scenarios/support/PluginSteps.h"
#include "scenarios/support/Threads.h"

#include <atomic>
#include <chrono>
#include <thread>

using schedules::require;
using schedules::requireEqual;

namespace
{
/// The results of the requests inside the inits, which succeed themselves. Not atomic: the core has
/// to order an init before the requests that wait for it.
int sInsideAlpha;
int sInsideBeta;

std::atomic<int> sInits;
std::atomic<int> sEnded;

void _letAlphaAndBetaNeedEachOther()
{
    PluginSteps::on("alpha.init",
                    []
                    {
                        sInsideAlpha = Requested(L"test.beta").result;
                        return 0;
                    });
    PluginSteps::on("beta.init",
                    []
                    {
                        sInsideBeta = Requested(L"test.alpha").result;
                        return 0;
                    });
}

void _letAlphaNeedItself()
{
    PluginSteps::on("alpha.init",
                    []
                    {
                        sInsideAlpha = Requested(L"test.alpha").result;
                        return 0;
                    });
}

void _request(const wchar_t* iId)
{
    requireEqual(0, Requested(iId).result, "the request succeeds");
    ++sEnded;
}

/// An init that enters the circle when the other one has begun.
int _meetAndRequest(const wchar_t* iOther)
{
    ++sInits;
    while (sInits < 2)
    {
        std::this_thread::yield();
    }
    return Requested(iOther).result;
}

void _stopWithCallsInside()
{
    requireEqual(0, ixlaStop(), "the core stops");
    requireEqual(0, PluginSteps::count("alpha.destroyed"), "destroyed plugins");
    requireEqual(0, PluginSteps::count("beta.destroyed"), "destroyed plugins");
    requireEqual(eIxlaCoreNotStarted, Requested(L"test.alpha").result, "a request afterwards");
}
} // namespace

SCENARIO(TwoPluginsThatNeedEachOther, .milliseconds = 13500, .jumps = false)
{
    const CoreSetup core{"alpha", "beta"};
    core.mustStart();
    _letAlphaAndBetaNeedEachOther();
    std::thread alpha([] { _request(L"test.alpha"); });
    std::thread beta([] { _request(L"test.beta"); });
    std::this_thread::sleep_for(std::chrono::seconds(6));
    requireEqual(1, PluginSteps::count("alpha.init"), "initialisations of alpha");
    requireEqual(1, PluginSteps::count("beta.init"), "initialisations of beta");
    if (sEnded == 0)
    {
        alpha.detach();
        beta.detach();
        _stopWithCallsInside();
        return;
    }
    alpha.join();
    beta.join();
    requireEqual(2, sEnded, "both requests end");
    require((sInsideAlpha == 0 && sInsideBeta == eIxlaInitFailed) ||
                (sInsideAlpha == eIxlaInitFailed && sInsideBeta == 0),
            "the inner one of both inits is refused the outer one's plugin");
    requireEqual(0, ixlaStop(), "the core stops");
    requireEqual(1, PluginSteps::count("alpha.destroyed"), "destroyed plugins");
    requireEqual(1, PluginSteps::count("beta.destroyed"), "destroyed plugins");
}

SCENARIO(CircleOfTwoThreadsWithAnOutsider, .milliseconds = 13500, .jumps = false)
{
    CoreSetup core{"alpha", "beta"};
    core.writeLogs();
    core.mustStart();
    PluginSteps::on("alpha.init", [] { return _meetAndRequest(L"test.beta"); });
    PluginSteps::on("beta.init", [] { return _meetAndRequest(L"test.alpha"); });
    std::thread([] { _request(L"test.alpha"); }).detach();
    std::thread([] { _request(L"test.beta"); }).detach();
    std::thread([] { _request(L"test.beta"); }).detach();
    std::this_thread::sleep_for(std::chrono::seconds(6));
    requireEqual(0, sEnded, "requests that end");
    requireEqual(3, core.countLines("core.log", "(circle)"), "lines about the circle");
    requireEqual(1, PluginSteps::count("alpha.init"), "initialisations of alpha");
    requireEqual(1, PluginSteps::count("beta.init"), "initialisations of beta");
    _stopWithCallsInside();
    // Every thread of the circle is inside two calls, one within the other.
    const char* const kept = "Calls that do not leave the core: 5, ";
    requireEqual(1, core.countLines("core.log", kept), "lines about the calls inside");
}

// A thread that enters the circle after the stop is refused, which ends the circle.
SCENARIO(CircleWhileTimePasses, .milliseconds = 7500)
{
    const CoreSetup core{"alpha", "beta"};
    core.mustStart();
    PluginSteps::on("alpha.init", [] { return _meetAndRequest(L"test.beta"); });
    PluginSteps::on("beta.init", [] { return _meetAndRequest(L"test.alpha"); });
    const auto request = [](const wchar_t* iId)
    {
        requireEqual(eIxlaInitFailed, Requested(iId).result, "a request that ends");
    };
    std::thread(request, L"test.alpha").detach();
    std::thread(request, L"test.beta").detach();
    while (sInits < 2)
    {
        std::this_thread::yield();
    }
    requireEqual(0, ixlaStop(), "the core stops");
    require(PluginSteps::count("alpha.destroyed") == PluginSteps::count("beta.destroyed"),
            "the stop destroys both plugins or none");
    requireEqual(eIxlaCoreNotStarted, Requested(L"test.alpha").result, "a request afterwards");
    requireEqual(eIxlaCoreNotStarted, ixlaStop(), "a second stop");
}

SCENARIO(InitThatNeedsAPluginThatOthersRequest, .milliseconds = 2500)
{
    const CoreSetup core{"alpha", "beta"};
    core.mustStart();
    PluginSteps::on("alpha.init",
                    []
                    {
                        sInsideAlpha = Requested(L"test.beta").result;
                        requireEqual(1, sInsideBeta, "beta is initialised");
                        return 0;
                    });
    PluginSteps::on("beta.init",
                    []
                    {
                        sInsideBeta = 1;
                        return 0;
                    });
    const auto request = []
    {
        _request(L"test.alpha");
        requireEqual(0, sInsideAlpha, "the inner request succeeds");
    };
    runTogether(request, request, [] { _request(L"test.beta"); });
    requireEqual(1, PluginSteps::count("alpha.init"), "initialisations of alpha");
    requireEqual(1, PluginSteps::count("beta.init"), "initialisations of beta");
    requireEqual(0, ixlaStop(), "the core stops");
    requireEqual(1, PluginSteps::count("alpha.destroyed"), "destroyed plugins");
    requireEqual(1, PluginSteps::count("beta.destroyed"), "destroyed plugins");
}

SCENARIO(InitThatRequestsItselfWithWaiters, .milliseconds = 2500)
{
    const CoreSetup core{"alpha"};
    core.mustStart();
    _letAlphaNeedItself();
    const auto request = []
    {
        _request(L"test.alpha");
        requireEqual(eIxlaInitFailed, sInsideAlpha, "the inner request fails");
    };
    runTogether(request, request, request);
    requireEqual(1, PluginSteps::count("alpha.init"), "initialisations");
    requireEqual(0, ixlaStop(), "the core stops");
    requireEqual(1, PluginSteps::count("alpha.destroyed"), "destroyed plugins");
}

SCENARIO(LoopWithAWaiterAndLogs, .milliseconds = 2500)
{
    CoreSetup core{"alpha"};
    core.writeLogs();
    core.mustStart();
    _letAlphaNeedItself();
    const auto request = []
    {
        _request(L"test.alpha");
    };
    runTogether(request, request);
    requireEqual(1, core.countLines("core.log", "] Init loop: "), "lines about the loop");
    requireEqual(0, ixlaStop(), "the core stops");
}
