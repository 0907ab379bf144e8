// SPDX-License-Identifier: MIT
#include "IEventDispatcher.h"
#include "Ixla.h"
#include "PBaseptr.h"
#include "core/LogOrder.h"
#include "plugins/ITestService.h"
#include "support/CoreRun.h"
#include "support/PluginHooks.h"
#include "support/PortFaults.h"

#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <future>

namespace
{
class Stop : public testing::Test
{
protected:
    Stop()
    {
        PortFaults::skipSleep = true;
        fCore.addPlugin("alpha");
    }

    ~Stop() override
    {
        PortFaults::reset();
    }

    /// Starts the core and subscribes alpha's service to the exit event.
    void startListening()
    {
        ASSERT_EQ(0, fCore.start());
        IEventDispatcher* dispatcher = fCore.get<IEventDispatcher>(kIxlaEventDispatcherId);
        ITestService* service = fCore.get<ITestService>(L"test.alpha");
        ASSERT_NE(nullptr, dispatcher);
        ASSERT_NE(nullptr, service);
        ASSERT_EQ(0, dispatcher->addListener(kIxlaCoreExitTopic, service));
    }

    /// Blocks the listener until release; waits for the mutex then time out at once.
    void holdListener()
    {
        PluginHooks::on("alpha.event",
                        [this]
                        {
                            fLeave.get_future().wait();
                            fLeft.set_value();
                        });
    }

    static std::vector<unsigned int> sleepsOf(CoreRun& ioCore)
    {
        EXPECT_EQ(0, ioCore.start());
        EXPECT_EQ(0, ioCore.stop());
        return PortFaults::sleeps();
    }

