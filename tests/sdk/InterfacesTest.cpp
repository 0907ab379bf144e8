// SPDX-License-Identifier: MIT
// A service with several interfaces: one object behind several IDs.

#include "sdk/TwoInterfaces.h"

#include "helpers/PPlugin.h"
#include "helpers/ServiceLookup.h"
#include "support/AllocationFaults.h"
#include "support/CoreRun.h"
#include "support/PluginHooks.h"

#include <gtest/gtest.h>

#include <memory>

namespace
{
class InterfacesTest : public testing::Test
{
protected:
    InterfacesTest()
    {
        fCore.addPlugin("interfaces");
        EXPECT_EQ(0, fCore.start());
    }

    CoreRun fCore;
};

TEST_F(InterfacesTest, EachIdReturnsItsInterface)
{
    int result = 1;
    const auto second = ixlaService<ISecond>(kSecondInterfaceId, result);
    ASSERT_EQ(0, result);
    const auto first = ixlaService<IFirst>(kFirstInterfaceId, result);
    ASSERT_EQ(0, result);
    EXPECT_EQ(1, first->first());
    EXPECT_EQ(2, second->second());
}

TEST_F(InterfacesTest, TheInterfacesShareOneCount)
{
    const auto first = ixlaService<IFirst>(kFirstInterfaceId);
    const auto second = ixlaService<ISecond>(kSecondInterfaceId);
    const int count = first->incRef();
    EXPECT_EQ(count + 1, second->incRef());
    EXPECT_EQ(count, first->decRef());
    EXPECT_EQ(count - 1, second->decRef());
}

TEST_F(InterfacesTest, TheObjectIsMadeInitialisedEndedAndDestroyedOnce)
{
    EXPECT_TRUE(ixlaService<ISecond>(kSecondInterfaceId));
    EXPECT_TRUE(ixlaService<IFirst>(kFirstInterfaceId));
    EXPECT_EQ(0, fCore.stop());
    EXPECT_EQ((std::vector<std::string>{"interfaces.made", "interfaces.init", "interfaces.exit",
                                        "interfaces.destroyed"}),
              PluginHooks::journal());
}

TEST_F(InterfacesTest, MakersGetTheServiceByEachOfItsIds)
{
    int result = 1;
    ixlaService<IBase>(L"test.interfaces.user", result);
    EXPECT_EQ(0, result);
}

TEST(OneServicePluginTest, OffersTheServiceBehindItsIds)
{
    CoreRun core;
    core.addPlugin("one_service");
    ASSERT_EQ(0, core.start());
    int result = 1;
    const auto second = ixlaService<ISecond>(kSecondInterfaceId, result);
    ASSERT_EQ(0, result);
    EXPECT_EQ(2, second->second());
}

class MadePlugin : public PPlugin
{
public:
    MadePlugin()
    {
        offer<PBoth>({kFirstInterfaceId, kSecondInterfaceId}, [] { return new PBoth; });
        offer<PBoth>({L"test.third", L"test.fourth"});
    }
};

TEST(InterfacesAloneTest, ListsTheIdsInTheirOrder)
{
    const auto plugin = PBaseptr<IPlugin>::adopt(ixlaNewPlugin<MadePlugin>());
    unsigned int count = 0;
    const std::unique_ptr<PString[]> ids(plugin->getInterfaces(count));
    ASSERT_EQ(4u, count);
    EXPECT_TRUE(ids[0] == kFirstInterfaceId);
    EXPECT_TRUE(ids[1] == kSecondInterfaceId);
    EXPECT_TRUE(ids[2] == L"test.third");
    EXPECT_TRUE(ids[3] == L"test.fourth");
}

TEST(InterfacesAloneTest, NoIdHasAnInstanceBeforeInit)
{
    const auto plugin = PBaseptr<IPlugin>::adopt(ixlaNewPlugin<MadePlugin>());
    for (const wchar_t* id : {kFirstInterfaceId, kSecondInterfaceId})
    {
        IBase* instance = plugin.get();
        EXPECT_EQ(eIxlaNoInstance, plugin->getInstance(id, instance));
        EXPECT_EQ(nullptr, instance);
    }
}

TEST(InterfacesAloneTest, WithoutMemoryThereIsNoPlugin)
{
    int skipped = 0;
    IPlugin* plugin = nullptr;
    while (!plugin)
    {
        AllocationFaults::failAfter(skipped++);
        plugin = ixlaNewPlugin<MadePlugin>();
        AllocationFaults::disarm();
    }
    EXPECT_LT(4, skipped);
    PBaseptr<IPlugin>::adopt(plugin);
}
} // namespace
