// SPDX-License-Identifier: MIT
#include "Ixla.h"
#include "plugins/ITestService.h"
#include "support/CoreRun.h"
#include "support/PluginHooks.h"
#include "support/PortFaults.h"
#include "support/Texts.h"

#include <gtest/gtest.h>

namespace
{
class EntryPoints : public testing::Test
{
protected:
    ~EntryPoints() override
    {
        PortFaults::reset();
    }

    CoreRun fCore;
};
} // namespace

TEST_F(EntryPoints, StopWithoutCoreIsRefused)
{
    EXPECT_EQ(-1002, ixlaStop());
    EXPECT_EQ(-1002, ixlaStop());
}

TEST_F(EntryPoints, GetInstanceBeforeStartIsRefused)
{
    IBase* instance = reinterpret_cast<IBase*>(this);
    EXPECT_EQ(-1002, ixlaGetInstance(kIxlaLoggerId, instance));
    EXPECT_EQ(reinterpret_cast<IBase*>(this), instance);
}

TEST_F(EntryPoints, UnloadBeforeStartIsRefused)
{
    EXPECT_EQ(-1002, ixlaUnloadPlugin(nullptr));
}

TEST_F(EntryPoints, NothingIsAvailableBeforeStart)
{
    EXPECT_FALSE(ixlaIsInterfaceAvailable(kIxlaLoggerId));
}

TEST_F(EntryPoints, EverythingIsRefusedAgainAfterStop)
{
    ASSERT_EQ(0, fCore.start());
    ASSERT_EQ(0, fCore.stop());
    IBase* instance = nullptr;
    EXPECT_EQ(-1002, ixlaGetInstance(kIxlaLoggerId, instance));
    EXPECT_EQ(-1002, ixlaUnloadPlugin(nullptr));
    EXPECT_FALSE(ixlaIsInterfaceAvailable(kIxlaLoggerId));
    EXPECT_EQ(-1002, ixlaStop());
}

TEST_F(EntryPoints, SecondStartIsRefusedAndFirstCoreRunsOn)
{
    ASSERT_EQ(0, fCore.start());
    IBase* const before = fCore.get<IBase>(kIxlaConfigManagerId);
    const PString argument(L"a=b");
    EXPECT_EQ(-1001, ixlaStart(&argument, 1));
    EXPECT_EQ(before, fCore.get<IBase>(kIxlaConfigManagerId));
    EXPECT_EQ(1, fCore.logCount("E Core [PCore] Try to start already started core."));
}

TEST_F(EntryPoints, StartAfterAFailedStartSucceeds)
{
    fCore.set("core.log.level", "high");
    EXPECT_EQ(-502, fCore.start());
    EXPECT_EQ(-1002, ixlaStop());
    fCore.set("core.log.level", "0");
    EXPECT_EQ(0, fCore.start());
    EXPECT_NE(nullptr, fCore.get<IBase>(kIxlaConfigManagerId));
}

TEST_F(EntryPoints, StopClearsTheCoreAndReturnsTheErrorOfTheStopFlow)
{
    ASSERT_EQ(0, fCore.start());
    PortFaults::mutexLock.armOnThisThread(-7, 0, 1);
    EXPECT_EQ(-1013, fCore.stop());
    EXPECT_EQ(1, PortFaults::mutexLock.hits());
    EXPECT_EQ(-1002, ixlaStop());
    EXPECT_EQ(0, fCore.start());
}

TEST_F(EntryPoints, RefusedUnloadWhileStartingIsFramedInTheLog)
{
    fCore.addPlugin("alpha");
    int frames = 0;
    PluginHooks::on("alpha.getInterfaces",
                    [&]
                    {
                        const int before = fCore.logCount("D Core *****");
                        EXPECT_EQ(eIxlaCoreNotStarted, ixlaUnloadPlugin(nullptr));
                        frames = fCore.logCount("D Core *****") - before;
                    });
    ASSERT_EQ(0, fCore.start());
    EXPECT_EQ(2, frames);
}

TEST_F(EntryPoints, LookupsWhileStartingAreRefusedAndLogged)
{
    fCore.addPlugin("alpha");
    IBase* instance = nullptr;
    int lookup = 0;
    int unload = 0;
    bool available = true;
    const PString argument(L"a=b");
    int start = 0;
    PluginHooks::on("alpha.getInterfaces",
                    [&]
                    {
                        lookup = ixlaGetInstance(kIxlaLoggerId, instance);
                        unload = ixlaUnloadPlugin(nullptr);
                        available = ixlaIsInterfaceAvailable(kIxlaLoggerId);
                        start = ixlaStart(&argument, 1);
                    });
    ASSERT_EQ(0, fCore.start());
    EXPECT_EQ(-1002, lookup);
    EXPECT_EQ(-1002, unload);
    EXPECT_FALSE(available);
    EXPECT_EQ(-1001, start);
    EXPECT_EQ(1,
              fCore.logCount("E Core [ixlaGetInstance] Core is not started cannot get instance for "
                             "interface ID: com.kelvora.ixla.logger"));
    EXPECT_EQ(
        1, fCore.logCount("E Core [ixlaUnloadPlugin] Core is not started cannot unload plugin."));
    EXPECT_EQ(
        1, fCore.logCount("E Core [ixlaIsInterfaceAvailable] Core is not started cannot check for "
                          "interface ID"));
}

TEST_F(EntryPoints, AvailabilityIsLoggedAndInitialisesNothing)
{
    fCore.addPlugin("alpha");
    ASSERT_EQ(0, fCore.start());
    EXPECT_TRUE(ixlaIsInterfaceAvailable(L"test.alpha"));
    EXPECT_FALSE(ixlaIsInterfaceAvailable(L"test.nobody"));
    EXPECT_EQ(0, PluginHooks::count("alpha.init"));
    EXPECT_EQ(
        1, fCore.logCount("D Core [ixlaIsInterfaceAvailable] Check for interface ID: test.alpha"));
    EXPECT_EQ(1, fCore.logCount("D Core [ixlaIsInterfaceAvailable] return res: 1"));
    EXPECT_EQ(1, fCore.logCount("D Core [ixlaIsInterfaceAvailable] return res: 0"));
}

TEST_F(EntryPoints, EachOperationIsFramedInTheLog)
{
    const std::string frame = "D Core **************************************************";
    fCore.addPlugin("alpha");
    ASSERT_EQ(0, fCore.start());
    ASSERT_NE(nullptr, fCore.get<ITestService>(L"test.alpha"));
    int before = fCore.logCount(frame);
    EXPECT_NE(nullptr, fCore.get<ITestService>(L"test.alpha"));
    EXPECT_EQ(before + 2, fCore.logCount(frame));
    before = fCore.logCount(frame);
    EXPECT_TRUE(ixlaIsInterfaceAvailable(L"test.alpha"));
    EXPECT_EQ(before + 2, fCore.logCount(frame));
    before = fCore.logCount(frame);
    EXPECT_EQ(-1016, ixlaUnloadPlugin(nullptr));
    EXPECT_EQ(before + 2, fCore.logCount(frame));
    before = fCore.logCount(frame);
    EXPECT_EQ(0, fCore.stop());
    EXPECT_EQ(before + 2, fCore.logCount(frame));
}
