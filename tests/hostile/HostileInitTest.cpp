// SPDX-License-Identifier: MIT
#include "hostile/HostileTest.h"

#include <chrono>
#include <future>
#include <thread>
#include <vector>

namespace
{
class HostileInit : public HostileTest
{
};

TEST_F(HostileInit, TenThreadsWaitTwelveSecondsForIt)
{
    startWith("alpha");
    PluginHooks::on("alpha.init",
                    []
                    {
                        std::this_thread::sleep_for(std::chrono::seconds(12));
                        return 0;
                    });
    const auto begin = std::chrono::steady_clock::now();
    std::vector<std::future<int>> requests;
    for (int i = 0; i < 11; ++i)
    {
        requests.push_back(std::async(std::launch::async, [] { return request("test.alpha"); }));
    }
    const std::string waiting = "] Waiting other thread to init plugin...";
    EXPECT_TRUE(waitUntil([&] { return fCore.logCount(waiting) == 10; }));
    // Other lookups succeed meanwhile.
    EXPECT_EQ(0, request("com.kelvora.ixla.logger"));
    for (std::future<int>& pending : requests)
    {
        EXPECT_EQ(0, pending.get());
    }
    EXPECT_LE(std::chrono::seconds(12), std::chrono::steady_clock::now() - begin);
    EXPECT_EQ(1, PluginHooks::count("alpha.init"));
    // They woke twice in between, logged what they wait for, and did not give up.
    EXPECT_EQ(20, fCore.logCount("I Core [intiPlugin][pg:"));
    EXPECT_EQ(10, fCore.logCount(waiting));
    EXPECT_EQ(20, fCore.logCount("D Core [intiPlugin][pg:"));
    EXPECT_EQ(10, fCore.logCount("] Waiting finished iCorePg.fInitState: 2"));
    EXPECT_EQ(11, PluginHooks::count("alpha.getInstance"));
    EXPECT_TRUE(stopsCleanly());
}

TEST_F(HostileInit, FailureDoesNotAffectOtherPluginsAndTheStop)
{
    fCore.addPlugin("beta");
    fCore.set("core.autostart.list", "alpha,beta");
    PluginHooks::on("alpha.init", []() -> int { throw 1; });
    PluginHooks::on("beta.init", [] { return -42; });
    startWith("alpha");
    EXPECT_EQ(1, fCore.logCount("] Plugin threw an exception in init"));
    EXPECT_EQ(1, fCore.logCount(
                     "E Core [initAutoStartPlugin] Failed to init autostart plugin err: -2003"));
    EXPECT_EQ(
        1, fCore.logCount("E Core [initAutoStartPlugin] Failed to init autostart plugin err: -42"));
    EXPECT_EQ(eIxlaInitFailed, request("test.alpha"));
    EXPECT_EQ(eIxlaInitFailed, request("test.beta"));
    EXPECT_EQ(0, request("com.kelvora.ixla.eventdispatcher"));
    EXPECT_TRUE(stopsCleanly());
    EXPECT_EQ(1, PluginHooks::count("alpha.destroyed"));
    EXPECT_EQ(1, PluginHooks::count("beta.destroyed"));
}

TEST_F(HostileInit, LoopsAreReportedAndTheStopIsClean)
{
    fCore.addPlugin("beta");
    PluginHooks::on("alpha.init",
                    [] { return request("test.alpha") + request("test.beta") + 2 * 2003; });
    PluginHooks::on("beta.init", [] { return request("test.alpha"); });
    startWith("alpha");
    // Both lookups of alpha failed: of itself, and of beta, which could not get alpha.
    EXPECT_EQ(0, request("test.alpha"));
    EXPECT_EQ(2, fCore.logCount("] Detect plugin init loop lock thread ID: 0x"));
    EXPECT_EQ(eIxlaInitFailed, request("test.beta"));
    EXPECT_TRUE(stopsCleanly());
}
} // namespace
