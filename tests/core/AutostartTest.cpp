// SPDX-License-Identifier: MIT
#include "core/PCore.h"
#include "plugins/ITestService.h"
#include "support/CoreRun.h"
#include "support/PluginHooks.h"
#include "support/PortFaults.h"
#include "support/Texts.h"

#include <gtest/gtest.h>

#include <atomic>
#include <filesystem>
#include <functional>
#include <future>
#include <thread>

namespace
{
class Autostart : public testing::Test
{
protected:
    /// Two libraries with the same file name in two directories.
    void SetUp() override
    {
        fCore.addPlugin("alpha", "same");
        fCore.addPlugin("beta");
        ASSERT_EQ(0, fCore.start());
        std::filesystem::create_directory(fCore.dir.file("more"));
        std::filesystem::copy_file(fCore.dir.file("plugins/libbeta.so"),
                                   fCore.dir.file("more/libsame.so"));
        ITestService* service = fCore.get<ITestService>(L"test.beta");
        ASSERT_NE(nullptr, service);
        ASSERT_EQ(0, ixlaUnloadPlugin(service->getPlugin()));
        ASSERT_EQ(0, PCore::getCore()->loadPluginLib(fCore.dir.wideFile("more/libsame.so")));
    }

    int init(const wchar_t* iName)
    {
        PString name(iName);
        return PCore::getCore()->initAutoStartPlugin(name);
    }

    CoreRun fCore;
};

TEST_F(Autostart, NameThatMatchesTwoLibrariesInitialisesBoth)
{
    EXPECT_EQ(0, init(L"libsame.so"));
    EXPECT_EQ(1, PluginHooks::count("alpha.init"));
    EXPECT_EQ(2, PluginHooks::count("beta.init")); // once before it was unloaded
}

TEST_F(Autostart, ResultIsThatOfTheLastMatch)
{
    PluginHooks::on("alpha.init", [] { return -1; });
    PluginHooks::on("beta.init", [] { return -42; });
    EXPECT_EQ(-42, init(L"libsame.so"));
}

TEST_F(Autostart, FailureBeforeTheLastMatchIsOnlyLogged)
{
    PluginHooks::on("alpha.init", [] { return -1; });
    EXPECT_EQ(0, init(L"libsame.so"));
    EXPECT_EQ(
        1, fCore.logCount("E Core [initAutoStartPlugin] Failed to init autostart plugin err: -1"));
}

TEST_F(Autostart, NameWithoutAMatchIsNotAFailure)
{
    EXPECT_EQ(0, init(L"same"));
    EXPECT_EQ(0, PluginHooks::count("alpha.init"));
}

TEST_F(Autostart, NameOfAnUnloadedPluginHasNoMatch)
{
    EXPECT_EQ(0, init(L"libbeta.so"));
    EXPECT_EQ(1, PluginHooks::count("beta.init")); // before it was unloaded
}

TEST_F(Autostart, UnloadDuringTheWalkSkipsNoOtherPlugin)
{
    ITestService* const alpha = fCore.get<ITestService>(L"test.alpha");
    ASSERT_NE(nullptr, alpha);
    std::filesystem::create_directory(fCore.dir.file("third"));
    std::filesystem::copy_file(IXLAL_TEST_PLUGINS "/gamma/libgamma.so",
                               fCore.dir.file("third/libsame.so"));
    ASSERT_EQ(0, PCore::getCore()->loadPluginLib(fCore.dir.wideFile("third/libsame.so")));
    int unloaded = -1;
    PluginHooks::on("beta.init", [&] { return unloaded = ixlaUnloadPlugin(alpha->getPlugin()); });
    EXPECT_EQ(0, init(L"libsame.so"));
    EXPECT_EQ(0, unloaded);
    EXPECT_EQ(1, PluginHooks::count("gamma.init"));
}

/// The plugin alpha, which is unloaded while the core initialises it for the autostart list.
class AutostartUnload : public testing::Test
{
protected:
    void SetUp() override
    {
        PortFaults::skipSleep = true;
        fCore.set("core.free.plugins.lib", "true");
        fCore.addPlugin("alpha");
        ASSERT_EQ(0, fCore.start());
        fPlugin = fCore.firstPlugin();
        ASSERT_NE(nullptr, fPlugin);
    }

    ~AutostartUnload() override
    {
        fCore.stop(); // without its sleep
        PortFaults::reset();
    }

    /// Makes alpha's init unload it through iUnload and record whether it still exists.
    void unloadInInit(const std::function<int()>& iUnload)
    {
        PluginHooks::on("alpha.init",
                        [this, iUnload]
                        {
                            fUnloaded = iUnload();
                            fDestroyedInInit = PluginHooks::count("alpha.destroyed");
                        });
    }

    void expectReleasedAfterInit()
    {
        PString name(L"libalpha.so");
        EXPECT_EQ(0, PCore::getCore()->initAutoStartPlugin(name));
        EXPECT_EQ(0, fUnloaded);
        EXPECT_EQ(0, fDestroyedInInit);
        EXPECT_EQ(1, PluginHooks::count("alpha.destroyed"));
        EXPECT_EQ(1, PluginHooks::count("alpha.unmapped"));
        EXPECT_FALSE(ixlaIsInterfaceAvailable(L"test.alpha"));
    }

    CoreRun fCore;
    IPlugin* fPlugin = nullptr;
    int fUnloaded = -1;
    int fDestroyedInInit = -1;
};

TEST_F(AutostartUnload, PluginThatItsOwnInitUnloadsIsReleasedAfterIt)
{
    unloadInInit([this] { return ixlaUnloadPlugin(fPlugin); });
    expectReleasedAfterInit();
}

TEST_F(AutostartUnload, PluginThatAnotherThreadUnloadsInItsInitIsReleasedAfterIt)
{
    unloadInInit(
        [this] {
            return std::async(std::launch::async, [this] { return ixlaUnloadPlugin(fPlugin); })
                .get();
        });
    expectReleasedAfterInit();
}

TEST(AutostartWalk, PluginsAreUnloadedMeanwhile)
{
    CoreRun core;
    // Without log lines and with relaxed counters the threads are not synchronised.
    core.set("core.log.level", "-1");
    core.addPlugin("alpha");
    core.addPlugin("beta");
    ASSERT_EQ(0, core.start());
    ITestService* const beta = core.get<ITestService>(L"test.beta");
    ASSERT_NE(nullptr, beta);
    std::atomic<int> walks{0};
    std::atomic<bool> ended{false};
    std::thread walker(
        [&]
        {
            while (!ended.load(std::memory_order_relaxed))
            {
                PString name(L"libnobody.so");
                PCore::getCore()->initAutoStartPlugin(name);
                walks.fetch_add(1, std::memory_order_relaxed);
            }
        });
    while (walks.load(std::memory_order_relaxed) < 100)
    {
        std::this_thread::yield();
    }
    EXPECT_EQ(0, ixlaUnloadPlugin(beta->getPlugin()));
    ended.store(true, std::memory_order_relaxed);
    walker.join();
    EXPECT_FALSE(ixlaIsInterfaceAvailable(L"test.beta"));
}
} // namespace
