// SPDX-License-Identifier: MIT
#include "Ixla.h"
#include "plugins/ITestService.h"
#include "support/CoreRun.h"
#include "support/Deadline.h"
#include "support/PluginHooks.h"
#include "support/PortFaults.h"

#include <gtest/gtest.h>

#include <dlfcn.h>
#include <functional>
#include <thread>

namespace
{
/// Another thread holds the loader's lock, in a constructor or destructor that calls the core, from
/// the destruction of alpha until its call has returned.
class LoaderLock : public testing::Test
{
protected:
    void SetUp() override
    {
        PortFaults::skipSleep = true;
        fCore.set("core.free.plugins.lib", "true");
        fCore.addPlugin("alpha");
        ASSERT_EQ(0, fCore.start());
        fAlpha = fCore.get<ITestService>(L"test.alpha");
        ASSERT_NE(nullptr, fAlpha);
    }

    ~LoaderLock() override
    {
        fCore.stop(); // without its sleep
        PortFaults::reset();
    }

    void* openEarly()
    {
        fEarly = dlopen(IXLAL_TEST_PLUGINS "/early/libearly.so", RTLD_NOW | RTLD_LOCAL);
        EXPECT_NE(nullptr, fEarly);
        return fEarly;
    }

    void closeEarly()
    {
        EXPECT_EQ(0, dlclose(fEarly));
    }

    /// Starts iWork when alpha is destroyed, and continues the destruction when iWork has reported
    /// iStep.
    void duringDestruction(const std::function<void()>& iWork, const std::string& iStep)
    {
        PluginHooks::on("alpha.destroyed",
                        [this, iWork, iStep]
                        {
                            fThread = std::thread(iWork);
                            return PluginHooks::waitFor(iStep) ? 0 : -1;
                        });
    }

    void expectUnmapped(const char* iLastStep)
    {
        fThread.join();
        EXPECT_EQ(1, PluginHooks::count(iLastStep));
        EXPECT_EQ(1, PluginHooks::count("alpha.unmapped"));
    }

    CoreRun fCore;
    ITestService* fAlpha = nullptr;
    void* fEarly = nullptr;
    std::thread fThread;
};

TEST_F(LoaderLock, ConstructorOfALibraryMayCallTheCoreWhileAPluginIsUnloaded)
{
    const Deadline deadline;
    duringDestruction([this] { openEarly(); }, "early.mapping");
    EXPECT_EQ(0, ixlaUnloadPlugin(fAlpha->getPlugin()));
    expectUnmapped("early.mapped");
}

TEST_F(LoaderLock, DestructorOfALibraryMayCallTheCoreWhileAPluginIsUnloaded)
{
    const Deadline deadline;
    ASSERT_NE(nullptr, openEarly());
    duringDestruction([this] { closeEarly(); }, "early.unmapping");
    EXPECT_EQ(0, ixlaUnloadPlugin(fAlpha->getPlugin()));
    expectUnmapped("early.unmapped");
}

TEST_F(LoaderLock, ConstructorOfALibraryMayCallTheCoreWhileItStops)
{
    const Deadline deadline;
    duringDestruction([this] { openEarly(); }, "early.mapping");
    EXPECT_EQ(0, fCore.stop());
    expectUnmapped("early.mapped");
}
} // namespace
