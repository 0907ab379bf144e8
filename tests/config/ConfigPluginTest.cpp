// SPDX-License-Identifier: MIT
#include "config/PConfigPlugin.h"

#include "IConfigManager.h"
#include "Ixla.h"
#include "config/PConfigManager.h"
#include "support/TempDir.h"

#include <gtest/gtest.h>

#include <memory>

namespace
{
class ConfigPlugin : public testing::Test
{
protected:
    PBaseptr<IPlugin> plugin{new PConfigPlugin};

    PConfigManager* manager()
    {
        IBase* instance = nullptr;
        EXPECT_EQ(plugin->getInstance(kIxlaConfigManagerId, instance), 0);
        return static_cast<PConfigManager*>(instance);
    }
};

IBase* _marker()
{
    static PConfigPlugin marker;
    return &marker;
}
} // namespace

TEST_F(ConfigPlugin, OffersOnlyTheManagersId)
{
    for (int round = 0; round < 2; ++round)
    {
        unsigned int count = 7;
        const std::unique_ptr<PString[]> ids(plugin->getInterfaces(count));
        ASSERT_EQ(count, 1u);
        EXPECT_EQ(ids[0], L"com.kelvora.ixla.config.manager");
        ASSERT_EQ(plugin->init(), 0);
    }
}

TEST_F(ConfigPlugin, ForeignIdReturnsNoInstance)
{
    ASSERT_EQ(plugin->init(), 0);
    IBase* instance = _marker();

    EXPECT_EQ(plugin->getInstance(L"com.kelvora.ixla.logger", instance), -2001);
    EXPECT_EQ(instance, nullptr);
}

TEST_F(ConfigPlugin, BeforeInitTheInstanceIsLeftUntouched)
{
    IBase* instance = _marker();

    EXPECT_EQ(plugin->getInstance(kIxlaConfigManagerId, instance), -2002);
    EXPECT_EQ(instance, _marker());
}

TEST_F(ConfigPlugin, ReturnsOneManagerWithoutAddingReferences)
{
    ASSERT_EQ(plugin->init(), 0);
    PConfigManager* const first = manager();

    EXPECT_EQ(manager(), first);
    EXPECT_EQ(first->incRef(), 2);
    EXPECT_EQ(first->decRef(), 1);
}

TEST_F(ConfigPlugin, DestructionClosesTheManagerBeforeReleasingIt)
{
    ASSERT_EQ(plugin->init(), 0);
    const PBaseptr<IConfigManager> held(manager());
    const TempDir dir;
    dir.write("map.prs", "a = a.prs");
    ASSERT_EQ(held->setString(L"ixlap.global", L"custom.config.ixlap.configmanager.prs",
                              dir.wideFile("map.prs")),
              0);
    PBaseptr<IConfig> config;
    ASSERT_EQ(held->loadByID(L"a", config), 0);
    config.clear();
    EXPECT_EQ(held->incRef(), 4) << "held, plugin, its own configuration, and this one";
    plugin.clear();

    EXPECT_EQ(held->decRef(), 1);
}

TEST_F(ConfigPlugin, UninitialisedPluginIsDestroyedWithItsLastReference)
{
    IPlugin* const raw = new PConfigPlugin;

    EXPECT_EQ(raw->incRef(), 1);
    EXPECT_EQ(raw->incRef(), 2);
    EXPECT_EQ(raw->decRef(), 1);
    EXPECT_EQ(raw->decRef(), 0);
}

TEST_F(ConfigPlugin, SecondInitReplacesTheManager)
{
    ASSERT_EQ(plugin->init(), 0);
    const PBaseptr<IConfigManager> held(manager());
    ASSERT_EQ(held->setString(L"a", L"k", L"1"), 0);
    ASSERT_EQ(plugin->init(), 0);
    PString text;

    EXPECT_NE(manager(), held.get());
    EXPECT_EQ(manager()->getDynamicString(L"a", L"k", text), -504);
    EXPECT_EQ(held->incRef(), 2);
    EXPECT_EQ(held->decRef(), 1);
}
