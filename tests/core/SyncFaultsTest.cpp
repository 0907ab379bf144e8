// SPDX-License-Identifier: MIT
#include "IEventDispatcher.h"
#include "Ixla.h"
#include "plugins/ITestService.h"
#include "support/CoreRun.h"
#include "support/PluginHooks.h"
#include "support/PortFaults.h"

#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <future>
#include <thread>

// The results and log lines of the core when its mutex or its condition variable fails for waiting
// threads, plugins of the autostart list, and the thread that sends the exit event.

namespace
{
constexpr int kFault = -22;

class SyncFaults : public testing::Test
{
protected:
    SyncFaults()
    {
        PortFaults::skipSleep = true;
        fCore.addPlugin("alpha");
    }

    ~SyncFaults() override
    {
        PortFaults::reset();
    }

    static int request()
    {
        IBase* instance = nullptr;
        return ixlaGetInstance(L"test.alpha", instance);
    }

    /// Starts with alpha in the autostart list; ioFault fails once when its init has returned.
    int startWithFaultAfterInit(PortFault& ioFault)
    {
        fCore.set("core.autostart.list", "alpha");
        PluginHooks::on("alpha.init", [&ioFault] { ioFault.armOnThisThread(kFault, 0, 1); });
        return fCore.start();
    }

    /// Starts with alpha's service as listener of the exit event; ioFault fails once when the
    /// notifier thread has called it and reports.
    void startWithFaultInReport(PortFault& ioFault)
    {
        PluginHooks::on("alpha.event", [&ioFault] { ioFault.armOnThisThread(kFault, 0, 1); });
        ASSERT_EQ(0, fCore.start());
        IEventDispatcher* dispatcher = fCore.get<IEventDispatcher>(kIxlaEventDispatcherId);
        ITestService* service = fCore.get<ITestService>(L"test.alpha");
        ASSERT_NE(nullptr, dispatcher);
        ASSERT_NE(nullptr, service);
        ASSERT_EQ(0, dispatcher->addListener(kIxlaCoreExitTopic, service));
    }

    bool waitForLog(const std::string& iText) const
    {
        for (int i = 0; i < 1000 && fCore.logCount(iText) == 0; ++i)
        {
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        }
        return fCore.logCount(iText) == 1;
    }

    /// Whether the core's mutex is held: an unload then waits.
    static bool isMutexKept(std::future<int>& oRequest)
    {
        oRequest = std::async(std::launch::async, [] { return ixlaUnloadPlugin(nullptr); });
        return oRequest.wait_for(std::chrono::milliseconds(100)) == std::future_status::timeout;
    }

    /// For threads that wait forever: only the end of the process ends them.
    [[noreturn]] void endProcess() const
    {
        std::filesystem::remove_all(fCore.dir.path());
        std::_Exit(HasFailure() ? 1 : 0);
    }

    CoreRun fCore;
};
} // namespace

TEST_F(SyncFaults, WaiterThatCannotUnlockGetsAnError)
{
    ASSERT_EQ(0, fCore.start());
    std::promise<void> leave;
    PluginHooks::on("alpha.init", [&leave] { leave.get_future().wait(); });
    std::future<int> first = std::async(std::launch::async, &SyncFaults::request);
    ASSERT_TRUE(PluginHooks::waitFor("alpha.init"));
    std::future<int> second = std::async(std::launch::async,
                                         []
                                         {
                                             PortFaults::mutexUnlock.armOnThisThread(kFault, 0, 1);
                                             return request();
                                         });
    ASSERT_TRUE(waitForLog("] Waiting other thread to init plugin..."));
    leave.set_value();
    EXPECT_EQ(-2003, second.get());
    EXPECT_EQ(1, fCore.logCount("] Waiting finished iCorePg.fInitState: 2"));
    EXPECT_EQ(1, fCore.logCount("] Failed to init plugin err: -1014"));
    // The ended thread still holds the mutex.
    endProcess();
}

TEST_F(SyncFaults, WaitersKeepWaitingForAThreadThatCannotLockAfterItsInit)
{
    ASSERT_EQ(0, fCore.start());
    std::promise<void> leave;
    PluginHooks::on("alpha.init",
                    [&leave]
                    {
                        leave.get_future().wait();
                        PortFaults::mutexLock.armOnThisThread(kFault, 0, 1);
                    });
    std::future<int> first = std::async(std::launch::async, &SyncFaults::request);
    ASSERT_TRUE(PluginHooks::waitFor("alpha.init"));
    std::future<int> second = std::async(std::launch::async, &SyncFaults::request);
    ASSERT_TRUE(waitForLog("] Waiting other thread to init plugin..."));
    // A thread that starts after the first one has ended could have its number.
    std::promise<void> goOn;
    std::future<int> third = std::async(std::launch::async,
                                        [&goOn]
                                        {
                                            goOn.get_future().wait();
                                            return request();
                                        });
    leave.set_value();
    EXPECT_EQ(-2003, first.get());
    EXPECT_EQ(1, fCore.logCount("] Failed to init plugin err: -1013"));
    // A second lookup is the same: the plugin stays recorded as being initialised.
    PortFaults::condVarWait.arm(-733, 0, 3);
    goOn.set_value();
    while (PortFaults::condVarWait.hits() < 3)
    {
        std::this_thread::yield();
    }
    EXPECT_EQ(std::future_status::timeout, second.wait_for(std::chrono::milliseconds(50)));
    EXPECT_EQ(std::future_status::timeout, third.wait_for(std::chrono::milliseconds(50)));
    EXPECT_EQ(0, fCore.logCount("] Waiting finished"));
    endProcess();
}

