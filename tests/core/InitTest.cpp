// SPDX-License-Identifier: MIT
#include "Ixla.h"
#include "core/LogOrder.h"
#include "plugins/ITestService.h"
#include "support/CoreRun.h"
#include "support/PluginHooks.h"
#include "support/PortFaults.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <future>
#include <stdexcept>
#include <thread>

namespace
{
class Init : public testing::Test
{
protected:
    ~Init() override
    {
        PortFaults::reset();
    }

    void startWith(const std::string& iPlugin)
    {
        fCore.addPlugin(iPlugin);
        ASSERT_EQ(0, fCore.start());
    }

    static int request(const wchar_t* iId)
    {
        IBase* instance = nullptr;
        return ixlaGetInstance(iId, instance);
    }

    static std::future<int> requestOnThread(const wchar_t* iId)
    {
        return std::async(std::launch::async, [iId] { return request(iId); });
    }

    /// Waits until the core has logged a line; false after ten seconds.
    bool waitForLog(const std::string& iText, int iTimes = 1)
    {
        for (int i = 0; i < 1000 && fCore.logCount(iText) < iTimes; ++i)
        {
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        }
        return fCore.logCount(iText) >= iTimes;
    }

    CoreRun fCore;
};

/// Blocks an init until the test releases it.
class HeldInit
{
public:
    explicit HeldInit(int iResult)
    {
        PluginHooks::on("alpha.init",
                        [this, iResult]
                        {
                            fLeave.get_future().wait();
                            return iResult;
                        });
    }

