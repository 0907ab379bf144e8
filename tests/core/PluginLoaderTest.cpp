// SPDX-License-Identifier: MIT
#include "core/PPluginLoader.h"

#include "core/PCoreLog.h"
#include "core/PPluginRegistry.h"
#include "core/UnitPlugin.h"

#include <gtest/gtest.h>

namespace
{
class PluginLoader : public testing::Test
{
protected:
    ~PluginLoader() override
    {
        fRegistry.release(false);
    }

    int process(UnitPlugin* iPlugin)
    {
        return fLoader.processPlugin(PBaseptr<IPlugin>(iPlugin), PPtr<PLibrary>());
    }

    PCoreLog fLog;
    PCoreLock fLock;
    PPluginRegistry fRegistry{fLog, fLock};
    PPluginLoader fLoader{fLog, fRegistry};
};

TEST_F(PluginLoader, RegistersThePluginsOfTheServices)
{
    EXPECT_EQ(0, fLoader.loadInternalPlugins());
    EXPECT_EQ(3u, fRegistry.records().size());
}

TEST_F(PluginLoader, RegistersAPluginWithItsInterfaces)
{
    EXPECT_EQ(0, process(new UnitPlugin({L"a"})));
    ASSERT_EQ(1u, fRegistry.records().size());
    EXPECT_EQ(fRegistry.records().back(), fRegistry.find(L"a"));
}

TEST_F(PluginLoader, RefusesATakenInterfaceAndDestroysThePlugin)
{
    ASSERT_EQ(0, process(new UnitPlugin({L"a"})));
    auto* const second = new UnitPlugin({L"b", L"a"});
    bool destroyed = false;
    second->onDestroyed = [&]
    {
        destroyed = true;
    };
    EXPECT_EQ(-1007, process(second));
    EXPECT_TRUE(destroyed);
    EXPECT_EQ(nullptr, fRegistry.find(L"b"));
}

TEST_F(PluginLoader, RefusesAPluginThatThrowsListingItsInterfaces)
{
    auto* const plugin = new UnitPlugin({L"a"});
    plugin->onList = []
    {
        throw 1;
    };
    EXPECT_EQ(-2003, process(plugin));
    EXPECT_TRUE(fRegistry.records().empty());
}
} // namespace