TEST_F(SyncFaults, InitialisedPluginIsFoundWithoutALock)
{
    ASSERT_EQ(0, fCore.start());
    ASSERT_EQ(0, request());
    PortFaults::mutexLock.armOnThisThread(kFault, 0, 1);
    EXPECT_EQ(0, request());
    EXPECT_EQ(0, PortFaults::mutexLock.hits());
}

TEST_F(SyncFaults, UnlockThatFailsForAFailedPluginChangesNoCode)
{
    PluginHooks::on("alpha.init", [] { return -7; });
    ASSERT_EQ(0, fCore.start());
    ASSERT_EQ(-2003, request());
    PortFaults::mutexUnlock.armOnThisThread(kFault, 0, 1);
    EXPECT_EQ(-2003, request());
    EXPECT_EQ(1, PortFaults::mutexUnlock.hits());
    EXPECT_EQ(0, fCore.logCount("] Failed to init plugin err: -1014"));
}

TEST_F(SyncFaults, AutostartThatCannotLockIsLoggedAndDoesNotFailTheStart)
{
    EXPECT_EQ(0, startWithFaultAfterInit(PortFaults::mutexLock));
    EXPECT_EQ(1, fCore.logCount(
                     "E Core [initAutoStartPlugin] Failed to init autostart plugin err: -1013"));
}

TEST_F(SyncFaults, AutostartThatCannotUnlockIsLoggedAndDoesNotFailTheStart)
{
    EXPECT_EQ(0, startWithFaultAfterInit(PortFaults::mutexUnlock));
    EXPECT_EQ(1, fCore.logCount(
                     "E Core [initAutoStartPlugin] Failed to init autostart plugin err: -1014"));
    EXPECT_EQ(0, request());
}

TEST_F(SyncFaults, AutostartThatCannotSignalIsLoggedAndDoesNotFailTheStart)
{
    EXPECT_EQ(0, startWithFaultAfterInit(PortFaults::condVarNotifyAll));
    EXPECT_EQ(1, fCore.logCount(
                     "E Core [initAutoStartPlugin] Failed to init autostart plugin err: -2003"));
    EXPECT_EQ(0, request());
}

TEST_F(SyncFaults, EarlyEndOfTheStopLogsNoSuccess)
{
    ASSERT_EQ(0, fCore.start());
    PortFaults::mutexLock.armOnThisThread(kFault, 0, 1);
    EXPECT_EQ(-1013, fCore.stop());
    EXPECT_EQ(1, fCore.logCount("D Core [stopFlow] Stopping core..."));
    EXPECT_EQ(0, fCore.logCount("[stopFlow] Waiting"));
    EXPECT_EQ(0, fCore.logCount("[stopFlow] Done."));
    EXPECT_EQ(1, PluginHooks::count("alpha.destroyed"));
}

TEST_F(SyncFaults, StopThatCanNeitherAnnounceNorUnlockIsReported)
{
    ASSERT_EQ(0, fCore.start());
    PortFaults::threadCreate.armOnThisThread(-11, 0, 1);
    PortFaults::mutexUnlock.armOnThisThread(kFault, 0, 1);
    EXPECT_EQ(-1014, fCore.stop());
    EXPECT_EQ(
        1, fCore.logCount("E Core [stopFlow] Failed to create notify core exit thread err: -11"));
    EXPECT_EQ(0, fCore.logCount("[stopFlow] Done."));
    EXPECT_EQ(1, fCore.logCount("E Core [~PCore] Failed to close mutex lock err: -16"));
    EXPECT_EQ(1, PluginHooks::count("alpha.destroyed"));
}

// The notifier thread ends with the mutex locked, and the stop waits for it forever.
TEST_F(SyncFaults, AnnouncerThatCannotSignalHoldsTheMutex)
{
    startWithFaultInReport(PortFaults::condVarNotifyAll);
    std::future<int> stop = std::async(std::launch::async, &ixlaStop);
    ASSERT_TRUE(waitForLog("D Core [thNotifyCoreExit] notifyCoreExit res: -1015"));
    EXPECT_EQ(0, fCore.logCount("[notifyCoreExit] Done."));
    std::future<int> waiting;
    EXPECT_TRUE(isMutexKept(waiting));
    EXPECT_EQ(0, fCore.logCount("[stopFlow] Waiting finished"));
    endProcess();
}

TEST_F(SyncFaults, AnnouncerThatCannotUnlockHoldsTheMutex)
{
    // After the event, the next unlock is that of the report.
    startWithFaultInReport(PortFaults::mutexUnlock);
    std::future<int> stop = std::async(std::launch::async, &ixlaStop);
    ASSERT_TRUE(waitForLog("D Core [thNotifyCoreExit] notifyCoreExit res: -1014"));
    EXPECT_EQ(0, fCore.logCount("[notifyCoreExit] Done."));
    std::future<int> waiting;
    EXPECT_TRUE(isMutexKept(waiting));
    EXPECT_EQ(0, fCore.logCount("[stopFlow] Waiting finished"));
    endProcess();
}