    void release()
    {
        fLeave.set_value();
    }

private:
    std::promise<void> fLeave;
};

TEST_F(Init, ConcurrentRequestsInitialiseOnceOnTheFirstThread)
{
    startWith("alpha");
    HeldInit held(0);
    std::future<int> first = requestOnThread(L"test.alpha");
    ASSERT_TRUE(PluginHooks::waitFor("alpha.init"));
    std::future<int> second = requestOnThread(L"test.alpha");
    ASSERT_TRUE(waitForLog("] Waiting other thread to init plugin..."));
    EXPECT_EQ(0, PluginHooks::count("alpha.getInstance"));
    held.release();
    EXPECT_EQ(0, first.get());
    EXPECT_EQ(0, second.get());
    EXPECT_EQ(1, PluginHooks::count("alpha.init"));
    EXPECT_EQ(2, PluginHooks::count("alpha.getInstance"));
    EXPECT_EQ(1, fCore.logCount("] Waiting finished iCorePg.fInitState: 2"));
}

TEST_F(Init, WaitersOfAFailedInitialisationGetTheError)
{
    startWith("alpha");
    HeldInit held(-42);
    std::future<int> first = requestOnThread(L"test.alpha");
    ASSERT_TRUE(PluginHooks::waitFor("alpha.init"));
    std::future<int> second = requestOnThread(L"test.alpha");
    ASSERT_TRUE(waitForLog("] Waiting other thread to init plugin..."));
    held.release();
    EXPECT_EQ(-2003, first.get());
    EXPECT_EQ(-2003, second.get());
    EXPECT_EQ(1, fCore.logCount("] Waiting finished iCorePg.fInitState: 3"));
}

TEST_F(Init, WaiterContinuesAfterATimeout)
{
    startWith("alpha");
    HeldInit held(0);
    std::future<int> first = requestOnThread(L"test.alpha");
    ASSERT_TRUE(PluginHooks::waitFor("alpha.init"));
    PortFaults::condVarWait.arm(-733, 0, 3);
    std::future<int> second = requestOnThread(L"test.alpha");
    while (PortFaults::condVarWait.hits() < 3)
    {
        std::this_thread::yield();
    }
    EXPECT_EQ(std::future_status::timeout, second.wait_for(std::chrono::milliseconds(50)));
    held.release();
    EXPECT_EQ(0, first.get());
    EXPECT_EQ(0, second.get());
}

TEST_F(Init, FailedWaitIsReportedWithTheMutexLeftHeld)
{
    startWith("alpha");
    HeldInit held(0);
    std::future<int> first = requestOnThread(L"test.alpha");
    ASSERT_TRUE(PluginHooks::waitFor("alpha.init"));
    PortFaults::condVarWait.armOnThisThread(-22, 0, 1);
    EXPECT_EQ(-2003, request(L"test.alpha"));
    EXPECT_EQ(1, PortFaults::condVarWait.hits());
    EXPECT_EQ(1, fCore.logCount("] Waiting other thread to init plugin..."));
    EXPECT_EQ(1, fCore.logCount("] Failed to init plugin err: -2003"));
    EXPECT_EQ(0, fCore.logCount("] Waiting finished"));
    held.release();
    // The first thread cannot finish while this one holds the mutex.
    EXPECT_EQ(std::future_status::timeout, first.wait_for(std::chrono::milliseconds(50)));
    // It is blocked forever; only the end of the process ends it.
    std::filesystem::remove_all(fCore.dir.path());
    std::_Exit(HasFailure() ? 1 : 0);
}

TEST_F(Init, RequestForItselfOnTheSameThreadIsRefused)
{
    startWith("alpha");
    int inner = 0;
    PluginHooks::on("alpha.init", [&] { inner = request(L"test.alpha"); });
    EXPECT_EQ(0, request(L"test.alpha"));
    EXPECT_EQ(-2003, inner);
    EXPECT_EQ(1, fCore.logCount("] Detect plugin init loop lock thread ID: 0x"));
    EXPECT_EQ(1, fCore.logCount("] Failed to init plugin err: -2004"));
}

TEST_F(Init, LoopThroughAnotherPluginIsRefused)
{
    fCore.addPlugin("beta");
    startWith("alpha");
    int inner = 0;
    PluginHooks::on("alpha.init", [] { return request(L"test.beta"); });
    PluginHooks::on("beta.init", [&] { inner = request(L"test.alpha"); });
    EXPECT_EQ(0, request(L"test.alpha"));
    EXPECT_EQ(-2003, inner);
}

TEST_F(Init, FailedPluginStaysFailed)
{
    startWith("alpha");
    PluginHooks::on("alpha.init", [] { return -42; });
    EXPECT_EQ(-2003, request(L"test.alpha"));
    EXPECT_EQ(-2003, request(L"test.alpha"));
    EXPECT_EQ(1, PluginHooks::count("alpha.init"));
    EXPECT_EQ(0, PluginHooks::count("alpha.getInstance"));
    EXPECT_EQ(1, fCore.logCount("E Core [initPlugin][pg:"));
    EXPECT_EQ(2, fCore.logCount("] Failed to init plugin err: -42"));
    EXPECT_EQ(1, fCore.logCount("] Failed to init plugin err: -2003"));
}

TEST_F(Init, ThrowingInitCountsAsFailedAndWakesTheWaiters)
{
    startWith("alpha");
    std::promise<void> leave;
    PluginHooks::on("alpha.init",
                    [&]() -> int
                    {
                        leave.get_future().wait();
                        throw std::runtime_error("init");
                    });
    std::future<int> first = requestOnThread(L"test.alpha");
    ASSERT_TRUE(PluginHooks::waitFor("alpha.init"));
    std::future<int> second = requestOnThread(L"test.alpha");
    ASSERT_TRUE(waitForLog("] Waiting other thread to init plugin..."));
    leave.set_value();
    EXPECT_EQ(-2003, first.get());
    EXPECT_EQ(-2003, second.get());
    EXPECT_EQ(-2003, request(L"test.alpha"));
    EXPECT_EQ(1, fCore.logCount("] Plugin threw an exception in init"));
    EXPECT_EQ(1, PluginHooks::count("alpha.init"));
}

TEST_F(Init, UnknownInterfaceIsRefused)
{
    startWith("alpha");
    EXPECT_EQ(-2001, request(L"test.nobody"));
    EXPECT_EQ(1, fCore.logCount("E Core [getInstanceInternal] Unknown interface ID: test.nobody"));
}

TEST_F(Init, FailedPluginIsStillAvailable)
{
    startWith("alpha");
    PluginHooks::on("alpha.init", [] { return -42; });
    EXPECT_EQ(-2003, request(L"test.alpha"));
    EXPECT_TRUE(ixlaIsInterfaceAvailable(L"test.alpha"));
}

TEST_F(Init, ResultOfGetInstanceIsPassedThrough)
{
    startWith("alpha");
    PluginHooks::on("alpha.getInstance", [] { return -77; });
    EXPECT_EQ(-77, request(L"test.alpha"));
    EXPECT_EQ(1, fCore.logCount("] Failed to get instance err: -77"));
}

TEST_F(Init, ThrowingGetInstanceReturnsACode)
{
    startWith("alpha");
    PluginHooks::on("alpha.getInstance", []() -> int { throw std::runtime_error("get"); });
    EXPECT_EQ(-2003, request(L"test.alpha"));
    EXPECT_EQ(1, fCore.logCount("] Plugin threw an exception in getInstance"));
}

TEST_F(Init, LookupLinesHaveTheirLevels)
{
    fCore.set("core.log.level", "1");
    startWith("alpha");
    const int frames = fCore.logCount("*****");
    EXPECT_EQ(0, request(L"test.alpha"));
    EXPECT_EQ(frames, fCore.logCount("*****"));
    EXPECT_EQ(0, fCore.logCount("[getInstanceInternal] Get instance for interface ID"));
    EXPECT_EQ(0, fCore.logCount("] Get instance from plugin"));
    EXPECT_EQ(0, fCore.logCount("] Return instance"));
    EXPECT_EQ(1, fCore.logCount("I Core [getInstanceInternal] Call initPlugin() for " +
                                fCore.dir.file("plugins/libalpha.so")));
}

TEST_F(Init, LookupLinesOfHigherLevelsAreLeftOut)
{
    fCore.set("core.log.level", "0");
    startWith("alpha");
    EXPECT_EQ(0, request(L"test.alpha"));
    EXPECT_EQ(0, fCore.logCount("[getInstanceInternal]"));
    EXPECT_LE(1, fCore.logCount("I Core [initPlugin] Proc mem after plugin: ["));
}

TEST_F(Init, LogListsTheStepsInOrder)
{
    startWith("alpha");
    EXPECT_EQ(0, request(L"test.alpha"));
    EXPECT_EQ("",
              firstOutOfOrder(
                  fCore.logFile(),
                  {"D Core [getInstanceInternal] Get instance for interface ID: test.alpha",
                   "I Core [getInstanceInternal] Call initPlugin() for " +
                       fCore.dir.file("plugins/libalpha.so"),
                   "] Init plugin in thread ID: 0x", "D Core [initPlugin] Free mem: ",
                   "I Core [initPlugin] Proc mem before plugin: [", "] Init plugin done.",
                   "D Core [initPlugin] Free mem: ", "I Core [initPlugin] Proc mem after plugin: [",
                   "D Core [getInstanceInternal][pg:0x", "] Return instance 0x",
                   "D Core **************************************************"}));
    EXPECT_EQ(1, fCore.logCount("I Core [getInstanceInternal] Call initPlugin() for "));
}

TEST_F(Init, MutexThatCannotBeLockedFailsTheRequest)
{
    startWith("alpha");
    PortFaults::mutexLock.armOnThisThread(-22, 0, 1);
    EXPECT_EQ(-2003, request(L"test.alpha"));
    EXPECT_EQ(1, fCore.logCount("] Failed to init plugin err: -1013"));
    EXPECT_EQ(0, PluginHooks::count("alpha.init"));
}

TEST_F(Init, MutexThatCannotBeLockedAfterInitLeavesThePluginInitialising)
{
    startWith("alpha");
    PluginHooks::on("alpha.init", [] { PortFaults::mutexLock.armOnThisThread(-22, 0, 1); });
    EXPECT_EQ(-2003, request(L"test.alpha"));
    EXPECT_EQ(1, fCore.logCount("] Failed to init plugin err: -1013"));
    // This thread is still recorded as the initialising one.
    EXPECT_EQ(-2003, request(L"test.alpha"));
    EXPECT_EQ(1, fCore.logCount("] Failed to init plugin err: -2004"));
}

TEST_F(Init, MutexThatCannotBeUnlockedFailsTheRequest)
{
    startWith("alpha");
    PortFaults::mutexUnlock.armOnThisThread(-22, 0, 1);
    EXPECT_EQ(-2003, request(L"test.alpha"));
    EXPECT_EQ(1, fCore.logCount("] Failed to init plugin err: -1014"));
    // The plugin stays recorded as being initialised by this thread.
    EXPECT_EQ(-2003, request(L"test.alpha"));
    EXPECT_EQ(1, fCore.logCount("] Failed to init plugin err: -2004"));
    EXPECT_EQ(0, PluginHooks::count("alpha.init"));
}

TEST_F(Init, MutexThatCannotBeUnlockedAfterInitFailsTheRequest)
{
    startWith("alpha");
    PluginHooks::on("alpha.init", [] { PortFaults::mutexUnlock.armOnThisThread(-22, 0, 1); });
    EXPECT_EQ(-2003, request(L"test.alpha"));
    EXPECT_EQ(1, fCore.logCount("] Failed to init plugin err: -1014"));
    // The plugin itself is initialised; the mutex stayed with this thread, which may go on.
    EXPECT_EQ(0, request(L"test.alpha"));
    EXPECT_EQ(1, PluginHooks::count("alpha.init"));
}

TEST_F(Init, MutexThatCannotBeUnlockedAfterALoopFailsTheRequest)
{
    startWith("alpha");
    int inner = 0;
    PluginHooks::on("alpha.init",
                    [&]
                    {
                        PortFaults::mutexUnlock.armOnThisThread(-22, 0, 1);
                        inner = request(L"test.alpha");
                    });
    EXPECT_EQ(0, request(L"test.alpha"));
    EXPECT_EQ(-2003, inner);
    EXPECT_EQ(1, fCore.logCount("] Failed to init plugin err: -1014"));
    EXPECT_EQ(0, fCore.logCount("] Failed to init plugin err: -2004"));
}

TEST_F(Init, SignalThatCannotBeSentFailsTheRequest)
{
    startWith("alpha");
    PortFaults::condVarNotifyAll.armOnThisThread(-22, 0, 1);
    EXPECT_EQ(-2003, request(L"test.alpha"));
    EXPECT_EQ(1, fCore.logCount("] Failed to init plugin err: -2003"));
    // The plugin itself is initialised; the mutex stayed with this thread, which may go on.
    EXPECT_EQ(0, request(L"test.alpha"));
}

class Unload : public Init
{
};

TEST_F(Unload, RemovesAllInterfacesOfThePlugin)
{
    startWith("beta");
    ITestService* service = fCore.get<ITestService>(L"test.beta");
    ASSERT_NE(nullptr, service);
    EXPECT_EQ(0, ixlaUnloadPlugin(service->getPlugin()));
    EXPECT_EQ(-2001, request(L"test.beta"));
    EXPECT_EQ(-2001, request(L"test.beta.second"));
    EXPECT_EQ(1, PluginHooks::count("beta.destroyed"));
    EXPECT_EQ(1, fCore.logCount("D Core [ixlaUnloadPlugin] Remove interface ID: test.beta.second"));
    EXPECT_EQ(1, fCore.logCount("D Core [ixlaUnloadPlugin] Remove corePlugin: 0x"));
    EXPECT_EQ(1, fCore.logCount("D Core [ixlaUnloadPlugin] iPlugin: 0x"));
    EXPECT_EQ(1, fCore.logCount("D Core [ixlaUnloadPlugin] return res: 0"));
}

TEST_F(Unload, PluginThatWasNeverInitialisedAndOffersNothingCanBeUnloaded)
{
    startWith("no_interfaces");
    IPlugin* const plugin = fCore.firstPlugin();
    ASSERT_NE(nullptr, plugin);
    EXPECT_EQ(0, ixlaUnloadPlugin(plugin));
    EXPECT_EQ(0, PluginHooks::count("no_interfaces.init"));
    EXPECT_EQ(1, PluginHooks::count("no_interfaces.destroyed"));
    EXPECT_EQ(0, fCore.logCount("[ixlaUnloadPlugin] Remove interface ID: "));
}

TEST_F(Unload, OtherPluginsStayInTheirOrder)
{
    fCore.addPlugin("no_interfaces");
    fCore.addPlugin("twice");
    startWith("beta");
    ITestService* service = fCore.get<ITestService>(L"test.beta");
    ASSERT_NE(nullptr, service);
    ASSERT_EQ(0, ixlaUnloadPlugin(service->getPlugin()));
    ASSERT_EQ(0, request(L"test.twice"));
    ASSERT_EQ(0, fCore.stop());
    EXPECT_LT(PluginHooks::position("no_interfaces.destroyed"),
              PluginHooks::position("twice.destroyed"));
}

TEST_F(Unload, SecondUnloadFindsNothing)
{
    startWith("alpha");
    ITestService* service = fCore.get<ITestService>(L"test.alpha");
    ASSERT_NE(nullptr, service);
    IPlugin* const plugin = service->getPlugin();
    EXPECT_EQ(0, ixlaUnloadPlugin(plugin));
    EXPECT_EQ(-1016, ixlaUnloadPlugin(plugin));
    EXPECT_EQ(1, fCore.logCount("D Core [ixlaUnloadPlugin] return res: -1016"));
}

TEST_F(Unload, ClosesTheLibraryWhenLibrariesAreFreed)
{
    PortFaults::skipSleep = true;
    fCore.set("core.free.plugins.lib", "true");
    startWith("alpha");
    ITestService* service = fCore.get<ITestService>(L"test.alpha");
    ASSERT_NE(nullptr, service);
    EXPECT_EQ(0, ixlaUnloadPlugin(service->getPlugin()));
    EXPECT_LT(PluginHooks::position("alpha.destroyed"), PluginHooks::position("alpha.unmapped"));
    EXPECT_EQ(1, PluginHooks::count("alpha.unmapped"));
    EXPECT_EQ(0, fCore.stop());
}

TEST_F(Unload, FailingLockAndUnlockAreReported)
{
    startWith("alpha");
    ITestService* service = fCore.get<ITestService>(L"test.alpha");
    ASSERT_NE(nullptr, service);
    IPlugin* const plugin = service->getPlugin();
    PortFaults::mutexLock.armOnThisThread(-22, 0, 1);
    EXPECT_EQ(-1013, ixlaUnloadPlugin(plugin));
    EXPECT_EQ(0, PluginHooks::count("alpha.destroyed"));
    PortFaults::mutexUnlock.armOnThisThread(-22, 0, 1);
    EXPECT_EQ(-1014, ixlaUnloadPlugin(nullptr));
    EXPECT_EQ(0, fCore.logCount("[ixlaUnloadPlugin] return res: "));
}
} // namespace
