// SPDX-License-Identifier: MIT
#include "IEventDispatcher.h"
#include "hostile/HostileTest.h"
#include "plugins/ITestService.h"

#include <stdexcept>

namespace
{
/// Plugins and listeners whose release throws an exception.
class HostileRelease : public HostileTest
{
protected:
    static void throwAt(const std::string& iStep)
    {
        PluginHooks::on(iStep, []() -> int { throw std::runtime_error("not today"); });
    }

    /// Initialises and returns the plugin behind an ID.
    IPlugin* plugin(const wchar_t* iId)
    {
        ITestService* const service = fCore.get<ITestService>(iId);
        return service ? service->getPlugin() : nullptr;
    }

    int logged(const std::string& iPlugin) const
    {
        return fCore.logCount(
            "] Plugin threw an exception when it was released, its library stays loaded: " +
            fCore.dir.file("plugins/lib" + iPlugin + ".so"));
    }

    /// Leaves the last reference to alpha's service, which throws when it is destroyed, to the
    /// dispatcher.
    void subscribeAlone()
    {
        startWith("alpha");
        fService = fCore.get<ITestService>(L"test.alpha");
        fDispatcher = fCore.get<IEventDispatcher>(kIxlaEventDispatcherId);
        ASSERT_EQ(0, fDispatcher->addListener(L"topic", fService));
        ASSERT_EQ(0, ixlaUnloadPlugin(fService->getPlugin()));
        throwAt("alpha.service destroyed");
    }

    int loggedListener(const std::string& iOperation) const
    {
        return countLines(fCore.pluginLogFile(),
                          "[EventDispatcher][" + iOperation +
                              "] Listener threw an exception when it was released: ") *
               countLines(fCore.pluginLogFile(),
                          " library: " + fCore.dir.file("plugins/libalpha.so"));
    }

    ITestService* fService = nullptr;
    IEventDispatcher* fDispatcher = nullptr;
};

TEST_F(HostileRelease, PluginThatThrowsWhenItIsRefusedKeepsTheReasonOfTheRefusal)
{
    fCore.addPlugin("alpha");
    fCore.addPlugin("clash");
    throwAt("clash.destroyed");
    EXPECT_EQ(eIxlaInterfaceRegistered, fCore.start());
    EXPECT_EQ(1, logged("clash"));
    EXPECT_EQ(1, PluginHooks::count("alpha.destroyed"));
}

TEST_F(HostileRelease, PluginWhoseDecRefThrowsIsAbandoned)
{
    startWith("alpha");
    throwAt("alpha.decRef");
    IPlugin* const givenUp = plugin(L"test.alpha");
    EXPECT_EQ(0, ixlaUnloadPlugin(givenUp));
    EXPECT_EQ(1, logged("alpha"));
    EXPECT_EQ(0, PluginHooks::count("alpha.destroyed"));
    EXPECT_TRUE(stopsCleanly());
    EXPECT_EQ(1, PluginHooks::count("alpha.decRef"));
    // No other object throws; the library is still mapped.
    PluginHooks::on("alpha.decRef", [] {});
    EXPECT_EQ(0, givenUp->decRef());
}

#if !defined(__SANITIZE_THREAD__)
TEST_F(HostileRelease, ExceptionOutOfAnOrdinaryDestructorEndsTheProcess)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe"); // a forked child cannot use a core
    startWith("no_interfaces");
    throwAt("no_interfaces.destroyed");
    EXPECT_DEATH(ixlaUnloadPlugin(fCore.firstPlugin()), "not today");
    PluginHooks::on("no_interfaces.destroyed", [] {});
}
#endif

TEST_F(HostileRelease, ListenerThatThrowsWhenItIsRemovedIsLogged)
{
    subscribeAlone();
    EXPECT_EQ(0, fDispatcher->removeListener(L"topic", fService));
    EXPECT_EQ(1, loggedListener("removeListener"));
    EXPECT_EQ(eIxlaNoListener, fDispatcher->send(L"topic", nullptr, 0));
    EXPECT_TRUE(stopsCleanly());
}

TEST_F(HostileRelease, ListenerThatThrowsAfterItsLastEventIsLogged)
{
    subscribeAlone();
    PluginHooks::on("alpha.event",
                    [this] { return fDispatcher->removeListener(L"topic", fService); });
    EXPECT_EQ(0, fDispatcher->send(L"topic", nullptr, 0));
    EXPECT_EQ(1, loggedListener("send"));
    EXPECT_TRUE(stopsCleanly());
}

TEST_F(HostileRelease, ListenerThatThrowsAtTheEndOfTheDispatcherIsLogged)
{
    subscribeAlone();
    EXPECT_TRUE(stopsCleanly());
    EXPECT_EQ(1, loggedListener("destructor"));
}
} // namespace
