// SPDX-License-Identifier: MIT
#include "core/PPluginRegistry.h"

#include "core/PCoreLog.h"
#include "core/UnitPlugin.h"
#include "support/PortFaults.h"

#include <gtest/gtest.h>

namespace
{
class PluginRegistry : public testing::Test
{
protected:
    PluginRegistry()
    {
        EXPECT_EQ(0, fLock.init(nullptr));
    }

    ~PluginRegistry() override
    {
        PortFaults::reset();
        fRegistry.release(false);
    }

    PCorePlugin& add(std::vector<PString> iIDs)
    {
        auto* const plugin = new UnitPlugin(std::move(iIDs));
        plugin->onDestroyed = [this]
        {
            ++fDestroyed;
        };
        fRegistry.add(plugin->record());
        return *fRegistry.records().back();
    }

    int unload(const PCorePlugin& iRecord)
    {
        return fRegistry.ixlaUnloadPlugin(iRecord.fPlugin.get());
    }

    int fDestroyed = 0;
    PCoreLog fLog;
    PCoreLock fLock;
    PPluginRegistry fRegistry{fLog, fLock};
};

TEST_F(PluginRegistry, FindsARecordByEachInterface)
{
    PCorePlugin& record = add({L"a", L"b"});
    EXPECT_EQ(&record, fRegistry.find(L"a"));
    EXPECT_EQ(&record, fRegistry.find(L"b"));
}

TEST_F(PluginRegistry, NumbersRecordsInTheOrderOfRegistration)
{
    EXPECT_EQ(1u, add({L"a"}).fNumber);
    EXPECT_EQ(2u, add({L"b"}).fNumber);
}

TEST_F(PluginRegistry, RefusesAnInterfaceThatIsTaken)
{
    add({L"a"});
    const PString ids[] = {L"b", L"a"};
    EXPECT_EQ(0, fRegistry.checkInterfaces(ids, 1));
    EXPECT_EQ(-1007, fRegistry.checkInterfaces(ids, 2));
}

TEST_F(PluginRegistry, UnloadsNothingBeforeTheStart)
{
    EXPECT_EQ(-1002, unload(add({L"a"})));
    EXPECT_EQ(0, fDestroyed);
}

TEST_F(PluginRegistry, UnloadDestroysThePluginAndWithdrawsItsInterfaces)
{
    PCorePlugin& record = add({L"a", L"b"});
    PCorePlugin& other = add({L"c"});
    fRegistry.markStarted();
    EXPECT_EQ(0, unload(record));
    EXPECT_EQ(1, fDestroyed);
    EXPECT_EQ(nullptr, fRegistry.find(L"a"));
    EXPECT_EQ(nullptr, fRegistry.find(L"b"));
    EXPECT_EQ(&other, fRegistry.find(L"c"));
}

TEST_F(PluginRegistry, UnloadOfAnUnknownPluginIsRefused)
{
    const PBaseptr<IPlugin> unknown(new UnitPlugin);
    fRegistry.markStarted();
    EXPECT_EQ(-1016, fRegistry.ixlaUnloadPlugin(unknown.get()));
}

TEST_F(PluginRegistry, UnloadedRecordInUseIsDestroyedByTheLastUse)
{
    PCorePlugin& record = add({L"a"});
    record.fUses = 2;
    fRegistry.markStarted();
    EXPECT_EQ(0, unload(record));
    fRegistry.endUse(record);
    EXPECT_EQ(0, fDestroyed);
    fRegistry.endUse(record);
    EXPECT_EQ(1, fDestroyed);
}

TEST_F(PluginRegistry, UnloadedRecordInUseIsNotReady)
{
    PCorePlugin& record = add({L"a"});
    record.fUses = 1;
    record.fReady = true;
    fRegistry.markStarted();
    EXPECT_EQ(0, unload(record));
    EXPECT_FALSE(record.fReady);
    fRegistry.endUse(record);
}

TEST_F(PluginRegistry, BuiltInPluginsHaveNoFileName)
{
    add({L"a"});
    PCorePlugin* found = nullptr;
    EXPECT_EQ(0, fRegistry.useNext(L"", 0, found));
    EXPECT_EQ(nullptr, found);
}

TEST_F(PluginRegistry, FailingLockIsReported)
{
    PCorePlugin& record = add({L"a"});
    fRegistry.markStarted();
    PortFaults::mutexLock.arm(-22);
    PCorePlugin* found = nullptr;
    EXPECT_EQ(-1013, unload(record));
    EXPECT_EQ(-1013, fRegistry.useNext(L"a", 0, found));
    EXPECT_EQ(0, fDestroyed);
}

TEST_F(PluginRegistry, ReleaseDestroysAllPlugins)
{
    add({L"a"});
    add({L"b"});
    fRegistry.release(false);
    EXPECT_EQ(2, fDestroyed);
    EXPECT_TRUE(fRegistry.records().empty());
    EXPECT_EQ(nullptr, fRegistry.find(L"a"));
}
} // namespace
