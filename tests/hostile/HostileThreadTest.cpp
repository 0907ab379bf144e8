// SPDX-License-Identifier: MIT
#include "IEventDispatcher.h"
#include "core/LogOrder.h"
#include "hostile/HostileTest.h"
#include "plugins/ITestService.h"
#include "support/Texts.h"

#include <chrono>
#include <future>
#include <string>
#include <vector>

namespace
{
const std::string kKept = "E Core [PCore] Calls that do not leave the core: ";

class HostileThread : public HostileTest
{
protected:
    static std::future<int> requestOnThread(const std::string& iId)
    {
        return std::async(std::launch::async, [iId] { return request(iId); });
    }

    /// Lets the plugin's threads run for a while before the stop.
    void startCalling()
    {
        // Otherwise three threads that call without a pause would write gigabytes.
        fCore.set("core.log.level", "-1");
        startWith("caller");
        ASSERT_EQ(0, request("test.caller"));
        ASSERT_TRUE(waitUntil([this] { return fCore.logCount("test.nobody") > 10; }));
    }

    /// Blocks alpha's init until the test releases it.
    void holdInit()
    {
        PluginHooks::on("alpha.init", [this] { fLeave.get_future().wait(); });
    }

    std::promise<void> fLeave;
};

TEST_F(HostileThread, CallingThroughoutTheStopIsRefusedAtItsEnd)
{
    PluginHooks::on("caller.destroying", [] { return 1; });
    startCalling();
    EXPECT_EQ(0, fCore.stop());
    EXPECT_TRUE(PluginHooks::waitFor("caller.refused", 3));
    EXPECT_EQ(0, PluginHooks::count("caller.ended"));
    PluginHooks::end();
    EXPECT_TRUE(PluginHooks::waitFor("caller.ended", 3));
    EXPECT_EQ(0, PluginHooks::count("caller.surprise"));
    EXPECT_EQ(0, fCore.logCount(kKept));
    EXPECT_EQ(fCore.logCount(" E Core "), fCore.logCount("Unknown interface ID: test.nobody"));
}

TEST_F(HostileThread, CallingIsRefusedBeforeThePluginIsDestroyed)
{
    fCore.set("core.free.plugins.lib", "true");
    PluginHooks::on("caller.destroying",
                    []
                    {
                        const bool refused = PluginHooks::waitFor("caller.refused", 3);
                        PluginHooks::end();
                        return refused ? 0 : 1;
                    });
    startCalling();
    EXPECT_EQ(0, fCore.stop());
    EXPECT_EQ(3, PluginHooks::count("caller.refused"));
    EXPECT_EQ(3, PluginHooks::count("caller.ended"));
    EXPECT_EQ(0, PluginHooks::count("caller.surprise"));
    EXPECT_EQ(0, fCore.logCount(kKept));
}

TEST_F(HostileThread, StartingAndStoppingDuringTheStopIsRefused)
{
    startWith("alpha");
    IBase* instance = nullptr;
    ASSERT_EQ(0, request("test.alpha", instance));
    IEventDispatcher* dispatcher = fCore.get<IEventDispatcher>(kIxlaEventDispatcherId);
    ASSERT_EQ(0, dispatcher->addListener(kIxlaCoreExitTopic, static_cast<ITestService*>(instance)));
    std::vector<int> results;
    const auto startAndStop = [&]
    {
        results.push_back(ixlaStop());
        results.push_back(ixlaStart(nullptr, 0));
        return 0;
    };
    PluginHooks::on("alpha.event", startAndStop);
    PluginHooks::on("alpha.destroyed", startAndStop);
    EXPECT_EQ(0, fCore.stop());
    EXPECT_EQ((std::vector<int>{-1002, -1001, -1002, -1001}), results);
    EXPECT_EQ(2, fCore.logCount("E Core [PCore] Try to start already started core."));
    EXPECT_EQ(1, fCore.logCount("D Core [stopFlow] Stopping core..."));
    EXPECT_EQ(eIxlaInvalidArgument, ixlaStart(nullptr, 0));
}

TEST_F(HostileThread, StoppingWhileTheCoreStartsIsRefused)
{
    std::vector<int> results;
    for (const char* step : {"alpha.factory", "alpha.getInterfaces", "alpha.init"})
    {
        PluginHooks::on(step, [&] { results.push_back(ixlaStop()); });
    }
    fCore.set("core.autostart.list", "alpha");
    startWith("alpha");
    EXPECT_EQ((std::vector<int>{-1002, -1002, -1002}), results);
    EXPECT_TRUE(stopsCleanly());
}

TEST_F(HostileThread, CallsOfAPluginsDestructorStillFindTheCore)
{
    startWith("alpha");
    int lookup = 0;
    int unload = 0;
    bool available = true;
    PluginHooks::on("alpha.destroyed",
                    [&]
                    {
                        lookup = request("test.alpha");
                        unload = ixlaUnloadPlugin(nullptr);
                        available = ixlaIsInterfaceAvailable(L"test.alpha");
                    });
    EXPECT_EQ(0, fCore.stop());
    EXPECT_EQ(eIxlaUnknownInterface, lookup);
    EXPECT_EQ(eIxlaPluginNotFound, unload);
    EXPECT_FALSE(available);
}

TEST_F(HostileThread, InitThatEndsAfterTheStopBeganIsWaitedFor)
{
    startWith("alpha");
    PluginHooks::on("alpha.init",
                    []
                    {
                        const bool refused = waitUntil(
                            [] { return request(narrow(kIxlaLoggerId)) == eIxlaCoreNotStarted; });
                        return refused ? 0 : -1;
                    });
    std::future<int> pending = requestOnThread("test.alpha");
    ASSERT_TRUE(PluginHooks::waitFor("alpha.init"));
    EXPECT_TRUE(stopsCleanly());
    EXPECT_EQ(0, pending.get());
    EXPECT_EQ("", firstOutOfOrder(fCore.logFile(),
                                  {"D Core [stopFlow] Sleep last chance", "] Init plugin done.",
                                   "] Return instance 0x", "D Core [stopFlow] Done."}));
    EXPECT_EQ(1, PluginHooks::count("alpha.destroyed"));
}

// Both limits of 5 s, that of a wait for an init and that of the stop, are those of the real clock.
TEST_F(HostileThread, InitThatNeverEndsBlocksNeitherTheStopNorTheNextCore)
{
    fCore.addPlugin("beta");
    startWith("alpha");
    holdInit();
    std::vector<std::future<int>> pending;
    pending.push_back(requestOnThread("test.alpha"));
    ASSERT_TRUE(PluginHooks::waitFor("alpha.init"));
    pending.push_back(requestOnThread("test.alpha"));
    pending.push_back(requestOnThread("test.alpha"));
    ASSERT_TRUE(waitUntil(
        [this] { return fCore.logCount("] Waiting other thread to init plugin...") == 2; }));
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_FALSE(stopsCleanly());
    const auto taken = std::chrono::steady_clock::now() - begin;
    // The core counts in whole milliseconds.
    EXPECT_LE(std::chrono::milliseconds(4999), taken);
    EXPECT_GT(std::chrono::seconds(30), taken);
    EXPECT_TRUE(waitUntil([this] { return fCore.logCount("] Still waiting: ") >= 2; }));
    EXPECT_EQ(1, fCore.logCount(kKept + "3, keep plugins and libraries"));
    EXPECT_EQ(1, fCore.logCount("D Core [stopFlow] Done."));
    EXPECT_EQ(0, PluginHooks::count("alpha.destroyed"));
    EXPECT_EQ(0, PluginHooks::count("beta.destroyed"));
    EXPECT_EQ(eIxlaCoreNotStarted, request("test.beta"));

    fCore.set("core.log.file", fCore.dir.file("second.log"));
    fCore.set("core.load.plugin.list", "beta");
    ASSERT_EQ(0, fCore.start());
    EXPECT_EQ(0, request("test.beta"));
    EXPECT_EQ(0, fCore.stop());
    EXPECT_EQ(0, countLines(fCore.dir.file("second.log"), " E Core "));
    EXPECT_EQ(1, PluginHooks::count("beta.destroyed"));

    fLeave.set_value();
    for (std::future<int>& result : pending)
    {
        EXPECT_EQ(0, result.get());
    }
    EXPECT_EQ(2, fCore.logCount("] Waiting finished iCorePg.fInitState: 2"));
}
} // namespace
