// SPDX-License-Identifier: MIT
#include "IConfigManager.h"
#include "hostile/HostileTest.h"
#include "plugins/ITestService.h"

#include <fstream>
#include <string>
#include <thread>
#include <vector>

namespace
{
/// A plugin that never releases the manager, a configuration, the dispatcher and two loggers.
class HostileKeeper : public HostileTest
{
protected:
    void SetUp() override
    {
        fCore.writeManagerConfig("keeper = keeper.prs");
        fCore.writeConfig("keeper.prs", "own = value\n");
    }

    void startKeeping()
    {
        startWith("keeper");
        fKeeper = fCore.get<ITestService>(L"test.keeper");
        ASSERT_NE(nullptr, fKeeper);
    }

    /// Makes the keeper use all of them; returns the number of unexpected results.
    int use()
    {
        return fKeeper->handleEvent(L"use", nullptr, 0);
    }

    int namedLogCount() const
    {
        return countLines(fCore.pluginLogFile("keeper.log"), "keeper in its own log");
    }

    ITestService* fKeeper = nullptr;
};

TEST_F(HostileKeeper, UsesEverythingAfterTheStop)
{
    startKeeping();
    EXPECT_EQ(0, use());
    EXPECT_TRUE(stopsCleanly());
    EXPECT_EQ(1, PluginHooks::count("keeper.destroyed"));
    EXPECT_EQ(0, use());
    EXPECT_EQ(2, PluginHooks::count("keeper.event"));
    EXPECT_EQ(2, namedLogCount());
    EXPECT_EQ(2, countLines(fCore.pluginLogFile(), "keeper in the shared log"));
    EXPECT_EQ(1, countLines(fCore.storeFile(), "stored"));
}

TEST_F(HostileKeeper, UsesEverythingFromManyThreadsAcrossTheStop)
{
    startKeeping();
    std::vector<std::thread> threads;
    threads.reserve(3);
    for (int i = 0; i < 3; ++i)
    {
        threads.emplace_back(
            [this]
            {
                // Results are not checked, because the threads share the run-time value; the
                // process must survive.
                for (int round = 0; round < 200 || PluginHooks::count("keeper.destroyed") == 0;
                     ++round)
                {
                    use();
                }
            });
    }
    EXPECT_TRUE(stopsCleanly());
    for (std::thread& thread : threads)
    {
        thread.join();
    }
    EXPECT_EQ(0, use());
}

TEST_F(HostileKeeper, HeldServicesWorkWhileAnotherCoreRuns)
{
    startKeeping();
    EXPECT_EQ(0, use());
    EXPECT_TRUE(stopsCleanly());
    fCore.set("core.load.plugin.list", "nothing");
    ASSERT_EQ(0, fCore.start());
    EXPECT_EQ(0, use());
    // The new core reads the stored value; its manager has no run-time values of the old one.
    IConfigManager* const manager = fCore.get<IConfigManager>(kIxlaConfigManagerId);
    ASSERT_NE(nullptr, manager);
    PBaseptr<IConfig> config;
    PString text;
    EXPECT_EQ(0, manager->loadByID(L"keeper", config));
    EXPECT_EQ(0, config->getString(L"stored", text));
    EXPECT_EQ(eIxlaNotFound, config->getString(L"runtime", text));
    EXPECT_TRUE(stopsCleanly());
    EXPECT_EQ(0, use());
}
} // namespace
