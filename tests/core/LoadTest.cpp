// SPDX-License-Identifier: MIT
#include "Ixla.h"
#include "plugins/ITestService.h"
#include "support/CoreRun.h"
#include "support/PluginHooks.h"
#include "support/PortFaults.h"

#include <gtest/gtest.h>

#include <fstream>
#include <new>
#include <stdexcept>

namespace
{
/// Whether a library with this name is mapped.
bool isMapped(const std::string& iFileName)
{
    std::ifstream maps("/proc/self/maps");
    for (std::string line; std::getline(maps, line);)
    {
        if (line.find("/" + iFileName) != std::string::npos)
        {
            return true;
        }
    }
    return false;
}

class Load : public testing::Test
{
protected:
    ~Load() override
    {
        PortFaults::reset();
    }

    CoreRun fCore;
};

TEST_F(Load, PluginWithoutInterfacesIsRecordedAndCanBeAutostarted)
{
    for (const char* name : {"no_interfaces", "count_without_array", "array_without_count"})
    {
        fCore.addPlugin(name);
    }
    fCore.set("core.autostart.list", "no_interfaces,count_without_array,array_without_count");
    ASSERT_EQ(0, fCore.start());
    EXPECT_EQ(0, fCore.logCount(" E Core "));
    EXPECT_EQ(1, PluginHooks::count("no_interfaces.init"));
    EXPECT_EQ(1, PluginHooks::count("count_without_array.init"));
    EXPECT_EQ(1, PluginHooks::count("array_without_count.init"));
    EXPECT_EQ(3, fCore.logCount("D Core [processPlugin] Add interface ID: ")); // the built-in ones
    EXPECT_EQ(6, fCore.logCount("D Core [processPlugin] Add corePlugin: "));
}

TEST_F(Load, SecondOwnerOfAnInterfaceIsRefusedCompletely)
{
    fCore.addPlugin("alpha");
    fCore.addPlugin("clash");
    EXPECT_EQ(-1007, fCore.start());
    EXPECT_EQ(1, fCore.logCount("E Core [processPlugin] Interface already registered: test.alpha "
                                "from plugin: " +
                                fCore.dir.file("plugins/libalpha.so")));
    EXPECT_EQ(0, fCore.logCount("[processPlugin] Add interface ID: test.free"));
    EXPECT_EQ(1, fCore.logCount("D Core [loadPluginLib] processPlugin(...) res: -1007 "));
    EXPECT_EQ(1, fCore.logCount("E Core [startFlow] Failed to process plugin err: -1007"));
    EXPECT_EQ(1, PluginHooks::count("clash.destroyed"));
}

TEST_F(Load, InterfaceOfABuiltInServiceIsRefused)
{
    fCore.addPlugin("clash_builtin");
    EXPECT_EQ(-1007, fCore.start());
    EXPECT_EQ(1, fCore.logCount("E Core [processPlugin] Interface already registered: "
                                "com.kelvora.ixla.logger from internal plugin"));
    EXPECT_EQ(0, fCore.logCount("[processPlugin] Add interface ID: test.other"));
}

TEST_F(Load, InterfaceListedTwiceIsRegisteredOnce)
{
    fCore.addPlugin("twice");
    ASSERT_EQ(0, fCore.start());
    EXPECT_EQ(2, fCore.logCount("D Core [processPlugin] Add interface ID: test.twice"));
    EXPECT_EQ(0, fCore.logCount(" E Core "));
    ITestService* service = fCore.get<ITestService>(L"test.twice");
    ASSERT_NE(nullptr, service);
    EXPECT_EQ(0, ixlaUnloadPlugin(service->getPlugin()));
    EXPECT_EQ(1, fCore.logCount("E Core [ixlaUnloadPlugin] Failed to find interface ID in map"));
}

TEST_F(Load, LibraryWithoutFactoryRegistersNothing)
{
    fCore.addPlugin("no_factory");
    ASSERT_EQ(0, fCore.start());
    EXPECT_EQ(3, fCore.logCount("D Core [processPlugin] Add corePlugin: "));
}

TEST_F(Load, FactoryReturningNullIsRefused)
{
    fCore.addPlugin("alpha");
    PluginHooks::on("alpha.factory", [] { return -1; });
    EXPECT_EQ(-1009, fCore.start());
    EXPECT_EQ(1, fCore.logCount("E Core [startFlow] Plugin function return NULL for IPlugin"));
    EXPECT_EQ(3, fCore.logCount("D Core [processPlugin] Add corePlugin: "));
}

TEST_F(Load, ThrowingFactoryCountsAsNull)
{
    fCore.addPlugin("alpha");
    PluginHooks::on("alpha.factory", []() -> int { throw std::runtime_error("factory"); });
    EXPECT_EQ(-1009, fCore.start());
    EXPECT_EQ(1, fCore.logCount(
                     "E Core [loadPluginLib] Plugin function ixlaGetPlugin threw an exception"));
    EXPECT_EQ(1, fCore.logCount("E Core [startFlow] Plugin function return NULL for IPlugin"));
}

TEST_F(Load, PluginThrowingInGetInterfacesIsRefused)
{
    fCore.addPlugin("alpha");
    PluginHooks::on("alpha.getInterfaces", []() -> int { throw std::runtime_error("list"); });
    EXPECT_EQ(-2003, fCore.start());
    EXPECT_EQ(1, fCore.logCount("] Plugin threw listing its interfaces err: -2003"));
    EXPECT_EQ(1, PluginHooks::count("alpha.destroyed"));
}

TEST_F(Load, PluginWithoutMemoryForItsInterfacesIsRefused)
{
    fCore.addPlugin("alpha");
    PluginHooks::on("alpha.getInterfaces", []() -> int { throw std::bad_alloc(); });
    EXPECT_EQ(-501, fCore.start());
    EXPECT_EQ(1, fCore.logCount("] Plugin threw listing its interfaces err: -501"));
}

TEST_F(Load, LibrariesStayMappedWhenConfiguredSo)
{
    fCore.addPlugin("alpha");
    fCore.set("core.free.plugins.lib", "false");
    ASSERT_EQ(0, fCore.start());
    ASSERT_EQ(0, fCore.stop());
    EXPECT_TRUE(isMapped("libalpha.so"));
    EXPECT_EQ(1, PluginHooks::count("alpha.destroyed"));
    EXPECT_EQ(0, PluginHooks::count("alpha.unmapped"));
    EXPECT_EQ(1, fCore.logCount("PLibrary::load freeLibOnDestroy: 0 return res: 0"));
}

TEST_F(Load, LibrariesAreClosedByDefault)
{
    PortFaults::skipSleep = true;
    fCore.addPlugin("alpha");
    fCore.erase("core.free.plugins.lib");
    ASSERT_EQ(0, fCore.start());
    EXPECT_TRUE(isMapped("libalpha.so"));
    ASSERT_EQ(0, fCore.stop());
    EXPECT_FALSE(isMapped("libalpha.so"));
    EXPECT_EQ(1, PluginHooks::count("alpha.unmapped"));
}

TEST_F(Load, UnreadableFreeSettingMeansClosing)
{
    PortFaults::skipSleep = true;
    fCore.addPlugin("alpha");
    fCore.set("core.free.plugins.lib", "perhaps");
    ASSERT_EQ(0, fCore.start());
    EXPECT_EQ(1, fCore.logCount("PLibrary::load freeLibOnDestroy: 1 return res: 0"));
    ASSERT_EQ(0, fCore.stop());
    EXPECT_FALSE(isMapped("libalpha.so"));
}

TEST_F(Load, LogListsTheSteps)
{
    fCore.addPlugin("alpha");
    ASSERT_EQ(0, fCore.start());
    const std::string path = fCore.dir.file("plugins/libalpha.so");
    const std::string lines[] = {
        "D Core [loadInternalPlugins] Loading internal plugin IConfig.",
        "D Core [loadInternalPlugins] Loading internal plugin IEventDispatcher.",
        "D Core [loadInternalPlugins] Loading internal plugin ILogger.",
        "D Core [startFlow] Loading plugin: " + path,
        "D Core [loadPluginLib] in library: " + path,
        "I Core [loadPluginLib] Used mem before " + path + " plugin: ",
        "D Core [loadPluginLib] Get plugin function ixlaGetPlugin: 0x",
        "D Core [loadPluginLib] Get IPlugin ptr: 0x",
        "] library: " + path,
        "D Core [processPlugin] Add interface ID: test.alpha",
        "D Core [loadPluginLib] processPlugin(...) res: 0 ",
        "D Core [loadPluginLib] Used mem after " + path + " plugin: ",
        "I Core [loadPluginLib] Memory usage of plugin " + path + ": ",
    };
    for (const std::string& line : lines)
    {
        EXPECT_EQ(1, fCore.logCount(line)) << line;
    }
    EXPECT_EQ(3, fCore.logCount("] Internal plugin"));
    EXPECT_EQ(1,
              fCore.logCount("D Core [processPlugin] Add interface ID: com.kelvora.ixla.config."));
}

TEST_F(Load, LinesAboutMemoryAreOfTheLowestLevel)
{
    fCore.addPlugin("alpha");
    fCore.set("core.log.level", "0");
    ASSERT_EQ(0, fCore.start());
    EXPECT_EQ(1, fCore.logCount("I Core [loadPluginLib] Used mem before "));
    EXPECT_EQ(1, fCore.logCount("D Core [loadPluginLib] Used mem after "));
    EXPECT_EQ(1, fCore.logCount("I Core [loadPluginLib] Memory usage of plugin "));
}

TEST_F(Load, MemoryOfAPluginIsTheGrowthOfTheProcess)
{
    fCore.addPlugin("alpha");
    ASSERT_EQ(0, fCore.start());
    const std::string log = readFile(fCore.logFile());
    const auto behind = [&log](const std::string& iText)
    {
        const std::size_t at = log.find(": ", log.find(iText));
        return std::strtoull(log.c_str() + at + 2, nullptr, 10);
    };
    const unsigned long long before = behind("Used mem before ");
    EXPECT_LT(0u, before);
    EXPECT_EQ(behind("Used mem after "), before + behind("Memory usage of plugin "));
}

TEST_F(Load, MemoryThatCannotBeMeasuredIsLogged)
{
    fCore.addPlugin("alpha");
    PortFaults::memoryUsage.arm(-13);
    ASSERT_EQ(0, fCore.start());
    EXPECT_EQ(2, fCore.logCount(
                     "E Core [loadPluginLib] PProcess::getMemoryUsage() failed with err: -13"));
    EXPECT_EQ(1, fCore.logCount("I Core [loadPluginLib] Memory usage of plugin " +
                                fCore.dir.file("plugins/libalpha.so") + ": 0"));
}

TEST_F(Load, RegistrationInitialisesNothing)
{
    fCore.addPlugin("alpha");
    ASSERT_EQ(0, fCore.start());
    EXPECT_EQ(1, PluginHooks::count("alpha.getInterfaces"));
    EXPECT_EQ(0, PluginHooks::count("alpha.init"));
}
} // namespace
