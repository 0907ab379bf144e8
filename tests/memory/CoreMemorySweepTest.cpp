// SPDX-License-Identifier: MIT
// Sweeps of the exported functions, with a real plugin library that uses all services.

#include "Ixla.h"
#include "plugins/ITestService.h"
#include "support/AllocationSweep.h"
#include "support/CoreRun.h"
#include "support/PluginHooks.h"
#include "support/PortFaults.h"
#include "support/Texts.h"

#include <gmock/gmock.h>

#include <cerrno>
#include <vector>

namespace
{
const std::string sSpares = "the core does without its log, the shared settings, the figures of "
                            "memory, plugins of the autostart list and the start event";

class CoreMemorySweep : public testing::Test
{
protected:
    CoreMemorySweep()
    {
        PortFaults::skipSleep = true;
        core.addPlugin("service");
        core.addPlugin("alpha"); // in no list
        core.writeManagerConfig("test.service = service.prs");
        core.writeConfig("service.prs", "key = " + std::string(300, 'x'));
        for (const char* name : {"plugins", "config", "log"})
        {
            const std::string middle =
                name == std::string("plugins") ? "" : name + std::string(".");
            add("core.plugins." + middle + "dir=" + core.dir.file(name));
        }
        add("core.log.file=" + core.logFile());
        add("core.plugins.log.enable=true");
        add("core.free.plugins.lib=true");
        add("core.load.plugin.list=service,other");
        add("custom.config.a=b");
        testing::internal::CaptureStderr();
    }

    ~CoreMemorySweep() override
    {
        testing::internal::GetCapturedStderr();
        PortFaults::reset();
    }

    void add(const std::string& iArgument)
    {
        arguments.push_back(wide(iArgument));
    }

    int start() const
    {
        return ixlaStart(arguments.data(), static_cast<unsigned int>(arguments.size()));
    }

    void mustStart() const
    {
        ASSERT_EQ(0, start());
    }

    void mustStop() const
    {
        EXPECT_EQ(0, ixlaStop());
    }

    /// Starts again, because a plugin that failed to initialise stays failed.
    void restart() const
    {
        mustStop();
        mustStart();
    }

    static ITestService* service()
    {
        IBase* instance = nullptr;
        EXPECT_EQ(0, ixlaGetInstance(L"test.service", instance));
        return static_cast<ITestService*>(instance);
    }

    static void noCore()
    {
        EXPECT_FALSE(ixlaIsInterfaceAvailable(kIxlaConfigManagerId));
        EXPECT_EQ(-1002, ixlaStop());
    }

    CoreRun core;
    std::vector<PString> arguments;
    IBase* instance = nullptr;
};
} // namespace

TEST_F(CoreMemorySweep, Start)
{
    add("core.autostart.list=service");
    sweepAllocations(
        {.operation = "ixlaStart",
         .run = [&] { return start(); },
         .unchanged = &noCore,
         .done =
             [&]
         {
             EXPECT_TRUE(ixlaIsInterfaceAvailable(L"test.service"));
             EXPECT_EQ(0, PluginHooks::count("alpha.factory"));
         },
         .undo = [&] { mustStop(); },
         .codes = {-501, -502, -1003, -1004, -1005, -1006, -1009, -1010, -ENOMEM, -ENOEXEC},
         .spares = sSpares});
}

TEST_F(CoreMemorySweep, StartWithBadArgument)
{
    const PString argument(L"core.log.level=high");
    sweepAllocations({.operation = "ixlaStart with a bad argument",
                      .run = [&] { return ixlaStart(&argument, 1) == -502 ? 0 : -501; },
                      .unchanged = &noCore,
                      .done = &noCore});
}

TEST_F(CoreMemorySweep, Stop)
{
    add("core.autostart.list=service");
    keepNoThreadMemory();
    sweepAllocations({.operation = "ixlaStop",
                      .before = [&] { mustStart(); },
                      .run = [] { return ixlaStop(); },
                      .done = &noCore,
                      .codes = {},
                      .spares = "without the memory to announce the exit it stops at once"});
}

TEST_F(CoreMemorySweep, FirstRequest)
{
    sweepAllocations({.operation = "ixlaGetInstance",
                      .before = [&] { mustStart(); },
                      .run = [&] { return ixlaGetInstance(L"test.service", instance); },
                      .unchanged =
                          [&]
                      {
                          EXPECT_EQ(-2003, ixlaGetInstance(L"test.service", instance));
                          EXPECT_EQ(nullptr, instance);
                      },
                      .recover = [&] { restart(); },
                      .done = [&] { EXPECT_NE(nullptr, instance); },
                      .undo =
                          [&]
                      {
                          mustStop();
                          instance = nullptr;
                      },
                      .codes = {-2003},
                      .spares = "a text that has to grow makes do with the exact room"});
}

TEST_F(CoreMemorySweep, FurtherRequests)
{
    mustStart();
    EXPECT_NE(nullptr, service());
    for (const wchar_t* id :
         {L"test.service", kIxlaConfigManagerId, kIxlaEventDispatcherId, kIxlaLoggerId})
    {
        sweepAllocations({
            .operation = "ixlaGetInstance of " + narrow(PLiteral(id)),
            .run = [&] { return ixlaGetInstance(id, instance); },
        });
    }
    sweepAllocations({
        .operation = "ixlaIsInterfaceAvailable",
        .run = [] { return ixlaIsInterfaceAvailable(L"test.service") ? 0 : -1; },
    });
    mustStop();
}

TEST_F(CoreMemorySweep, Unload)
{
    IPlugin* plugin = nullptr;
    sweepAllocations({.operation = "ixlaUnloadPlugin",
                      .before =
                          [&]
                      {
                          mustStart();
                          plugin = service()->getPlugin();
                      },
                      .run = [&] { return ixlaUnloadPlugin(plugin); },
                      .done = [] { EXPECT_FALSE(ixlaIsInterfaceAvailable(L"test.service")); },
                      .undo = [&] { mustStop(); },
                      .codes = {},
                      .spares = "the loader makes do without some of its tables"});
}
