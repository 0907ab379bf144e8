// SPDX-License-Identifier: MIT
#include "hostile/HostileTest.h"

namespace
{
class HostileInit : public HostileTest
{
};

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
