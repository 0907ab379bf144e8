// SPDX-License-Identifier: MIT
// Calls that stay inside a core for longer than its stop waits: the core is never destroyed.

#include "Scenario.h"
#include "scenarios/support/CoreSetup.h"
#include "scenarios/support/PluginSteps.h"

#include <atomic>
#include <chrono>
#include <future>
#include <string>
#include <thread>

using schedules::require;
using schedules::requireEqual;

namespace
{
constexpr char kKept[] = "Calls that do not leave the core: ";

/// The first init of a plugin, which stays until it is released. Later ones return at once.
class HeldInit
{
public:
    explicit HeldInit(const std::string& iPlugin)
    {
        PluginSteps::on(iPlugin + ".init",
                        [this]
                        {
                            if (!fEntered.exchange(true))
                            {
                                fHasBegun.set_value();
                                fMayEnd.get_future().wait();
                            }
                            return 0;
                        });
    }

    void await()
    {
        fHasBegun.get_future().wait();
    }

    void release()
    {
        fMayEnd.set_value();
    }

private:
    std::atomic<bool> fEntered{false};
    std::promise<void> fHasBegun;
    std::promise<void> fMayEnd;
};

void _request(const wchar_t* iId)
{
    const Requested requested(iId);
    requireEqual(0, requested.result, "the request succeeds");
    require(requested.instance, "the request gets the service");
}

void _startWithLog(CoreSetup& ioCore, const char* iLog)
{
    ioCore.set("core.log.file", ioCore.path(iLog));
    ioCore.mustStart();
}

/// The stop waits from the end of its pause, at 2.5 s, until 7.5 s. Returns whether the core is
/// kept.
bool _stopDuringAnInitOf(int iMilliseconds)
{
    const CoreSetup core{"alpha"};
    core.mustStart();
    std::promise<void> begun;
    PluginSteps::on("alpha.init",
                    [&]
                    {
                        begun.set_value();
                        std::this_thread::sleep_for(std::chrono::milliseconds(iMilliseconds));
                        return 0;
                    });
    std::thread other([] { _request(L"test.alpha"); });
    begun.get_future().wait();
    requireEqual(0, ixlaStop(), "the core stops");
    const int destroyed = PluginSteps::count("alpha.destroyed");
    requireEqual(destroyed, PluginSteps::count("alpha.unmapped"), "closed libraries");
    other.join();
    requireEqual(destroyed, PluginSteps::count("alpha.destroyed"), "plugins destroyed later");
    return destroyed == 0;
}
} // namespace

SCENARIO(CallThatLeavesAfter4999Milliseconds, .milliseconds = 7499, .jumps = false)
{
    require(!_stopDuringAnInitOf(2500 + 4999), "the core is destroyed");
}

// The call leaves at the moment at which the stop's wait ends: either result is right.
SCENARIO(CallThatLeavesAfter5000Milliseconds, .milliseconds = 7500, .jumps = false)
{
    _stopDuringAnInitOf(2500 + 5000);
}

SCENARIO(CallThatLeavesAfter5001Milliseconds, .milliseconds = 7501, .jumps = false)
{
    require(_stopDuringAnInitOf(2500 + 5001), "the core is kept");
}

// The init is a call inside, so the stop waits for it in vain.
SCENARIO(StopInsideAnInit, .milliseconds = 7500, .jumps = false)
{
    CoreSetup core{"alpha"};
    core.writeLogs();
    core.mustStart();
    PluginSteps::on("alpha.init",
                    []
                    {
                        requireEqual(0, ixlaStop(), "the stop");
                        return 0;
                    });
    const char* const done = "] Init plugin done.";
    const int inits = core.countLines("core.log", done);
    std::thread other(
        []
        {
            const int result = Requested(kIxlaLoggerId).result;
            require(result == 0 || result == eIxlaCoreNotStarted, "the request of another thread");
        });
    _request(L"test.alpha");
    other.join();
    requireEqual(7500, static_cast<long long>(schedules::nanoseconds() / 1000000), "milliseconds");
    requireEqual(inits + 1, core.countLines("core.log", done), "ended inits");
    const char* const kept = "Calls that do not leave the core: 1, keep plugins and libraries";
    requireEqual(1, core.countLines("core.log", kept), "lines about the call inside");
    requireEqual(0, PluginSteps::count("alpha.destroyed"), "destroyed plugins");
    requireEqual(0, PluginSteps::count("alpha.unmapped"), "closed libraries");
    requireEqual(eIxlaCoreNotStarted, Requested(L"test.alpha").result, "a request afterwards");
    requireEqual(eIxlaCoreNotStarted, ixlaStop(), "a second stop");
}

