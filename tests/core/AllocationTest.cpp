// SPDX-License-Identifier: MIT
#include "Ixla.h"
#include "plugins/ITestService.h"
#include "support/AllocationFaults.h"
#include "support/CoreRun.h"
#include "support/PluginHooks.h"
#include "support/Texts.h"

#include <gtest/gtest.h>

#include <vector>

namespace
{
class CoreAllocation : public testing::Test
{
protected:
    /// The arguments of a start, allocated before: CoreRun::start would itself run out of memory.
    std::vector<PString> coreArguments() const
    {
        std::vector<PString> arguments;
        for (const char* key :
             {"core.plugins.dir", "core.plugins.config.dir", "core.plugins.log.dir"})
        {
            arguments.push_back(wide(std::string(key) + "=" + fCore.dir.file("plugins")));
        }
        arguments.push_back(L"core.free.plugins.lib=false");
        return arguments;
    }

    CoreRun fCore;
};

TEST_F(CoreAllocation, RequestOfAnInitialisedPluginAllocatesNothing)
{
    fCore.addPlugin("alpha");
    ASSERT_EQ(0, fCore.start());
    ASSERT_NE(nullptr, fCore.get<ITestService>(L"test.alpha"));
    IBase* instance = nullptr;
    AllocationFaults::startCounting();
    const int result = ixlaGetInstance(kIxlaConfigManagerId, instance);
    const bool available = ixlaIsInterfaceAvailable(L"test.alpha");
    EXPECT_EQ(0, AllocationFaults::counted());
    EXPECT_EQ(0, result);
    EXPECT_TRUE(available);
}

TEST_F(CoreAllocation, BuiltInPluginThatCannotBeRegisteredIsLogged)
{
    std::vector<PString> arguments = coreArguments();
    arguments.push_back(wide("core.log.file=" + fCore.logFile()));
    testing::internal::CaptureStderr();
    bool struck = true;
    for (int skip = 0; struck; ++skip)
    {
        AllocationFaults::failOnceAfter(skip);
        const int result = ixlaStart(arguments.data(), static_cast<unsigned>(arguments.size()));
        AllocationFaults::disarm();
        struck = AllocationFaults::struck();
        ASSERT_EQ(result == 0 ? 0 : -1002, ixlaStop()) << skip;
    }
    testing::internal::GetCapturedStderr();
    int failures = 0;
    for (const char* name : {"IConfig", "IEventDispatcher", "ILogger"})
    {
        const int lines = fCore.logCount("E Core [loadInternalPlugins] Failed to process " +
                                         std::string(name) + " plugin err: -501");
        EXPECT_LE(1, lines) << name;
        failures += lines;
    }
    // If a plugin cannot be allocated, the start fails without a line about it.
    EXPECT_LT(failures,
              fCore.logCount("E Core [startFlow] Failed to load internal plugins err: -501"));
}

TEST_F(CoreAllocation, FailedRegistrationRegistersNoInterface)
{
    fCore.addPlugin("beta");
    int swept = 0;
    bool done = false;
    testing::internal::CaptureStderr();
    for (; !done; ++swept)
    {
        // The plugin's own list has been allocated; the core's registration fails.
        PluginHooks::on("beta.getInterfaces", [swept] { AllocationFaults::failOnceAfter(swept); });
        const int result = fCore.start();
        AllocationFaults::disarm();
        done = !AllocationFaults::struck();
        if (result == 0)
        {
            ASSERT_TRUE(ixlaIsInterfaceAvailable(L"test.beta"));
            ASSERT_EQ(0, fCore.stop());
            continue;
        }
        ASSERT_TRUE(result == -501 || result == -1004) << swept << ": " << result;
        ASSERT_EQ(PluginHooks::count("beta.factory"), PluginHooks::count("beta.destroyed"));
    }
    testing::internal::GetCapturedStderr();
    EXPECT_LT(5, swept);
}

TEST_F(CoreAllocation, PluginThatRunsOutOfMemoryInInitStaysFailed)
{
    fCore.addPlugin("alpha");
    ASSERT_EQ(0, fCore.start());
    IBase* instance = nullptr;
    AllocationFaults::failAfter(0);
    const int failing = ixlaGetInstance(L"test.alpha", instance);
    AllocationFaults::disarm();
    EXPECT_EQ(-2003, failing);
    EXPECT_EQ(-2003, ixlaGetInstance(L"test.alpha", instance));
    EXPECT_EQ(nullptr, instance);
    EXPECT_EQ(1, fCore.logCount("] Plugin threw an exception in init"));
}

TEST_F(CoreAllocation, UnknownInterfaceNeedsNoMemory)
{
    ASSERT_EQ(0, fCore.start());
    IBase* instance = nullptr;
    AllocationFaults::failAfter(0);
    const int result = ixlaGetInstance(L"test.nobody", instance);
    AllocationFaults::disarm();
    EXPECT_EQ(-2001, result);
    EXPECT_EQ(nullptr, instance);
}

TEST_F(CoreAllocation, StopNeedsNoMemory)
{
    ASSERT_EQ(0, fCore.start());
    AllocationFaults::failAfter(0);
    const int result = fCore.stop();
    AllocationFaults::disarm();
    EXPECT_EQ(0, result);
    EXPECT_EQ(1, fCore.logCount("E Core [stopFlow] Failed to create notify core exit thread err: "
                                "-501"));
    EXPECT_EQ(1, fCore.logCount("D Core [stopFlow] Done."));
}
} // namespace
