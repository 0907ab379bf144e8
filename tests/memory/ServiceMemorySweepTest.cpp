// SPDX-License-Identifier: MIT
// Sweeps of the operations of loggers and of the built-in plugins, in a running core.

#include "ILogger.h"
#include "Ixla.h"
#include "config/PConfigManager.h"
#include "config/PConfigPlugin.h"
#include "events/PEventDispatcherPlugin.h"
#include "logging/PLoggerPlugin.h"
#include "support/AllocationSweep.h"
#include "support/CoreRun.h"
#include "support/Texts.h"

#include <gmock/gmock.h>

#include <cerrno>
#include <memory>

namespace
{
const std::string sExactRoom = "a text that has to grow makes do with the exact room";
const std::string sNoSetting = "a setting that cannot be read keeps its default";

class ServiceMemorySweep : public testing::Test
{
protected:
    ServiceMemorySweep()
    {
        EXPECT_EQ(0, core.start());
        logger = core.get<ILogger>(kIxlaLoggerId);
    }

    /// The next line frees the memory of a long line.
    void sweepLine(const std::string& iOperation, const std::function<int()>& iRun)
    {
        sweepAllocations({.operation = iOperation,
                          .run = iRun,
                          .undo = [&] { logger->info(0, L"a"); },
                          .codes = {-ENOMEM}});
    }

    CoreRun core;
    PBaseptr<ILogger> logger;
};

/// The operations of a plugin that lists iId, named iName. If there is no memory for its list, the
/// count, which is 77 before, becomes iCountWithout.
template <class TPlugin>
void _sweepPlugin(const std::string& iName, const PLiteral& iId, unsigned int iCountWithout,
                  const std::string& iSpares = {})
{
    PBaseptr<IPlugin> plugin;
    const auto instance = [&]
    {
        IBase* result = nullptr;
        return plugin->getInstance(iId, result) == 0 ? result : nullptr;
    };
    const auto renew = [&]
    {
        plugin = PBaseptr<IPlugin>::adopt(new TPlugin);
    };
    sweepAllocations({.operation = iName + "::init",
                      .before = renew,
                      .run = [&] { return plugin->init(); },
                      .unchanged = [&] { EXPECT_EQ(nullptr, instance()); },
                      .done = [&] { EXPECT_NE(nullptr, instance()); },
                      .undo = [&] { plugin.clear(); },
                      .spares = iSpares});
    renew();
    std::unique_ptr<PString[]> ids;
    unsigned int count = 0;
    sweepAllocations({
        .operation = iName + "::getInterfaces",
        .before = [&] { count = 77; },
        .run =
            [&]
        {
            ids.reset(plugin->getInterfaces(count));
            return ids ? 0 : -501;
        },
        .unchanged = [&] { EXPECT_EQ(iCountWithout, count); },
        .done =
            [&]
        {
            ASSERT_EQ(1u, count);
            EXPECT_EQ(iId, ids[0]);
        },
        .undo = [&] { ids.reset(); },
    });
    ASSERT_EQ(0, plugin->init());
    sweepAllocations({
        .operation = iName + "::getInstance",
        .run = [&] { return instance() ? 0 : -1; },
    });
    sweepReferences(*plugin, iName + "::incRef", iName + "::decRef");
}
} // namespace

TEST_F(ServiceMemorySweep, ConfigPlugin)
{
    _sweepPlugin<PConfigPlugin>("PConfigPlugin", kIxlaConfigManagerId, 0);
}

TEST_F(ServiceMemorySweep, EventDispatcherPlugin)
{
    _sweepPlugin<PEventDispatcherPlugin>("PEventDispatcherPlugin", kIxlaEventDispatcherId, 77);
}

TEST_F(ServiceMemorySweep, LoggerPlugin)
{
    _sweepPlugin<PLoggerPlugin>("PLoggerPlugin", kIxlaLoggerId, 77, sNoSetting);
}

// A second init keeps the existing service until the new one is complete.
TEST_F(ServiceMemorySweep, FurtherInit)
{
    const PBaseptr<IPlugin> plugin = PBaseptr<IPlugin>::adopt(new PConfigPlugin);
    ASSERT_EQ(0, plugin->init());
    IBase* before = nullptr;
    const auto look = [&]
    {
        IBase* instance = nullptr;
        EXPECT_EQ(0, plugin->getInstance(kIxlaConfigManagerId, instance));
        return instance;
    };
    sweepAllocations({
        .operation = "PConfigPlugin::init for a second time",
        .before = [&] { before = look(); },
        .run = [&] { return plugin->init(); },
        .unchanged = [&] { EXPECT_EQ(before, look()); },
    });
}

TEST_F(ServiceMemorySweep, References)
{
    sweepReferences(*logger, "ILogger::incRef", "ILogger::decRef");
}

// getLogger removes a logger from the cache that no caller holds.
TEST_F(ServiceMemorySweep, NamedLoggers)
{
    PBaseptr<ILogger> kept;
    ASSERT_EQ(0, logger->getLogger(L"kept", kept));
    PBaseptr<ILogger> named(kept);
    const auto askForKept = [&]
    {
        PBaseptr<ILogger> again;
        EXPECT_EQ(0, logger->getLogger(L"kept", again));
        EXPECT_EQ(kept.get(), again.get());
    };
    sweepAllocations(
        {.operation = "ILogger::getLogger",
         .before = [&] { named = kept; },
         .run = [&] { return logger->getLogger(L"a name too long to be kept inside", named); },
         .unchanged =
             [&]
         {
             EXPECT_EQ(kept.get(), named.get());
             askForKept();
         },
         .done = [&] { EXPECT_NE(kept.get(), named.get()); },
         .undo =
             [&]
         {
             named.clear();
             askForKept();
         },
         .spares = sExactRoom});
}

TEST_F(ServiceMemorySweep, Messages)
{
    const PString text = wide(std::string(5000, 'x'));
    sweepLine("ILogger::info", [&] { return logger->info(0, L"%ls", text.ptr()); });
    sweepLine("ILogger::error", [&] { return logger->error(0, L"%ls", text.ptr()); });
    sweepLine("ILogger::debug", [&] { return logger->debug(0, L"%ls", text.ptr()); });
    sweepLine("ILogger::dumpHex", [&] { return logger->dumpHex(0, text.ptr(), 5000, 5000); });
    testing::internal::CaptureStderr();
    sweepLine("ILogger::showMsgBox", [&] { return logger->showMsgBox(0, L"%ls", text.ptr()); });
    testing::internal::GetCapturedStderr();
}

TEST_F(ServiceMemorySweep, Settings)
{
    sweepAllocations({
        .operation = "ILogger::setLevel",
        .run = [&] { return logger->setLevel(1); },
    });
    sweepAllocations({
        .operation = "ILogger::setPrintOnConsole",
        .run = [&] { return logger->setPrintOnConsole(false); },
    });
}