// The calls in the first core end while the second one starts, serves and stops.
SCENARIO(KeptCallsBesideASecondCore, .milliseconds = 10000, .jumps = false)
{
    CoreSetup core{"alpha"};
    core.writeLogs();
    core.mustStart();
    HeldInit held("alpha");
    const int inits = core.countLines("core.log", "] Init plugin done.");
    std::thread first([] { _request(L"test.alpha"); });
    held.await();
    std::thread second(
        []
        {
            const int result = Requested(L"test.alpha").result;
            require(result == 0 || result == eIxlaCoreNotStarted, "the request of a waiter");
        });
    requireEqual(0, ixlaStop(), "the first core stops");
    requireEqual(0, PluginSteps::count("alpha.destroyed"), "destroyed plugins");

    held.release();
    _startWithLog(core, "second.log");
    _request(L"test.alpha");
    requireEqual(0, ixlaStop(), "the second core stops");
    first.join();
    second.join();
    requireEqual(2, PluginSteps::count("alpha.init"), "initialisations, one for each core");
    requireEqual(1, PluginSteps::count("alpha.destroyed"), "plugins of the second core");
    requireEqual(0, PluginSteps::count("alpha.unmapped"), "closed libraries");
    requireEqual(1, core.countLines("core.log", kKept), "lines about the calls inside");
    requireEqual(0, core.countLines("second.log", kKept), "such lines of the second core");
    const char* const done = "] Init plugin done.";
    requireEqual(inits + 1, core.countLines("core.log", done), "inits of the first core");
    requireEqual(inits + 1, core.countLines("second.log", done), "inits of the second core");
    requireEqual(core.countLines("core.log", "Waiting other thread to init"),
                 core.countLines("core.log", "Waiting finished iCorePg"), "ends of waits");
    requireEqual(0, core.countLines("second.log", "Waiting finished iCorePg"), "waits");
    requireEqual(0, core.countLines("second.log", " E Core "), "error lines");
}

// The stop of the second core waits only for the calls inside that core.
SCENARIO(KeptCallThatOutlivesASecondCore, .milliseconds = 5000, .jumps = false)
{
    CoreSetup core{"alpha"};
    core.keepLibraries();
    core.mustStart();
    HeldInit held("alpha");
    std::thread first([] { _request(L"test.alpha"); });
    held.await();
    requireEqual(0, ixlaStop(), "the first core stops");
    core.mustStart();
    requireEqual(0, ixlaStop(), "the second core stops");
    requireEqual(1, PluginSteps::count("alpha.destroyed"), "plugins of the second core");
    held.release();
    first.join();
    requireEqual(1, PluginSteps::count("alpha.destroyed"), "plugins destroyed later");
}

// What the init of the first core looks up after its stop is the second core's, if that runs.
SCENARIO(KeptInitThatLooksUpAfterTheStop, .milliseconds = 10000, .jumps = false)
{
    const CoreSetup core{"alpha", "beta"};
    core.mustStart();
    static std::promise<void> begun;
    static std::promise<void> mayEnd;
    PluginSteps::on("alpha.init",
                    []
                    {
                        begun.set_value();
                        mayEnd.get_future().wait();
                        const int result = Requested(L"test.beta").result;
                        require(result == 0 || result == eIxlaCoreNotStarted, "the inner lookup");
                        return 0;
                    });
    std::thread other([] { _request(L"test.alpha"); });
    begun.get_future().wait();
    requireEqual(0, ixlaStop(), "the first core stops");
    mayEnd.set_value();
    core.mustStart();
    _request(L"test.beta");
    requireEqual(0, ixlaStop(), "the second core stops");
    other.join();
    requireEqual(1, PluginSteps::count("beta.init"), "initialisations of beta");
    requireEqual(1, PluginSteps::count("alpha.destroyed"), "plugins of the second core");
    requireEqual(1, PluginSteps::count("beta.destroyed"), "plugins of the second core");
}

SCENARIO(TwoKeptCoresBesideAThird, .milliseconds = 17500, .jumps = false)
{
    CoreSetup core{"alpha", "beta"};
    core.writeLogs();
    core.mustStart();
    HeldInit heldAlpha("alpha");
    HeldInit heldBeta("beta");
    std::thread first([] { _request(L"test.alpha"); });
    heldAlpha.await();
    requireEqual(0, ixlaStop(), "the first core stops");
    _startWithLog(core, "second.log");
    std::thread second([] { _request(L"test.beta"); });
    heldBeta.await();
    requireEqual(0, ixlaStop(), "the second core stops");
    requireEqual(1, core.countLines("core.log", kKept), "calls inside the first core");
    requireEqual(1, core.countLines("second.log", kKept), "calls inside the second core");

    heldAlpha.release();
    heldBeta.release();
    _startWithLog(core, "third.log");
    _request(L"test.alpha");
    _request(L"test.beta");
    requireEqual(0, ixlaStop(), "the third core stops");
    requireEqual(1, PluginSteps::count("alpha.destroyed"), "plugins of the third core");
    requireEqual(1, PluginSteps::count("beta.destroyed"), "plugins of the third core");
    first.join();
    second.join();
    requireEqual(2, PluginSteps::count("alpha.init"), "initialisations of alpha");
    requireEqual(2, PluginSteps::count("beta.init"), "initialisations of beta");
    requireEqual(0, core.countLines("third.log", " E Core "), "error lines");
    requireEqual(eIxlaCoreNotStarted, ixlaStop(), "another stop");
}