    CoreRun fCore;
    std::promise<void> fLeave;
    std::promise<void> fLeft;
};

TEST_F(Stop, MissingTimeoutTakesTheDefault)
{
    fCore.erase("core.notify.exit.timeout");
    fCore.set("core.free.plugins.lib", "true");
    EXPECT_EQ(std::vector<unsigned int>{3000}, sleepsOf(fCore));
    EXPECT_EQ(1, fCore.logCount("E Core [stopFlow] Failed to get core.notify.exit.timeout from "
                                "config use default: 300 err: -504"));
    EXPECT_EQ(1, fCore.logCount("D Core [stopFlow] freeLibsOnDestroy : 1 ms"));
    EXPECT_EQ(1, fCore.logCount(
                     "D Core [stopFlow] Sleep last chance for other threads to exit: 3000 ms"));
}

TEST_F(Stop, ZeroTimeoutStillWaitsForOneWakeUp)
{
    fCore.set("core.notify.exit.timeout", "0");
    startListening();
    EXPECT_EQ(0, fCore.stop());
    EXPECT_EQ(1, PluginHooks::count("alpha.event"));
    EXPECT_EQ(1, fCore.logCount("D Core [stopFlow] Waiting finished with timeout!"));
    EXPECT_EQ(1, fCore.logCount("D Core [stopFlow] Waiting finished fNotifyExit: 0"));
    EXPECT_EQ(1, fCore.logCount("D Core [stopFlow] Join return res: (nil) exitCode: 0"));
}

TEST_F(Stop, GraceSleepIsSkippedWhenLibrariesStay)
{
    EXPECT_TRUE(sleepsOf(fCore).empty());
    EXPECT_EQ(1, fCore.logCount("D Core [stopFlow] freeLibsOnDestroy : 0 ms"));
    EXPECT_EQ(1, fCore.logCount("D Core [stopFlow] Sleep last chance for other threads to exit: "
                                "2500 ms (SKIPPED!)"));
}

TEST_F(Stop, GraceSleepIsNeverShorterThanItsMinimum)
{
    fCore.set("core.free.plugins.lib", "true");
    fCore.set("core.notify.exit.timeout", "100");
    EXPECT_EQ(std::vector<unsigned int>{2500}, sleepsOf(fCore));
}

TEST_F(Stop, GraceSleepGrowsWithTheTimeout)
{
    fCore.set("core.free.plugins.lib", "true");
    fCore.set("core.notify.exit.timeout", "1000");
    EXPECT_EQ(std::vector<unsigned int>{10000}, sleepsOf(fCore));
}

TEST_F(Stop, NegativeTimeoutGivesAHugeGraceSleep)
{
    fCore.set("core.free.plugins.lib", "true");
    fCore.set("core.notify.exit.timeout", "-1");
    EXPECT_EQ(std::vector<unsigned int>{4294967286u}, sleepsOf(fCore));
}

TEST_F(Stop, LateListenerIsAbandonedAndMayReturnAfterTheStop)
{
    fCore.set("core.notify.exit.timeout", "0");
    startListening();
    holdListener();
    PortFaults::condVarWait.armOnThisThread(-733);
    EXPECT_EQ(0, fCore.stop());
    EXPECT_EQ(1, fCore.logCount("D Core [stopFlow] Waiting finished with timeout!"));
    EXPECT_EQ(1, fCore.logCount("D Core [stopFlow] Waiting finished fNotifyExit: 1"));
    EXPECT_EQ(0, fCore.logCount("[stopFlow] Join"));
    EXPECT_EQ(1, PluginHooks::count("alpha.destroyed"));
    EXPECT_EQ(0, PluginHooks::count("alpha.service destroyed"));
    fLeave.set_value();
    fLeft.get_future().wait();
    // The abandoned thread releases the last reference to the listener's service.
    EXPECT_TRUE(PluginHooks::waitFor("alpha.service destroyed"));
}

TEST_F(Stop, LateListenerIsAbandonedWhenTheConfiguredSecondsAreOver)
{
    fCore.set("core.notify.exit.timeout", "1");
    startListening();
    holdListener();
    PortFaults::condVarWait.armOnThisThread(-733);
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_EQ(0, fCore.stop());
    const auto waited = std::chrono::steady_clock::now() - begin;
    // The core counts in whole milliseconds.
    EXPECT_LE(std::chrono::milliseconds(999), waited);
    EXPECT_GT(std::chrono::seconds(8), waited);
    fLeave.set_value();
    fLeft.get_future().wait();
    EXPECT_TRUE(PluginHooks::waitFor("alpha.service destroyed"));
}

TEST_F(Stop, LibraryOfALateListenerStaysMapped)
{
    fCore.set("core.notify.exit.timeout", "0");
    fCore.set("core.free.plugins.lib", "true");
    startListening();
    holdListener();
    PortFaults::condVarWait.armOnThisThread(-733);
    EXPECT_EQ(0, fCore.stop());
    EXPECT_EQ(1, PluginHooks::count("alpha.destroyed"));
    EXPECT_EQ(0, PluginHooks::count("alpha.unmapped"));
    fLeave.set_value();
    EXPECT_TRUE(PluginHooks::waitFor("alpha.service destroyed"));
}

TEST_F(Stop, LibrariesAreClosedAfterEveryPluginInTheOrderTheyWereLoaded)
{
    fCore.set("core.free.plugins.lib", "true");
    fCore.addPlugin("beta");
    startListening();
    EXPECT_EQ(0, fCore.stop());
    EXPECT_LT(PluginHooks::position("alpha.destroyed"), PluginHooks::position("beta.destroyed"));
    EXPECT_LT(PluginHooks::position("beta.destroyed"), PluginHooks::position("alpha.unmapped"));
    EXPECT_LT(PluginHooks::position("alpha.unmapped"), PluginHooks::position("beta.unmapped"));
}

TEST_F(Stop, ClosedLibrariesAreUnmappedAfterEveryStop)
{
    fCore.set("core.free.plugins.lib", "true");
    for (int round = 1; round <= 2; ++round)
    {
        startListening();
        EXPECT_EQ(0, fCore.stop());
        EXPECT_EQ(std::string::npos, readFile("/proc/self/maps").find("libalpha.so"));
        EXPECT_EQ(round, PluginHooks::count("alpha.unmapped"));
    }
}

TEST_F(Stop, LogListsTheSteps)
{
    fCore.set("core.log.level", "0");
    startListening();
    EXPECT_EQ(0, fCore.stop());
    const char* const lines[] = {
        "D Core [stopFlow] Stopping core...",
        "D Core [stopFlow] Get core.notify.exit.timeout from config value: 30",
        "D Core [stopFlow] Waiting notify thread to finish timeout: 30s...",
        "D Core [notifyCoreExit] Sending event event.core.exit...",
        "D Core [notifyCoreExit] Done.",
        "D Core [thNotifyCoreExit] notifyCoreExit res: 0",
        "D Core [stopFlow] Waiting finished fNotifyExit: 0",
        "D Core [stopFlow] Join notify thread to exit...",
        "D Core [stopFlow] Join return res: (nil) exitCode: 0",
        "D Core [stopFlow] Done.",
    };
    for (const char* line : lines)
    {
        EXPECT_EQ(1, fCore.logCount(line)) << line;
    }
    EXPECT_EQ(2, fCore.logCount("D Core [stopFlow] Free mem: "));
    EXPECT_EQ(2, fCore.logCount("D Core [stopFlow] Proc mem: "));
    EXPECT_EQ(0, fCore.logCount(" E Core "));
}

TEST_F(Stop, StepsRunInTheirOrder)
{
    startListening();
    EXPECT_EQ(0, fCore.stop());
    EXPECT_EQ("", firstOutOfOrder(
                      fCore.logFile(),
                      {"[stopFlow] Stopping core...", "[stopFlow] Free mem: ",
                       "[stopFlow] Proc mem: ", "[stopFlow] Get core.notify.exit.timeout",
                       "[stopFlow] Waiting notify thread to finish",
                       "[stopFlow] Waiting finished fNotifyExit: 0",
                       "[stopFlow] Join notify thread to exit...", "[stopFlow] Join return res: ",
                       "[stopFlow] freeLibsOnDestroy : ", "[stopFlow] Sleep last chance",
                       "[stopFlow] Free mem: ", "[stopFlow] Proc mem: ", "[stopFlow] Done.",
                       "D Core **************************************************"}));
}

TEST_F(Stop, MutexThatCannotBeLockedEndsTheStopFlow)
{
    startListening();
    PortFaults::mutexLock.armOnThisThread(-22, 0, 1);
    EXPECT_EQ(-1013, fCore.stop());
    EXPECT_EQ(0, PluginHooks::count("alpha.event"));
    EXPECT_EQ(1, PluginHooks::count("alpha.destroyed"));
}

TEST_F(Stop, MutexThatCannotBeUnlockedEndsTheStopFlow)
{
    startListening();
    PluginHooks::on("alpha.event", [] {});
    PortFaults::mutexUnlock.armOnThisThread(-22, 0, 1);
    EXPECT_EQ(-1014, fCore.stop());
    EXPECT_EQ(1, PluginHooks::count("alpha.event"));
    EXPECT_EQ(0, fCore.logCount("[stopFlow] freeLibsOnDestroy"));
    EXPECT_EQ(1, PluginHooks::count("alpha.destroyed"));
    EXPECT_EQ(1, fCore.logCount("E Core [~PCore] Failed to close mutex lock err: -16"));
}

TEST_F(Stop, FailedWaitEndsTheStopFlow)
{
    startListening();
    holdListener();
    PortFaults::condVarWait.armOnThisThread(-22, 0, 1);
    EXPECT_EQ(-1015, fCore.stop());
    EXPECT_EQ(0, fCore.logCount("[stopFlow] Waiting finished"));
    EXPECT_EQ(1, PluginHooks::count("alpha.destroyed"));
    fLeave.set_value();
    EXPECT_TRUE(PluginHooks::waitFor("alpha.service destroyed"));
}

TEST_F(Stop, FailedWaitWhileTheNotifierReportsWaitsForIt)
{
    startListening();
    // The wait fails after the notifier has reported.
    PluginHooks::on("alpha.event",
                    []
                    {
                        while (PortFaults::condVarWait.hits() == 0)
                        {
                            std::this_thread::yield();
                        }
                    });
    PortFaults::condVarWait.armOnThisThread(-22, 0, 1);
    EXPECT_EQ(-1015, fCore.stop());
    EXPECT_EQ(-1002, ixlaStop());
}

TEST_F(Stop, WithoutNotifierThreadTheExitIsNotAnnounced)
{
    startListening();
    PortFaults::threadCreate.armOnThisThread(-11, 0, 1);
    EXPECT_EQ(0, fCore.stop());
    EXPECT_EQ(0, PluginHooks::count("alpha.event"));
    EXPECT_EQ(
        1, fCore.logCount("E Core [stopFlow] Failed to create notify core exit thread err: -11"));
    EXPECT_EQ(0, fCore.logCount("[stopFlow] Waiting"));
}

TEST_F(Stop, NotifierThatCannotLockIsWaitedForUntilTheLimit)
{
    fCore.set("core.notify.exit.timeout", "1");
    startListening();
    PluginHooks::on("alpha.event",
                    []
                    {
                        // This thread's two locks of the dispatcher come before.
                        PortFaults::mutexLock.armOnThisThread(-22, 0, 1);
                    });
    PortFaults::condVarWait.armOnThisThread(-733);
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_EQ(0, fCore.stop());
    // The core counts in whole milliseconds.
    EXPECT_LE(std::chrono::milliseconds(999), std::chrono::steady_clock::now() - begin);
    EXPECT_EQ(1, fCore.logCount("D Core [thNotifyCoreExit] notifyCoreExit res: -1013"));
    EXPECT_EQ(1, fCore.logCount("D Core [stopFlow] Waiting finished with timeout!"));
}

TEST_F(Stop, CloseFailuresAreLogged)
{
    startListening();
    PortFaults::mutexClose.armOnThisThread(-16);
    PortFaults::condVarClose.armOnThisThread(-16);
    EXPECT_EQ(0, fCore.stop());
    EXPECT_EQ(1, fCore.logCount("E Core [~PCore] Failed to close mutex lock err: -16"));
    EXPECT_EQ(1, fCore.logCount("E Core [~PCore] Failed to close cond var err: -16"));
}

TEST_F(Stop, FailedStartReleasesWhatWasLoaded)
{
    fCore.set("core.free.plugins.lib", "true");
    fCore.dir.write("plugins/zz.so", "text");
    EXPECT_EQ(-8, fCore.start());
    EXPECT_EQ(1, PluginHooks::count("alpha.destroyed"));
    EXPECT_EQ(1, PluginHooks::count("alpha.unmapped"));
}

TEST_F(Stop, StartingWhileAFailedStartReleasesItsPluginsIsRefused)
{
    int result = 0;
    PluginHooks::on("alpha.destroyed", [&result] { result = ixlaStart(nullptr, 0); });
    fCore.dir.write("plugins/zz.so", "text");
    EXPECT_EQ(-8, fCore.start());
    EXPECT_EQ(eIxlaCoreExists, result);
}
} // namespace
